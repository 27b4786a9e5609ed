#include <tools/vqlog/Printer.h>

#include <gtest/gtest.h>

#include <chrono>
#include <regex>
#include <string>

namespace
{
sLogRecord MakeRecord()
{
    return {"ada", "Lander", 4711, 5, "12042", "loading", "game/World", 42, "no ship"};
}

const std::chrono::system_clock::time_point NOON{std::chrono::seconds(1'795'089'600) + std::chrono::milliseconds(7)};
} // namespace

TEST(VqlogPrinter, WritesARecordOnOneLine)
{
    EXPECT_EQ(FormatText(MakeRecord(), {}, false),
              "12.042s ada Lander[4711] Warning: game/World:42 (loading): no ship");

    const std::string sLine = FormatText(MakeRecord(), NOON, false);
    EXPECT_TRUE(std::regex_match(
        sLine, std::regex(R"(\d\d:\d\d:00\.007 ada Lander\[4711\] Warning: game/World:42 \(loading\): no ship)")))
        << sLine;

    sLogRecord oRecord = MakeRecord();
    oRecord.m_sContext.clear();
    oRecord.m_nClass = 9;
    oRecord.m_sTicks = "-1";
    EXPECT_EQ(FormatText(oRecord, {}, false), "4294967.295s ada Lander[4711] Unkown class: game/World:42: no ship");
    oRecord.m_sTicks = "no\nnumber";
    EXPECT_EQ(FormatText(oRecord, {}, false), "no\\nnumber ada Lander[4711] Unkown class: game/World:42: no ship");
}

TEST(VqlogPrinter, ColoursTheTitleOfTheClassAlone)
{
    for (std::uint32_t nClass = 0; nClass < 11; ++nClass)
    {
        sLogRecord oRecord = MakeRecord();
        oRecord.m_nClass = nClass;
        const std::string sPlain = FormatText(oRecord, {}, false);
        const std::string sColoured = FormatText(oRecord, {}, true);
        EXPECT_EQ(std::regex_replace(sColoured, std::regex("\033\\[[0-9;]*m"), ""), sPlain);
        EXPECT_EQ(sColoured == sPlain, nClass == 2 || nClass == 3) << nClass;
    }
    EXPECT_EQ(FormatText(MakeRecord(), {}, true),
              "12.042s ada Lander[4711] \033[33mWarning\033[0m: game/World:42 (loading): no ship");
}

TEST(VqlogPrinter, ShowsNothingThatCommandsATerminalOrBreaksTheLine)
{
    struct
    {
        std::string sText;
        std::string sShown;
    } const aCases[] = {
        {"one\r\ntwo\tthree", "one\\r\\ntwo\\tthree"},
        {"\033[2J\a\x7F", "\\x1B[2J\\x07\\x7F"},
        {std::string("\0x", 2), "\\x00x"},
        {"\xC2\x9B"
         "31m",
         "\\xC2\\x9B31m"},                            // a control character of two bytes
        {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x9A\x80", // of two, three and four bytes
         "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x9A\x80"},
        {"caf\xE9", "caf\\xE9"},
        {"\xC3", "\\xC3"},
        {"\xC0\x80 \xE0\x80\x80 \xED\xA0\x80 \xF4\x90\x80\x80 \xF5",
         "\\xC0\\x80 \\xE0\\x80\\x80 \\xED\\xA0\\x80 \\xF4\\x90\\x80\\x80 \\xF5"}, // too long, surrogate, too large
        {"back\\slash \"quote\"", "back\\slash \"quote\""},
    };

    for (const auto& oCase : aCases)
    {
        sLogRecord oRecord = {oCase.sText, oCase.sText, 1, 2, "3", oCase.sText, oCase.sText, 4, oCase.sText};
        const std::string& s = oCase.sShown;
        EXPECT_EQ(FormatText(oRecord, {}, false), "0.003s " + s + " " + s + "[1] Info: " + s + ":4 (" + s + "): " + s);
    }
}

TEST(VqlogPrinter, WritesAJsonObject)
{
    EXPECT_EQ(FormatJson(MakeRecord(), {}),
              R"({"computer":"ada","application":"Lander","process":4711,"class":5,"title":"Warning","ticks":"12042",)"
              R"("context":"loading","source":"game/World","line":42,"message":"no ship"})");
    EXPECT_EQ(FormatJson(MakeRecord(), NOON).substr(0, 52), R"({"time":"2026-11-19T12:00:00.007Z","computer":"ada",)");

    sLogRecord oRecord = MakeRecord();
    oRecord.m_sMessage = std::string("\"\\\r\n\t\0\x1F\x7F caf\xC3\xA9 \xE9", 16);
    const std::string sJson = FormatJson(oRecord, {});
    EXPECT_EQ(sJson.substr(sJson.find("\"message\":") + 10),
              "\"\\\"\\\\\\r\\n\\t\\u0000\\u001F\\u007F caf\xC3\xA9 \\u00E9\"}");

    // A terminal may show it: neither form of a control character beyond ASCII commands it.
    oRecord.m_sMessage = "\xC2\x80\xC2\x9B\xC2\x9F\xC2\xA0 \x9B";
    const std::string sControls = FormatJson(oRecord, {});
    EXPECT_EQ(sControls.substr(sControls.find("\"message\":") + 10), "\"\\u0080\\u009B\\u009F\xC2\xA0 \\u009B\"}");
}
