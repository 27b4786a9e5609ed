#include <Common/Platform/PlatformFile.h>

#include <tests/support/TestDirectory.h>

#include <gtest/gtest.h>

TEST(PlatformFile, WritesAndReadsBack)
{
    const CTestDirectory oDirectory;
    const int nWrite = FILE_Open("a.bin", "wb");
    ASSERT_NE(nWrite, -1);
    EXPECT_EQ(FILE_Write(nWrite, "abcdef", 2, 3), 3u);
    EXPECT_EQ(FILE_Tell(nWrite), 6);
    EXPECT_EQ(FILE_Close(nWrite), 1);

    const int nRead = FILE_Open("a.bin", "rb");
    ASSERT_NE(nRead, -1);
    char aBuffer[8] = {};
    EXPECT_EQ(FILE_Read(nRead, aBuffer, 1, 8), 6u);
    EXPECT_STREQ(aBuffer, "abcdef");
    EXPECT_EQ(FILE_Close(nRead), 1);
    EXPECT_EQ(FILE_Close(nRead), -1);
}
