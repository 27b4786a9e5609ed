// Indexes that nothing checks in release builds, in a program that has the properties of a debug build.

#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <filesystem>

TEST(PropertyAssertions, TellOfIndexesThatAreOutside)
{
    constexpr int ASSERTED = 42;
    constexpr int DONE = 0;

    struct
    {
        const char* m_pCall;
        const char* m_pIndex;
        int m_nCode;
    } const aCases[] = {
        {"GetListElement", "-1", ASSERTED},
        {"GetListElement", "3", ASSERTED},
        {"GetListElement", "0", DONE},
        {"GetListElement", "2", DONE},
        {"SetListElementAt", "-1", ASSERTED},
        {"SetListElementAt", "3", ASSERTED},
        {"SetListElementAt", "2", DONE},
        {"RemoveListElement", "-1", ASSERTED},
        {"RemoveListElement", "3", ASSERTED},
        {"RemoveListElement", "2", DONE},
        {"const Get", "-1", ASSERTED},
        {"const Get", "3", ASSERTED},
        {"const Get", "2", DONE},
        {"const []", "-1", ASSERTED},
        {"const []", "3", ASSERTED},
        {"const []", "0", DONE},
        {"ExpectParameterType", "-1", ASSERTED},
        {"ExpectParameterType", "3", ASSERTED},
        {"ExpectParameterType", "2", DONE},
        {"Get", "-1", ASSERTED},
        {"Get", "3", DONE}, // grows
        {"Get", "0", DONE},
    };

    const std::filesystem::path oThis = ThisProgram();
    const std::string sProbe = (oThis.parent_path() / ("AssertProbe" + oThis.extension().string())).string();
    for (const auto& oCase : aCases)
        EXPECT_EQ(ChildProcess({sProbe, oCase.m_pCall, oCase.m_pIndex}).Wait().nExitCode, oCase.m_nCode)
            << oCase.m_pCall << ' ' << oCase.m_pIndex;
}
