#include "SourceTree.h"

#include "Console.h"

#include <Common/Platform/PlatformString.h>

#include <algorithm>
#include <system_error>
#include <tuple>
#include <utility>

namespace fs = std::filesystem;

namespace
{
// The order of the entries in an archive: by letters without regard to case, then by bytes.
bool ComesFirst(const std::string& sFirst, const std::string& sSecond)
{
    std::string sFoldedFirst = sFirst;
    std::string sFoldedSecond = sSecond;
    for (std::string* pName : {&sFoldedFirst, &sFoldedSecond})
    {
        for (char& cByte : *pName)
            cByte = cByte >= 'a' && cByte <= 'z' ? static_cast<char>(cByte - 'a' + 'A') : cByte;
    }
    return std::tie(sFoldedFirst, sFirst) < std::tie(sFoldedSecond, sSecond);
}
} // namespace

sSourceTree::sSourceTree(const fs::path& oTop)
{
    std::vector<fs::path> aAbove;
    Walk(oTop, "", aAbove);
}

void sSourceTree::Walk(const fs::path& oDirectory, const std::string& sPath, std::vector<fs::path>& aAbove)
{
    std::error_code oError;
    const fs::path oReal = fs::canonical(oDirectory, oError);
    fs::directory_iterator oEntries(oDirectory, oError);
    if (oError)
        throw CFailure(oDirectory.string(), oError.message());
    if (std::find(aAbove.begin(), aAbove.end(), oReal) != aAbove.end())
        throw CFailure(oDirectory.string(), "a link that leads back into its own parents");

    ++m_nDirectories;
    aAbove.push_back(oReal);
    std::vector<std::string> aNames;
    std::vector<fs::path> aDirectories;
    std::vector<fs::directory_entry> aEntries(oEntries, fs::directory_iterator());
    std::sort(aEntries.begin(), aEntries.end(),
              [](const auto& oFirst, const auto& oSecond)
              { return ComesFirst(oFirst.path().filename().string(), oSecond.path().filename().string()); });
    for (const fs::directory_entry& oEntry : aEntries)
    {
        aNames.push_back(oEntry.path().filename().string());
        if (oEntry.is_directory(oError))
        {
            aDirectories.push_back(oEntry.path());
            continue;
        }
        if (!oEntry.is_regular_file(oError))
            throw CFailure(oEntry.path().string(), "neither a file nor a directory");

        m_aFiles.push_back(sPath + aNames.back());
        m_aSizes.push_back(oEntry.file_size(oError));
        if (oError)
            throw CFailure(oEntry.path().string(), oError.message());
    }
    FindAmbiguous(aNames, sPath);
    for (const fs::path& oBelow : aDirectories)
        Walk(oBelow, sPath + oBelow.filename().string() + '/', aAbove);
    aAbove.pop_back();
}

void sSourceTree::FindAmbiguous(const std::vector<std::string>& aNames, const std::string& sPath)
{
    std::vector<std::pair<std::string, const std::string*>> aFolded;
    aFolded.reserve(aNames.size());
    for (const std::string& sName : aNames)
    {
        std::string sFolded = sName;
        STR_strlwr(sFolded.data());
        aFolded.emplace_back(std::move(sFolded), &sName);
    }
    std::sort(aFolded.begin(), aFolded.end(),
              [](const auto& oFirst, const auto& oSecond)
              {
                  if (oFirst.first != oSecond.first)
                      return oFirst.first < oSecond.first;
                  return *oFirst.second < *oSecond.second;
              });
    for (std::size_t i = 1; i < aFolded.size(); ++i)
    {
        if (aFolded[i].first == aFolded[i - 1].first)
            m_aAmbiguous.push_back(sPath + *aFolded[i].second);
    }
}
