#include <tests/support/Guide.h>

#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <algorithm>
#include <sstream>

namespace
{
std::string Unindented(const std::string& sText)
{
    std::istringstream oLines(sText);
    std::string sResult = "\n";
    for (std::string sLine; std::getline(oLines, sLine);)
    {
        if (!sLine.empty() && sLine.back() == '\r')
            sLine.pop_back();
        sResult += sLine.substr(std::min(sLine.find_first_not_of(' '), sLine.size())) + '\n';
    }
    return sResult;
}
} // namespace

std::vector<std::string> BlocksOfGuide(const std::string& sPage, const std::vector<std::string>& oLanguages)
{
    std::vector<std::string> oBlocks;
    std::istringstream oLines(sPage);
    bool bInside = false;
    bool bWanted = false;
    for (std::string sLine; std::getline(oLines, sLine);)
    {
        if (!sLine.empty() && sLine.back() == '\r')
            sLine.pop_back();
        if (sLine.rfind("```", 0) == 0)
        {
            bInside = !bInside;
            bWanted = bInside && std::find(oLanguages.begin(), oLanguages.end(), sLine.substr(3)) != oLanguages.end();
            if (bWanted)
                oBlocks.emplace_back();
        }
        else if (bWanted)
            oBlocks.back() += sLine + '\n';
    }
    return oBlocks;
}

bool HoldsBlock(const std::string& sSource, const std::string& sBlock)
{
    return Unindented(sSource).find(Unindented(sBlock)) != std::string::npos;
}

std::string WhatIsNotRun(const char* pPage, const char* pSource)
{
    const auto oBlocks = BlocksOfGuide(ReadWholeFile(GetTestPath(std::string("../docs/") + pPage)), {"cpp", "text"});
    if (oBlocks.empty())
        return std::string(pPage) + " shows nothing";

    const std::string sSource = ReadWholeFile(GetTestPath(pSource));
    std::string sMissing;
    for (const auto& sBlock : oBlocks)
        if (!HoldsBlock(sSource, sBlock))
            sMissing += sBlock + '\n';
    return sMissing;
}
