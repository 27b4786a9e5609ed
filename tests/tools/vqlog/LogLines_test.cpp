#include <tools/vqlog/LogLines.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace
{
/// The records of a file that is read in pieces of nStep bytes, and what belongs to none.
struct sFile
{
    explicit sFile(std::string_view sBytes, std::size_t nStep = 1 << 16)
    {
        CLogLines oLines([this](const sLogRecord& oRecord) { m_aRecords.push_back(oRecord); });
        for (; !sBytes.empty(); sBytes.remove_prefix(std::min(nStep, sBytes.size())))
            oLines.Add(sBytes.substr(0, nStep));
        oLines.End();
        m_nMalformed = oLines.GetMalformed();
    }

    std::vector<sLogRecord> m_aRecords;
    unsigned long m_nMalformed = 0;
};

std::string MakeLine(const sLogRecord& oRecord)
{
    const auto Number = [](std::uint32_t n) { return std::to_string(static_cast<std::int32_t>(n)); };
    return oRecord.m_sComputer + " | " + oRecord.m_sApplication + " | " + Number(oRecord.m_nProcess) + " | " +
           Number(oRecord.m_nClass) + " | " + oRecord.m_sTicks + " | " + oRecord.m_sContext + " | " +
           oRecord.m_sSource + " | " + Number(oRecord.m_nLine) + " | " + oRecord.m_sMessage + "\r\n";
}
} // namespace

TEST(VqlogLines, TellsFieldsApart)
{
    const sLogRecord aCases[] = {
        {"ada", "Lander", 4711, 5, "12", "loading", "game/World", 42, "no ship"},
        {"ada", "Lander", 0xFFFFFFFE, 0xFFFFFFFF, "-2147483648", "", "", 0, ""},
        {"", "", 1, 2, "3", "", "", 4, "m"},
        {"ada", "a | b | c", 1, 2, "3", "", "s", 4, "m"},                       // an application with separators
        {"ada", "a | 7 | b", 1, 2, "3", "", "s", 4, "m"},                       // and with a number
        {"ada", "a", 1, 2, "3", "one | two | three", "s", 4, "m"},              // a context with separators
        {"ada", "a", 1, 2, "3", "9", "s", 4, "m"},                              // a context that is a number
        {"ada", "a", 1, 2, "3", "c", "9", 4, "m"},                              // a source that is one
        {"ada", "a", 1, 2, "3", "c", "s", 4, " | 5 | 6 | 7 | x | 8 | "},        // a message with all of them
        {"ada", "a", 1, 2, "3", "c", "s", 4, "one\r\ntwo\r\n\r\n"},             // line ends in the message
        {"ada", "a", 1, 2, "3", "c", "s", 4, "\r\n"},                           //
        {"ada", "a", 1, 2, "3", "one\r\ntwo", "three\r\nfour", 4, "five\rsix"}, // in context and source
        {"ada", "a", 1, 2, "3", "c\n", "s\r", 4, "ada | a | 1 | 2 | 3\r\nx | y\n"},
    };
    for (const sLogRecord& oCase : aCases)
    {
        const std::string sBytes = MakeLine(oCase) + MakeLine(aCases[0]);
        for (const std::size_t nStep : {std::size_t(1), std::size_t(2), std::size_t(7), sBytes.size()})
        {
            const sFile oFile(sBytes, nStep);
            EXPECT_EQ(oFile.m_aRecords, (std::vector<sLogRecord>{oCase, aCases[0]})) << sBytes;
            EXPECT_EQ(oFile.m_nMalformed, 0UL) << sBytes;
        }
    }
}

TEST(VqlogLines, TakesALastLineWithoutItsEnd)
{
    const sLogRecord oRecord = {"ada", "a", 1, 2, "3", "c", "s", 4, "torn"};
    std::string sLine = MakeLine(oRecord);
    sLine.resize(sLine.size() - 2);
    EXPECT_EQ(sFile(sLine).m_aRecords, std::vector<sLogRecord>{oRecord});
    EXPECT_EQ(sFile(sLine).m_nMalformed, 0UL);
}

TEST(VqlogLines, CountsWhatBelongsToNoRecord)
{
    struct
    {
        std::string sBytes;
        std::size_t nRecords;
        unsigned long nMalformed;
    } const aCases[] = {
        {"", 0, 0},
        {"\r\n", 0, 1},
        {"text\r\nmore\r\nc | a | 1 | 2 | 3 | x | s | 4 | m\r\n", 1, 1},
        {"c | a | 1 | 2 | x\r\n", 0, 1},
        {"c | 1 | 2 | 3 | x | s | 4 | m\r\n", 0, 1},              // two fields stand before the numbers
        {"c | a | 1 | 2 | 3\r\n", 0, 1},                          // nothing behind the numbers
        {"c | a | 1 | 2 | 3 | context | source\r\n", 0, 1},       // a head without a line
        {"c | a | 1 | 2 | 2147483648 | x | s | 4 | m\r\n", 0, 1}, // no number of 32 bits
        {"c | a | 1 | 2 | +3 | x | s | 4 | m\r\n", 0, 1},
        {"c|a|1|2|3|x|s|4|m\r\n", 0, 1},
        {"c | a | 1 | 2 | 3 | x | s\r\nc | a | 1 | 2 | 3 | x | s | 4 | m\r\n", 1, 1},
    };

    for (const auto& oCase : aCases)
    {
        const sFile oFile(oCase.sBytes);
        EXPECT_EQ(oFile.m_aRecords.size(), oCase.nRecords) << oCase.sBytes;
        EXPECT_EQ(oFile.m_nMalformed, oCase.nMalformed) << oCase.sBytes;
    }
}

TEST(VqlogLines, GivesWayToTheNextRecordWhenALineIsTooLong)
{
    const std::string sGood = "c | a | 1 | 2 | 3 | x | s | 4 | m\r\n";
    const std::string sLong(3 * CLogLines::MAX_RECORD_SIZE, 'x');
    for (const std::string& sStart : {std::string(), std::string("c | a | 1 | 2 | 3 | x | s | 4 | ")})
    {
        const sFile oFile(sGood + sStart + sLong + "\r\n" + sGood, 1000);
        EXPECT_EQ(oFile.m_aRecords.size(), 2U);
        EXPECT_EQ(oFile.m_nMalformed, 1UL);
    }

    // Many short lines without a record's beginning are no endless record.
    std::string sMany = sGood;
    while (sMany.size() < 2 * CLogLines::MAX_RECORD_SIZE)
        sMany += "a line that goes on with the record before it, for longer than any record does\r\n";
    const sFile oFile(sMany + sGood);
    ASSERT_EQ(oFile.m_aRecords.size(), 2U);
    EXPECT_LE(oFile.m_aRecords[0].m_sMessage.size(), CLogLines::MAX_RECORD_SIZE);
    EXPECT_EQ(oFile.m_nMalformed, 1UL);
}

TEST(VqlogLines, HandsARecordOverWhenNothingHasComeForAWhile)
{
    std::vector<std::string> aMessages;
    CLogLines oLines([&](const sLogRecord& oRecord) { aMessages.push_back(oRecord.m_sMessage); });
    oLines.Add("c | a | 1 | 2 | 3 | x | s | 4 | first\r\nsecond\r\nc | a | 1 | 2");
    EXPECT_TRUE(aMessages.empty());
    oLines.Pause();
    EXPECT_EQ(aMessages, std::vector<std::string>{"first\r\nsecond"});
    oLines.Add(" | 3 | x | s | 4 | third\r\n");
    oLines.Pause();
    oLines.Pause();
    EXPECT_EQ(aMessages, (std::vector<std::string>{"first\r\nsecond", "third"}));
    EXPECT_EQ(oLines.GetMalformed(), 0UL);
}
