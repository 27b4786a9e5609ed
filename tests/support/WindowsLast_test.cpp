// On Windows a program may include the system's header behind the library's: its macros must not reach our names.

#if defined(_WIN32)

#    include <Common/Common.h>

#    include <windows.h>

#    include <tests/support/TestDirectory.h>

#    include <gtest/gtest.h>

TEST(WindowsHeader, MayComeBehindTheLibrary)
{
    CTestDirectory oDirectory;
    auto* pFiles = CExtendedFileSystem::Instance();
    ASSERT_TRUE(pFiles->IsSetup() || pFiles->Setup());
    const unsigned long nHandle = pFiles->CreateFile("a.txt");
    EXPECT_TRUE(pFiles->WriteLine(nHandle, "abc"));
    EXPECT_TRUE(pFiles->CloseFile(nHandle));
    EXPECT_EQ(oDirectory.Read("a.txt").substr(0, 3), "abc");
}

#endif
