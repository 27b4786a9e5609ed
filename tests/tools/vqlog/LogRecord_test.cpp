#include <tools/vqlog/LogRecord.h>

#include <tests/support/LogMail.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace
{
const sLogRecord RECORD = {"ada", "Lander", 4711, 5, "-12", "loading", "game/World", 42, "no ship"};

std::string MakeRecordMail()
{
    return MakeLogMail("ada", "Lander", 4711, 5, "-12", "loading", "game/World", 42, "no ship");
}
} // namespace

TEST(VqlogRecord, ReadsTheNineItems)
{
    sLogRecord oRecord;
    ASSERT_TRUE(ReadLogRecord(MakeRecordMail(), oRecord));
    EXPECT_EQ(oRecord, RECORD);
}

TEST(VqlogRecord, TakesEmptyTextsAndAnyByte)
{
    sLogRecord oRecord = RECORD;
    ASSERT_TRUE(
        ReadLogRecord(MakeLogMail("", "", 0xFFFFFFFF, 0, "", "", "", 0, std::string("\0\xFF\r\n", 4)), oRecord));
    EXPECT_EQ(oRecord, (sLogRecord{"", "", 0xFFFFFFFF, 0, "", "", "", 0, std::string("\0\xFF\r\n", 4)}));
}

TEST(VqlogRecord, RefusesWhatIsCutOrHasMore)
{
    const std::string sMail = MakeRecordMail();
    sLogRecord oRecord;
    for (std::size_t nSize = 0; nSize < sMail.size(); ++nSize)
        EXPECT_FALSE(ReadLogRecord(sMail.substr(0, nSize), oRecord)) << nSize;
    EXPECT_FALSE(ReadLogRecord(sMail + "x", oRecord));
    EXPECT_FALSE(ReadLogRecord(sMail + std::string(400 - sMail.size(), '\0'), oRecord));
}

TEST(VqlogRecord, RefusesLengthsThatLie)
{
    for (const std::uint32_t nLength : {0xFFFFFFFFU, 0x80000000U, 0x7FFFFFFFU, 401U, 4U, 2U})
    {
        std::string sMail = MakeRecordMail();
        for (int i = 0; i < 4; ++i)
            sMail[static_cast<std::size_t>(i)] = static_cast<char>(nLength >> (8 * i));
        sLogRecord oRecord;
        EXPECT_FALSE(ReadLogRecord(sMail, oRecord)) << nLength;
    }
}

TEST(VqlogRecord, KnowsTheTitles)
{
    const char* const aTitles[] = {"Game Message", "Dump",  "Info",           "Message",           "Note",
                                   "Warning",      "Error", "Critical Error", "Catastrophic Error"};
    for (std::uint32_t n = 0; n < 9; ++n)
        EXPECT_STREQ(GetClassTitle(n), aTitles[n]);
    EXPECT_STREQ(GetClassTitle(9), "Unkown class");
    EXPECT_STREQ(GetClassTitle(0xFFFFFFFF), "Unkown class");
}

TEST(VqlogRecord, FindsClasses)
{
    struct
    {
        const char* pName;
        std::uint32_t nClass;
    } const aCases[] = {
        {"game", 0},    {"Game Message", 0}, {"dump", 1},     {"INFO", 2},           {"message", 3},      {"note", 4},
        {"Warning", 5}, {"error", 6},        {"critical", 7}, {"critical error", 7}, {"catastrophic", 8}, {"0", 0},
        {"8", 8},       {"12", 12}};

    for (const auto& oCase : aCases)
    {
        std::uint32_t nClass = 99;
        EXPECT_TRUE(FindClass(oCase.pName, nClass)) << oCase.pName;
        EXPECT_EQ(nClass, oCase.nClass) << oCase.pName;
    }
    for (const char* pName : {"", "warn", "-1", "5x", " 5", "4294967296", "Unkown class"})
    {
        std::uint32_t nClass = 99;
        EXPECT_FALSE(FindClass(pName, nClass)) << pName;
    }
}
