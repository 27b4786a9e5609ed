// The floors of the house: which folder stands on which, and what may be included where.

#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace
{
/// Texts of source files by their path from the repository's root, with forward slashes.
using Tree = std::map<std::string, std::string>;
using Complaints = std::vector<std::string>;

const std::map<std::string, int> FLOORS = {
    {"Common/Export.h", 0},        {"Common/Platform/System", 1}, {"Common/Platform", 2}, {"Common/Debug", 3},
    {"Common/ProcessControl", 3},  {"Common/String", 3},          {"Common/File", 4},     {"Common/MailSlot", 4},
    {"Common/DebugStatistics", 5}, {"Common/Loading", 5},         {"Common/Profile", 5},  {"Common/Property", 5},
    {"Common/Common.h", 6},
};

bool StartsWith(const std::string& sText, const std::string& sStart)
{
    return sText.rfind(sStart, 0) == 0;
}

bool IsHeader(const std::string& sPath)
{
    return std::filesystem::path(sPath).extension() == ".h";
}

/// Internal headers stand in the system's folder, or say what they are at the start of a line.
bool IsPublicHeader(const Tree& oTree, const std::string& sPath)
{
    const auto oFile = oTree.find(sPath);
    return IsHeader(sPath) && StartsWith(sPath, "Common/") && !StartsWith(sPath, "Common/Platform/System/") &&
           (oFile == oTree.end() || oFile->second.find("\n// Not for users.\n") == std::string::npos);
}

/// The floor of a file: that of the longest entry above that is the file or one of its folders; -1 when there is none.
int FloorOf(const std::string& sPath)
{
    for (std::filesystem::path oPath(sPath); !oPath.empty(); oPath = oPath.parent_path())
        if (const auto oFound = FLOORS.find(oPath.generic_string()); oFound != FLOORS.end())
            return oFound->second;
    return -1;
}

/// What a file includes, with its brackets or quotes.
std::vector<std::string> IncludesOf(const std::string& sText)
{
    static const std::regex s_oInclude(R"((?:^|\n)[ \t]*#[ \t]*include[ \t]*([<"][^>"\n]*[>"]))");
    std::vector<std::string> oIncludes;
    for (std::sregex_iterator i(sText.begin(), sText.end(), s_oInclude); i != std::sregex_iterator(); ++i)
        oIncludes.push_back((*i)[1]);
    return oIncludes;
}

/// The files of ours that a file includes.
std::vector<std::string> OwnIncludesOf(const std::string& sText)
{
    std::vector<std::string> oOwn;
    for (const auto& sInclude : IncludesOf(sText))
        if (StartsWith(sInclude, "<Common/"))
            oOwn.push_back(sInclude.substr(1, sInclude.size() - 2));
    return oOwn;
}

Complaints UpwardIncludes(const Tree& oTree)
{
    Complaints oComplaints;
    for (const auto& [sPath, sText] : oTree)
    {
        if (!IsHeader(sPath) || !StartsWith(sPath, "Common/"))
            continue;
        if (FloorOf(sPath) < 0)
            oComplaints.push_back(sPath + " stands on no floor");
        for (const auto& sIncluded : OwnIncludesOf(sText))
            if (FloorOf(sIncluded) < 0 || FloorOf(sIncluded) > FloorOf(sPath))
                oComplaints.push_back(sPath + " includes " + sIncluded + " of a higher floor");
    }
    return oComplaints;
}

/// Every file that a file reaches through includes of ours.
std::set<std::string> ReachedFrom(const Tree& oTree, const std::string& sStart)
{
    std::set<std::string> oReached;
    std::vector<std::string> oOpen = {sStart};
    while (!oOpen.empty())
    {
        const auto oFile = oTree.find(oOpen.back());
        oOpen.pop_back();
        if (oFile == oTree.end())
            continue;
        for (const auto& sIncluded : OwnIncludesOf(oFile->second))
            if (oReached.insert(sIncluded).second)
                oOpen.push_back(sIncluded);
    }
    return oReached;
}

Complaints Circles(const Tree& oTree)
{
    Complaints oComplaints;
    for (const auto& [sPath, sText] : oTree)
        if (IsHeader(sPath) && ReachedFrom(oTree, sPath).count(sPath) != 0)
            oComplaints.push_back(sPath + " includes itself in a circle");
    return oComplaints;
}

/// Outside of the folders for it, a file asks for no system: it includes what is ours, the standard library (a name
/// without a suffix) and what pAllowed names, and has no switch over systems.
Complaints SystemUse(const Tree& oTree, const std::string& sAllowed)
{
    static const std::regex s_oSwitch(
        R"((?:^|\n)[ \t]*#[ \t]*(?:if|ifdef|ifndef|elif)\b[^\n]*(?:_?WIN(?:32|64)|__linux|__unix|__APPLE__|__MINGW|_POSIX|__GLIBC))");
    const std::regex oAllowed("<Common/.*|<[a-z_]+>|\"[A-Za-z]+\\.h\"" + sAllowed);

    Complaints oComplaints;
    for (const auto& [sPath, sText] : oTree)
    {
        if (StartsWith(sPath, "Common/Platform/System/") || sPath == "Common/Export.h")
            continue;
        for (const auto& sInclude : IncludesOf(sText))
            if (!std::regex_match(sInclude, oAllowed))
                oComplaints.push_back(sPath + " includes " + sInclude);
        if (std::regex_search(sText, s_oSwitch))
            oComplaints.push_back(sPath + " has a switch over systems");
    }
    return oComplaints;
}

Complaints InternalIncludes(const Tree& oTree)
{
    Complaints oComplaints;
    for (const auto& [sPath, sText] : oTree)
        for (const auto& sIncluded : OwnIncludesOf(sText))
            if (IsPublicHeader(oTree, sPath) && !IsPublicHeader(oTree, sIncluded))
                oComplaints.push_back(sPath + " includes the internal " + sIncluded);
    return oComplaints;
}

Complaints MissingFromCommonHeader(const Tree& oTree)
{
    Complaints oComplaints;
    const auto oReached = ReachedFrom(oTree, "Common/Common.h");
    for (const auto& [sPath, sText] : oTree)
        if (IsPublicHeader(oTree, sPath) && sPath != "Common/Common.h" && oReached.count(sPath) == 0)
            oComplaints.push_back("Common/Common.h does not include " + sPath);
    return oComplaints;
}

Tree ReadTree(const std::vector<std::string>& oFolders)
{
    const auto oRoot = GetTestPath("").parent_path().parent_path();
    Tree oTree;
    for (const auto& sFolder : oFolders)
        for (const auto& oEntry : std::filesystem::recursive_directory_iterator(oRoot / sFolder))
            if (const auto oSuffix = oEntry.path().extension(); oSuffix == ".h" || oSuffix == ".cpp")
            {
                std::ifstream oFile(oEntry.path());
                oTree[oEntry.path().lexically_relative(oRoot).generic_string()] = {
                    std::istreambuf_iterator<char>(oFile), {}};
            }
    return oTree;
}

const Tree& Library()
{
    static const Tree s_oTree = ReadTree({"Common"});
    return s_oTree;
}
} // namespace

TEST(Floors, TheSourcesAreReadAtAll)
{
    EXPECT_EQ(Library().count("Common/Export.h"), 1U);
    EXPECT_EQ(Library().count("Common/Platform/PlatformMemory.cpp"), 1U);
}

TEST(Floors, NoHeaderIncludesOneOfAHigherFloor)
{
    EXPECT_EQ(UpwardIncludes(Library()), Complaints());

    EXPECT_EQ(UpwardIncludes({{"Common/String/A.h", "#include <Common/Debug/B.h>\n"}}), Complaints());
    EXPECT_EQ(UpwardIncludes({{"Common/String/A.h", "#pragma once\n#  include <Common/File/B.h>\n"}}).size(), 1U);
    EXPECT_EQ(UpwardIncludes({{"Common/Platform/A.h", "#include <Common/Common.h>"}}).size(), 1U);
    EXPECT_EQ(UpwardIncludes({{"Common/Elsewhere/A.h", ""}}).size(), 1U);
}

TEST(Floors, HeadersFormNoCircle)
{
    EXPECT_EQ(Circles(Library()), Complaints());

    EXPECT_EQ(Circles({{"Common/File/A.h", "#include <Common/File/B.h>"},
                       {"Common/File/B.h", "#include <Common/File/C.h>"},
                       {"Common/File/C.h", "\n#include <Common/File/A.h>"}})
                  .size(),
              3U);
}

TEST(Floors, OnlyTheSystemFolderKnowsSystems)
{
    EXPECT_EQ(SystemUse(Library(), ""), Complaints());
    // Whether somebody sits at a terminal no standard function tells; both systems' compilers have these headers.
    // Pictures are written by a library of the system's packages.
    EXPECT_EQ(SystemUse(ReadTree({"tools"}), "|<unistd\\.h>|<fcntl\\.h>|<png\\.h>|<nlohmann/json\\.hpp>"),
              Complaints());

    // A sample keeps what differs between systems in a source for each.
    Tree oSamples = ReadTree({"samples"});
    EXPECT_EQ(std::erase_if(oSamples, [](const auto& oFile)
                            { return std::regex_search(oFile.first, std::regex("/(Posix|Windows)/")); }),
              2U);
    EXPECT_EQ(SystemUse(oSamples, ""), Complaints());

    EXPECT_EQ(SystemUse({{"Common/File/A.cpp", "#include <vector>\n#include <Common/Export.h>\n"}}, ""), Complaints());
    EXPECT_EQ(SystemUse({{"Common/Platform/System/Posix/A.cpp", "#include <unistd.h>\n"}}, ""), Complaints());
    for (const char* pText : {"#include <windows.h>", "#include <sys/stat.h>", "\n # include <unistd.h>",
                              "#ifdef _WIN32", "\n#  if defined(__linux__)", "#elif _WIN64", "#ifndef __unix__"})
        EXPECT_EQ(SystemUse({{"Common/File/A.cpp", pText}}, "").size(), 1U) << pText;
}

TEST(Floors, TestsLeaveTheSystemToTheirSupport)
{
    auto oTests = ReadTree({"tests"});
    std::erase_if(oTests, [](const auto& oFile) { return StartsWith(oFile.first, "tests/support/"); });
    EXPECT_EQ(oTests.count("tests/House/Floors_test.cpp"), 1U);
    EXPECT_EQ(SystemUse(oTests, "|<gtest/gtest\\.h>|<tests/support/.*>|<tools/.*>|<samples/.*>"), Complaints());
}

TEST(Floors, PublicHeadersIncludeNothingInternal)
{
    EXPECT_EQ(InternalIncludes(Library()), Complaints());

    EXPECT_EQ(InternalIncludes({{"Common/File/A.h", "#include <Common/Platform/System/SystemFile.h>"}}).size(), 1U);
    EXPECT_EQ(InternalIncludes({{"Common/File/A.h", "#include <Common/File/B.h>"},
                                {"Common/File/B.h", "// Bytes.\n// Not for users.\n"}})
                  .size(),
              1U);
    EXPECT_EQ(InternalIncludes({{"Common/File/A.cpp", "#include <Common/Platform/System/SystemFile.h>"}}),
              Complaints());
}

TEST(Floors, CommonHeaderIncludesEveryPublicHeader)
{
    EXPECT_EQ(MissingFromCommonHeader(Library()), Complaints());

    EXPECT_EQ(MissingFromCommonHeader({{"Common/Common.h", "#include <Common/File/A.h>"},
                                       {"Common/File/A.h", "#include <Common/File/B.h>"},
                                       {"Common/File/B.h", ""}}),
              Complaints());
    EXPECT_EQ(MissingFromCommonHeader({{"Common/Common.h", ""}, {"Common/File/A.h", ""}}).size(), 1U);
}
