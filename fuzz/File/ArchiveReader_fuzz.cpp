// Reads arbitrary bytes as an archive: every node, every entry, every name; from memory, without the registry.

#include <Common/File/ArchiveReader.h>
#include <Common/Platform/PlatformString.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace
{
struct sTotals
{
    std::size_t m_nNodes = 0;
    std::size_t m_nBytes = 0;
};

void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}

void ReadFile(CArchiveReader& oReader, const CArchiveNode& oNode, const sArchiveEntry& oEntry, sTotals& oTotals)
{
    std::vector<char> aBytes(oEntry.m_nSize);
    Require(oReader.ReadEntry(oNode, oEntry, 0, aBytes.data(), aBytes.size()) == eArchiveResult::Ok);
    Require(oReader.ReadEntry(oNode, oEntry, 0, aBytes.data(), aBytes.size() + 1) != eArchiveResult::Ok);
    oTotals.m_nBytes += aBytes.size();
}

// Goes down through a checked tree, which is no larger than the archive.
void ReadTree(CArchiveReader& oReader, CArchiveNode&& oTop, sTotals& oTotals)
{
    std::vector<CArchiveNode> aNodes;
    aNodes.push_back(std::move(oTop));
    while (!aNodes.empty())
    {
        const CArchiveNode oNode = std::move(aNodes.back());
        aNodes.pop_back();
        ++oTotals.m_nNodes;
        const bool bChecked = CArchiveReader::CheckTable(oNode) == eArchiveResult::Ok;

        for (std::uint32_t i = 0; i < oNode.GetEntryCount(); ++i)
        {
            const sArchiveEntry& oEntry = oNode.GetEntry(i);
            const sArchiveEntry* pFound = oNode.Find(oEntry.m_aName);
            Require(pFound != nullptr && pFound <= &oEntry && STR_stricmp(pFound->m_aName, oEntry.m_aName) == 0);
            CArchiveReader::IsPlainName(oEntry.m_aName);

            CArchiveNode oChild;
            const bool bFile = oEntry.m_nIsDirectory == 0;
            if (bChecked && bFile)
                ReadFile(oReader, oNode, oEntry, oTotals);
            else if (oReader.ReadChild(oNode, oEntry, oChild) == eArchiveResult::Ok && bChecked)
                aNodes.push_back(std::move(oChild));
        }
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nSize)
{
    CArchiveReader oReader;
    oReader.Open(std::as_bytes(std::span(pBytes, nSize)));
    CArchiveNode oRoot;
    if (oReader.ReadRoot(oRoot) != eArchiveResult::Ok)
        return 0;

    sTotals oTotals;
    ReadTree(oReader, std::move(oRoot), oTotals);
    Require(oTotals.m_nBytes <= nSize && oTotals.m_nNodes <= nSize / sizeof(sArchiveHeader));
    return 0;
}
