// The pages for people: what they link to is there, and each guide can be found.

#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace
{
std::vector<fs::path> AllPages()
{
    std::vector<fs::path> oPages = {GetTestPath("../README.md"), GetTestPath("../CONTRIBUTING.md")};
    for (const auto& oEntry : fs::directory_iterator(GetTestPath("../docs")))
        if (oEntry.path().extension() == ".md")
            oPages.push_back(oEntry.path());
    return oPages;
}

// How a heading is named in a link: small letters, blanks as dashes, without punctuation.
std::string AnchorOf(const std::string& sHeading)
{
    std::string sAnchor;
    for (const char c : sHeading)
    {
        const auto nByte = static_cast<unsigned char>(c);
        if (std::isalnum(nByte) != 0 || c == '-' || c == '_')
            sAnchor += static_cast<char>(std::tolower(nByte));
        else if (c == ' ')
            sAnchor += '-';
    }
    return sAnchor;
}

std::set<std::string> AnchorsOf(const std::string& sPage)
{
    std::set<std::string> oAnchors;
    std::istringstream oLines(sPage);
    for (std::string sLine; std::getline(oLines, sLine);)
        if (!sLine.empty() && sLine[0] == '#' && sLine.find("# ") != std::string::npos)
            oAnchors.insert(AnchorOf(sLine.substr(sLine.find("# ") + 2)));
    return oAnchors;
}

// What is wrong with the links of a page.
std::string BrokenLinks(const fs::path& oPage)
{
    static const std::regex s_oLink(R"(\]\(([^)\s]+)\))");
    const std::string sPage = ReadWholeFile(oPage);
    std::string sBroken;
    for (std::sregex_iterator it(sPage.begin(), sPage.end(), s_oLink), itEnd; it != itEnd; ++it)
    {
        const std::string sLink = (*it)[1];
        if (sLink.find("://") != std::string::npos)
            continue;

        const std::string sFile = sLink.substr(0, sLink.find('#'));
        const fs::path oTarget = sFile.empty() ? oPage : oPage.parent_path() / sFile;
        if (!fs::exists(oTarget))
            sBroken += sLink + " leads nowhere\n";
        else if (sLink.find('#') != std::string::npos &&
                 AnchorsOf(ReadWholeFile(oTarget)).count(sLink.substr(sLink.find('#') + 1)) == 0)
            sBroken += sLink + " names no heading\n";
    }
    return sBroken;
}
} // namespace

TEST(Pages, LinkToWhatIsThere)
{
    for (const auto& oPage : AllPages())
        EXPECT_EQ(BrokenLinks(oPage), "") << oPage;

    const CTestDirectory oDirectory;
    oDirectory.Write("a.md", "# One, two\n[a](b.md) [b](a.md#one-two) [c](#three) [d](https://x/y)\n");
    EXPECT_EQ(BrokenLinks("a.md"), "b.md leads nowhere\n#three names no heading\n");
}

TEST(Pages, AreAllReachedFromTheFirst)
{
    const std::string sFirst = ReadWholeFile(GetTestPath("../README.md"));
    for (const auto& oPage : AllPages())
    {
        const std::string sLink = "(docs/" + oPage.filename().string() + ")";
        EXPECT_TRUE(oPage.parent_path().filename() != "docs" || sFirst.find(sLink) != std::string::npos) << oPage;
    }
}

TEST(Pages, NameHeadersThatAreThere)
{
    static const std::regex s_oHeader(R"(Common/[A-Za-z]+/[A-Za-z]+\.h)");
    int nHeaders = 0;
    for (const auto& oPage : AllPages())
    {
        const std::string sPage = ReadWholeFile(oPage);
        for (std::sregex_iterator it(sPage.begin(), sPage.end(), s_oHeader), itEnd; it != itEnd; ++it, ++nHeaders)
            EXPECT_TRUE(fs::exists(GetTestPath("../" + it->str()))) << oPage << ' ' << it->str();
    }
    EXPECT_GT(nHeaders, 0);
}
