#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <string>

namespace
{
std::string Load(const std::string& sLibrary)
{
    auto sOutput = ChildProcess({COMMON_LOAD_PROBE, sLibrary}).Wait().sOutput;
    std::erase(sOutput, '\r');
    return sOutput;
}
} // namespace

TEST(LibraryLoading, StartsNoThreadOpensNoFileAndPrintsNothing)
{
    EXPECT_EQ(Load(COMMON_LIBRARY), "loaded: 0 threads, 0 files more\n");
}

TEST(LibraryLoading, OfALibraryThatDoesAllThatIsNoticed)
{
    const auto sOutput = Load(COMMON_NOISY_LIBRARY);
    EXPECT_NE(sOutput.find("noise"), std::string::npos);
    EXPECT_NE(sOutput.find("loaded: 1 threads, "), std::string::npos) << sOutput;
    EXPECT_EQ(sOutput.find(" 0 files"), std::string::npos) << sOutput;
}

TEST(LibraryLoading, IsNoticedWhenItFails)
{
    EXPECT_NE(Load("no-such-library").find("cannot load"), std::string::npos);
}
