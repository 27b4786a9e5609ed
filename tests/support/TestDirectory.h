#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// A directory for one test: new and empty at construction, gone with all that is in it at the end.
///
///     CTestDirectory oDirectory;                    // the current directory, until oDirectory ends
///     oDirectory.Write("data/a.txt", "abc");        // makes "data" on the way
///     EXPECT_EQ(oDirectory.Read("data/a.txt"), "abc");
///
/// It stands below the system's directory for temporary files. Names are taken relative to it. A helper that fails
/// throws std::exception, which fails the test.
class CTestDirectory
{
public:
    /// @param bEnter  also make it the current directory; the one before comes back at the end
    explicit CTestDirectory(bool bEnter = true);
    ~CTestDirectory();

    CTestDirectory(const CTestDirectory&) = delete;
    CTestDirectory& operator=(const CTestDirectory&) = delete;

    /// Its absolute path, without a separator at the end.
    std::string GetPath() const;

    /// The absolute path of a name in it.
    std::string PathOf(std::string_view sName) const;

    /// Writes a whole file, over an older one; missing directories on the way are made.
    void Write(std::string_view sName, std::string_view sBytes) const;

    /// The whole contents of a file.
    std::string Read(std::string_view sName) const;

    /// Whether a file or directory of exactly this name is there.
    bool Has(std::string_view sName) const;

    /// Makes a directory and the missing ones on the way.
    void MakeDirectory(std::string_view sName) const;

    /// Makes a file or directory read-only, or writable again.
    void SetReadOnly(std::string_view sName, bool bReadOnly) const;

    /// Removes a file, or a directory with all that is in it.
    void Remove(std::string_view sName) const;

private:
    std::filesystem::path m_oPath;
    std::filesystem::path m_oPrevious;
};

/// The whole contents of any file.
std::string ReadWholeFile(const std::filesystem::path& oPath);

/// Writes any whole file, over an older one.
void WriteWholeFile(const std::filesystem::path& oPath, std::string_view sBytes);
