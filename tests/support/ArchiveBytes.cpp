#include <tests/support/ArchiveBytes.h>

#include <cstdio>

namespace
{
constexpr std::size_t HEADER_SIZE = 32;
constexpr std::size_t NAME_SIZE = 256;

void AppendNumber(std::string& sBytes, std::size_t nNumber)
{
    for (int nShift = 0; nShift < 32; nShift += 8)
        sBytes.push_back(static_cast<char>(nNumber >> nShift));
}
} // namespace

std::string MakeArchiveNode(const std::vector<ArchiveItem>& oItems)
{
    std::size_t nTableOffset = HEADER_SIZE;
    for (const ArchiveItem& oItem : oItems)
        nTableOffset += oItem.sBytes.size();

    std::string sNode = "ARCX";
    sNode.push_back(1);
    sNode.push_back(0);
    AppendNumber(sNode, nTableOffset + oItems.size() * ENTRY_SIZE);
    AppendNumber(sNode, nTableOffset);
    AppendNumber(sNode, oItems.size());
    sNode.resize(HEADER_SIZE);
    sNode.reserve(nTableOffset + oItems.size() * ENTRY_SIZE);

    for (const ArchiveItem& oItem : oItems)
        sNode += oItem.sBytes;

    std::size_t nOffset = HEADER_SIZE;
    for (const ArchiveItem& oItem : oItems)
    {
        const std::size_t nEntry = sNode.size();
        sNode += oItem.sName.substr(0, NAME_SIZE);
        sNode.resize(nEntry + NAME_SIZE);
        AppendNumber(sNode, nOffset);
        AppendNumber(sNode, oItem.sBytes.size());
        sNode.push_back(oItem.bDirectory ? 1 : 0);
        sNode.resize(nEntry + ENTRY_SIZE);
        nOffset += oItem.sBytes.size();
    }
    return sNode;
}

std::string MakeLargeArchive(std::size_t nCount)
{
    std::vector<ArchiveItem> oItems(nCount);
    for (std::size_t i = 0; i < nCount; ++i)
    {
        char aName[32];
        std::snprintf(aName, sizeof aName, "file%06u.dat", static_cast<unsigned>(i));
        oItems[i] = {aName, aName, false};
    }
    return MakeArchiveNode(oItems);
}

std::uint32_t GetNumber(std::string_view sBytes, std::size_t nPosition)
{
    std::uint32_t nNumber = 0;
    for (std::size_t i = 0; i < 4; ++i)
        nNumber |= static_cast<std::uint32_t>(static_cast<unsigned char>(sBytes.at(nPosition + i))) << (8 * i);
    return nNumber;
}

void SetNumber(std::string& sBytes, std::size_t nPosition, std::uint32_t nNumber)
{
    for (std::size_t i = 0; i < 4; ++i)
        sBytes.at(nPosition + i) = static_cast<char>(nNumber >> (8 * i));
}

std::size_t GetEntryPosition(std::string_view sNode, std::size_t nEntry)
{
    return GetNumber(sNode, TABLE_OFFSET_FIELD) + nEntry * ENTRY_SIZE;
}
