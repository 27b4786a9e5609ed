#include <tests/support/ChildProcess.h>
#include <tests/support/TestDirectory.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
std::string Probe(const std::vector<std::string>& oArguments)
{
    std::vector<std::string> oCommand = {COMMON_LOAD_PROBE};
    oCommand.insert(oCommand.end(), oArguments.begin(), oArguments.end());
    auto sOutput = ChildProcess(oCommand).Wait().sOutput;
    std::erase(sOutput, '\r');
    return sOutput;
}

std::string Load(const std::string& sLibrary)
{
    return Probe({sLibrary});
}
} // namespace

TEST(LibraryLoading, StartsNoThreadOpensNoFileAndPrintsNothing)
{
    EXPECT_EQ(Load(COMMON_LIBRARY), "loaded: 0 threads, 0 files more\n");
}

TEST(LibraryLoading, WorksAgainAfterItWasUnloaded)
{
    EXPECT_EQ(Probe({COMMON_LIBRARY, "again"}), "again: 0 threads, 0 files more\n");
    EXPECT_EQ(Probe({COMMON_NOISY_LIBRARY, "again"}).find("again"), std::string::npos);
}

TEST(LibraryLoading, LeavesStreamsAsTheyAreWhenItIsUnloaded)
{
    const CTestDirectory oDirectory;
    EXPECT_EQ(Probe({COMMON_LIBRARY, "again", oDirectory.PathOf("left").c_str()}), "again: 0 threads, 3 files more\n");
}

TEST(LibraryLoading, OfALibraryThatDoesAllThatIsNoticed)
{
    const auto sOutput = Load(COMMON_NOISY_LIBRARY);
    EXPECT_NE(sOutput.find("noise"), std::string::npos);
    EXPECT_NE(sOutput.find("loaded: "), std::string::npos) << sOutput;
    EXPECT_EQ(sOutput.find("loaded: 0 threads"), std::string::npos) << sOutput; // a sanitizer may add one of its own
    EXPECT_EQ(sOutput.find(" 0 files"), std::string::npos) << sOutput;
}

TEST(LibraryLoading, IsNoticedWhenItFails)
{
    EXPECT_NE(Load("no-such-library").find("cannot load"), std::string::npos);
}
