#include <tests/support/SparseFile.h>

#include <fstream>

void MakeSparseFile(const std::string& sPath, std::uint64_t nSize, std::string_view sTail)
{
    std::ofstream oFile;
    oFile.exceptions(std::ios::failbit | std::ios::badbit);
    oFile.open(sPath, std::ios::binary);
    oFile.seekp(static_cast<std::streamoff>(nSize - sTail.size()));
    oFile.write(sTail.data(), static_cast<std::streamsize>(sTail.size()));
    oFile.close();
}
