#include <tests/support/TestDirectory.h>

#include <gtest/gtest.h>

#include <filesystem>

TEST(TestDirectory, IsFreshEnteredAndGoneAtTheEnd)
{
    const std::filesystem::path oBefore = std::filesystem::current_path();
    std::string sPath;
    {
        const CTestDirectory oDirectory;
        sPath = oDirectory.GetPath();
        EXPECT_TRUE(std::filesystem::is_empty(sPath));
        EXPECT_EQ(std::filesystem::current_path(), std::filesystem::path(sPath));

        oDirectory.Write("a/b/c.bin", std::string_view("x\0\r\ny", 5));
        EXPECT_EQ(oDirectory.Read("a/b/c.bin"), std::string_view("x\0\r\ny", 5));
        EXPECT_TRUE(oDirectory.Has("a/b"));
        EXPECT_FALSE(oDirectory.Has("a/c"));
        oDirectory.SetReadOnly("a/b/c.bin", true);
    }
    EXPECT_FALSE(std::filesystem::exists(sPath));
    EXPECT_EQ(std::filesystem::current_path(), oBefore);
}
