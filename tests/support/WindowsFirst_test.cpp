// On Windows a program may include the system's header before the library's: its macros must not reach our names.

#if defined(_WIN32)

#    include <windows.h>

#    include <Common/Common.h>

#    include <tests/support/TestDirectory.h>

#    include <gtest/gtest.h>

#    if !defined(CreateFile)
#        error "windows.h defines CreateFile, and it must still be defined behind Common.h"
#    endif

TEST(WindowsHeader, MayComeBeforeTheLibrary)
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
