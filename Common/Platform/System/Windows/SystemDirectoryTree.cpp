#include <Common/Platform/System/SystemDirectoryTree.h>

#include <Common/Platform/System/SystemFile.h>

#include <cstring>
#include <new>

struct System::CDirectoryTree::sState
{
    std::string sTop; // with its separator
};

System::CDirectoryTree::CDirectoryTree() noexcept = default;
System::CDirectoryTree::~CDirectoryTree() = default;

bool System::CDirectoryTree::Open(const char* pPath) noexcept
try
{
    m_pState = std::make_unique<sState>();
    m_pState->sTop = pPath;
    m_pState->sTop += '\\';
    return true; // whether it is there is seen when it is read
}

catch (const std::bad_alloc&)
{
    return false;
}

bool System::CDirectoryTree::Read(const std::string& sBelow, CDirectoryEntries& oEntries,
                                  sDirectoryIdentity& oIdentity) noexcept
try
{
    oEntries.Clear();
    oIdentity = {};
    CDirectorySearch oSearch;
    if (m_pState == nullptr || !oSearch.Start((m_pState->sTop + sBelow + (sBelow.empty() ? "*" : "/*")).c_str()))
        return false;

    while (const char* pName = oSearch.Next())
    {
        if (std::strcmp(pName, ".") == 0)
            oEntries.AddDots();
        else if (std::strcmp(pName, "..") != 0)
            oEntries.Add(pName, oSearch.IsDirectory(), false);
    }
    return true;
}

catch (const std::bad_alloc&)
{
    oEntries.Clear();
    return false;
}
