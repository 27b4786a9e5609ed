#include <tests/support/TestDirectory.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
fs::path MakeFreshDirectory()
{
    std::random_device oRandom;
    for (int nTry = 0; nTry < 100; ++nTry)
    {
        const std::uint64_t nNumber = (static_cast<std::uint64_t>(oRandom()) << 32) | oRandom();
        const fs::path oPath = fs::canonical(fs::temp_directory_path()) / ("common-test-" + std::to_string(nNumber));
        if (fs::create_directory(oPath))
            return oPath;
    }
    throw std::runtime_error("no fresh directory for a test");
}

// What a test made read-only, or what a Windows file system holds read-only, would stay behind.
void MakeAllWritable(const fs::path& oPath)
{
    std::error_code oError;
    for (fs::recursive_directory_iterator it(oPath, fs::directory_options::skip_permission_denied, oError), itEnd;
         !oError && it != itEnd; it.increment(oError))
    {
        std::error_code oIgnored;
        if (!it->is_symlink(oIgnored))
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, oIgnored);
    }
}
} // namespace

CTestDirectory::CTestDirectory(bool bEnter) : m_oPath(MakeFreshDirectory())
{
    if (bEnter)
    {
        m_oPrevious = fs::current_path();
        fs::current_path(m_oPath);
    }
}

CTestDirectory::~CTestDirectory()
{
    std::error_code oIgnored;
    if (!m_oPrevious.empty())
        fs::current_path(m_oPrevious, oIgnored);

    fs::remove_all(m_oPath, oIgnored);
    if (oIgnored)
    {
        MakeAllWritable(m_oPath);
        fs::remove_all(m_oPath, oIgnored);
    }
}

std::string CTestDirectory::GetPath() const
{
    return m_oPath.string();
}

std::string CTestDirectory::PathOf(std::string_view sName) const
{
    return (m_oPath / sName).string();
}

void CTestDirectory::Write(std::string_view sName, std::string_view sBytes) const
{
    const fs::path oPath = m_oPath / sName;
    fs::create_directories(oPath.parent_path());
    WriteWholeFile(oPath, sBytes);
}

std::string CTestDirectory::Read(std::string_view sName) const
{
    return ReadWholeFile(m_oPath / sName);
}

bool CTestDirectory::Has(std::string_view sName) const
{
    std::error_code oIgnored;
    return fs::exists(fs::symlink_status(m_oPath / sName, oIgnored));
}

void CTestDirectory::MakeDirectory(std::string_view sName) const
{
    fs::create_directories(m_oPath / sName);
}

void CTestDirectory::SetReadOnly(std::string_view sName, bool bReadOnly) const
{
    const fs::perms eWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    fs::permissions(m_oPath / sName, bReadOnly ? eWrite : fs::perms::owner_write,
                    bReadOnly ? fs::perm_options::remove : fs::perm_options::add);
}

void CTestDirectory::Remove(std::string_view sName) const
{
    fs::remove_all(m_oPath / sName);
}

std::string ReadWholeFile(const fs::path& oPath)
{
    std::ifstream oFile(oPath, std::ios::binary);
    if (!oFile)
        throw std::runtime_error("cannot read " + oPath.string());
    return std::string(std::istreambuf_iterator<char>(oFile), {});
}

void WriteWholeFile(const fs::path& oPath, std::string_view sBytes)
{
    std::ofstream oFile(oPath, std::ios::binary | std::ios::trunc);
    oFile.write(sBytes.data(), static_cast<std::streamsize>(sBytes.size()));
    oFile.close();
    if (!oFile)
        throw std::runtime_error("cannot write " + oPath.string());
}
