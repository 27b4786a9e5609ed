#include "ArchiveTree.h"

#include "Console.h"

#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/PlatformString.h>

#include <utility>

namespace
{
constexpr const char* EXTENSION = ".arc";

// Deeper trees cannot be extracted.
constexpr std::size_t MAXIMUM_DEPTH = 1000;
} // namespace

std::string Describe(eArchiveResult nResult)
{
    switch (nResult)
    {
    case eArchiveResult::Ok:
        return "good";
    case eArchiveResult::Truncated:
        return "lies outside of what is there, or cannot be read";
    case eArchiveResult::WrongVersion:
        return "not an archive, or one of another version";
    case eArchiveResult::Malformed:
        return "entries that share bytes, or a name without an end";
    case eArchiveResult::NoMemory:
        return "not enough memory";
    }
    return "unknown";
}

std::string AddArchiveExtension(const std::string& sArchive)
{
    char aExtension[FILE_SPLIT_EXT_SIZE];
    FILE_SplitPath(sArchive.c_str(), nullptr, nullptr, nullptr, aExtension);
    return STR_stricmp(aExtension, EXTENSION) == 0 ? sArchive : sArchive + EXTENSION;
}

CArchiveTree::CArchiveTree(const std::string& sArchive) : m_sName(sArchive)
{
    if (!m_oReader.Open(m_sName.c_str()))
    {
        m_sName = AddArchiveExtension(sArchive);
        if (!m_oReader.Open(m_sName.c_str()))
            throw CFailure(sArchive, "cannot be opened");
    }

    const eArchiveResult nResult = m_oReader.ReadRoot(m_oRoot);
    if (nResult != eArchiveResult::Ok)
        throw CFailure(m_sName, Describe(nResult));
}

void CArchiveTree::Walk(const Visitor& fnFile, const Visitor& fnDirectory, const Problem& fnProblem)
{
    WalkNode("", m_oRoot, 0, fnFile, fnDirectory, fnProblem);
}

void CArchiveTree::WalkNode(const std::string& sPath, const CArchiveNode& oNode, std::size_t nDepth,
                            const Visitor& fnFile, const Visitor& fnDirectory, const Problem& fnProblem)
{
    const eArchiveResult nTable = CArchiveReader::CheckTable(oNode);
    if (nTable != eArchiveResult::Ok)
    {
        fnProblem(sPath.empty() ? "/" : sPath, Describe(nTable));
        return;
    }

    for (const bool bDirectories : {false, true})
    {
        for (std::uint32_t i = 0; i < oNode.GetEntryCount(); ++i)
        {
            const sArchiveEntry& oEntry = oNode.GetEntry(i);
            if ((oEntry.m_nIsDirectory != 0) != bDirectories)
                continue;

            const std::string sEntry = sPath + oEntry.m_aName;
            if (!bDirectories)
            {
                fnFile(sEntry, oNode, oEntry);
                continue;
            }

            CArchiveNode oChild;
            const eArchiveResult nResult = m_oReader.ReadChild(oNode, oEntry, oChild);
            fnDirectory(sEntry, oNode, oEntry);
            if (nResult != eArchiveResult::Ok)
                fnProblem(sEntry, Describe(nResult));
            else if (nDepth == MAXIMUM_DEPTH)
                fnProblem(sEntry, "too deep to be extracted");
            else
                WalkNode(sEntry + '/', oChild, nDepth + 1, fnFile, fnDirectory, fnProblem);
        }
    }
}

const sArchiveEntry& CArchiveTree::Find(const std::string& sPath, CArchiveNode& oNode)
{
    CArchiveNode oFound;
    eArchiveResult nResult = m_oReader.ReadRoot(oFound);
    std::size_t nBegin = 0;
    while (nResult == eArchiveResult::Ok)
    {
        const std::size_t nEnd = sPath.find_first_of("/\\", nBegin);
        const sArchiveEntry* pEntry = oFound.Find(sPath.substr(nBegin, nEnd - nBegin).c_str());
        if (pEntry == nullptr)
            throw CFailure(sPath, "not in " + m_sName);
        if (nEnd == std::string::npos)
        {
            oNode = std::move(oFound);
            return *pEntry;
        }

        if (pEntry->m_nIsDirectory == 0)
            throw CFailure(sPath, "not in " + m_sName);
        CArchiveNode oChild;
        nResult = m_oReader.ReadChild(oFound, *pEntry, oChild);
        oFound = std::move(oChild);
        nBegin = nEnd + 1;
    }
    throw CFailure(sPath, Describe(nResult));
}
