#include "SourceTree.h"

#include "Console.h"

#include <Common/Platform/PlatformString.h>

#include <algorithm>
#include <system_error>
#include <tuple>

namespace fs = std::filesystem;

namespace
{
/// A name in a directory, and what orders it there: its letters without regard to case, then its bytes.
struct sName
{
    explicit sName(const fs::directory_entry& oEntry)
        : m_oEntry(oEntry), m_sName(oEntry.path().filename().string()), m_sFolded(m_sName)
    {
        STR_strupr(m_sFolded.data());
    }

    bool operator<(const sName& oOther) const
    {
        return std::tie(m_sFolded, m_sName) < std::tie(oOther.m_sFolded, oOther.m_sName);
    }

    fs::directory_entry m_oEntry;
    std::string m_sName;
    std::string m_sFolded;
};
} // namespace

sSourceTree::sSourceTree(const fs::path& oTop, bool bSizes)
{
    Walk(oTop, "", bSizes);
}

void sSourceTree::Walk(const fs::path& oDirectory, const std::string& sPath, bool bSizes)
{
    std::error_code oError;
    const fs::path oReal = fs::canonical(oDirectory, oError);
    if (std::find(m_aAbove.begin(), m_aAbove.end(), oReal) != m_aAbove.end())
        throw CFailure(oDirectory.string(), "a link that leads back into its own parents");

    std::vector<sName> aNames;
    for (fs::directory_iterator it(oDirectory, oError); !oError && it != fs::directory_iterator(); it.increment(oError))
        aNames.emplace_back(*it);
    if (oError)
        throw CFailure(oDirectory.string(), oError.message());
    std::sort(aNames.begin(), aNames.end());

    ++m_nDirectories;
    m_aAbove.push_back(oReal);
    std::vector<const sName*> aDirectories;
    for (std::size_t i = 0; i < aNames.size(); ++i)
    {
        const sName& oName = aNames[i];
        if (i > 0 && oName.m_sFolded == aNames[i - 1].m_sFolded)
            m_aAmbiguous.push_back(sPath + oName.m_sName);
        if (oName.m_oEntry.is_directory(oError))
        {
            aDirectories.push_back(&oName);
            continue;
        }
        if (!oName.m_oEntry.is_regular_file(oError))
            throw CFailure(oName.m_oEntry.path().string(), "neither a file nor a directory");

        m_aFiles.push_back(sPath + oName.m_sName);
        if (bSizes)
            m_aSizes.push_back(oName.m_oEntry.file_size(oError));
        if (oError)
            throw CFailure(oName.m_oEntry.path().string(), oError.message());
    }
    for (const sName* pName : aDirectories)
        Walk(pName->m_oEntry.path(), sPath + pName->m_sName + '/', bSizes);
    m_aAbove.pop_back();
}
