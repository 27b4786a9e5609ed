// What Linux lets the library remember of its directories.

#if !defined(_WIN32)

#    include <Common/Platform/System/Posix/DirectoryListing.h>

#    include <tests/support/TestDirectory.h>

#    include <gtest/gtest.h>

#    include <fcntl.h>
#    include <linux/fs.h>
#    include <linux/magic.h>
#    include <unistd.h>

using System::eListingTrust;

TEST(DirectoryListing, IsTrustedAsItsFileSystemDeserves)
{
    constexpr std::uint32_t NETWORK = NFS_SUPER_MAGIC;
    constexpr std::uint32_t UNHEARD_OF = 0x12345678;

    struct
    {
        std::uint32_t nFileSystem;
        unsigned nFlags;
        eListingTrust eTrust;
    } const aCases[] = {
        {EXT4_SUPER_MAGIC, 0, eListingTrust::Complete},
        {TMPFS_MAGIC, 0, eListingTrust::Complete},
        {OVERLAYFS_SUPER_MAGIC, FS_EXTENT_FL, eListingTrust::Complete},
        {NETWORK, 0, eListingTrust::Stamps},
        {UNHEARD_OF, 0, eListingTrust::Stamps},
        {PROC_SUPER_MAGIC, 0, eListingTrust::None},
        {AUTOFS_SUPER_MAGIC, 0, eListingTrust::None},
        // It knows more letters than A to Z.
        {EXT4_SUPER_MAGIC, FS_CASEFOLD_FL, eListingTrust::Stamps},
        // Its names change with a key, and no time stamp tells.
        {EXT4_SUPER_MAGIC, FS_ENCRYPT_FL, eListingTrust::None},
        {F2FS_SUPER_MAGIC, FS_ENCRYPT_FL | FS_CASEFOLD_FL, eListingTrust::None},
        {UNHEARD_OF, FS_ENCRYPT_FL, eListingTrust::None},
    };

    for (const auto& [nFileSystem, nFlags, eTrust] : aCases)
        EXPECT_EQ(System::GetTrust(nFileSystem, nFlags), eTrust) << std::hex << nFileSystem << " " << nFlags;
}

TEST(DirectoryListing, AsksTheSystemWhatItMayTrust)
{
    const int nProcesses = open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_NE(nProcesses, -1);
    EXPECT_EQ(System::GetTrust(nProcesses), eListingTrust::None);
    close(nProcesses);
    EXPECT_EQ(System::GetTrust(-1), eListingTrust::None);
}

#endif
