// The built program, run as a user runs it, on files of the library and on damaged ones.

#include <tests/support/ChildProcess.h>
#include <tests/support/FileSizeLimit.h>
#include <tests/support/PropertyBytes.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>

namespace
{
namespace fs = std::filesystem;

using Outcome = std::pair<int, std::string>;

/// The exit code and all that the program wrote.
Outcome RunTool(std::vector<std::string> aArguments)
{
    const fs::path oThis(ThisProgram());
    aArguments.insert(aArguments.begin(), (oThis.parent_path() / ("vqprop" + oThis.extension().string())).string());
    const ChildResult oResult = ChildProcess(aArguments).Wait();
    std::string sOutput;
    for (const char cByte : oResult.sOutput)
    {
        if (cByte != '\r')
            sOutput.push_back(cByte);
    }
    return {oResult.nExitCode, sOutput};
}

std::string Golden(const std::string& sName)
{
    return ReadWholeFile(GetGoldenPath("properties/" + sName));
}

const char* const GOLDEN[] = {"scalars.manager.stream", "scalars.params.stream",  "points.list.stream",
                              "shape.struct.stream",    "number.property.stream", "scalars.manager.file",
                              "scalars.params.file",    "points.list.file",       "shape.struct.file",
                              "number.property.file"};

/// What --as calls a golden file: "manager-file" for "scalars.manager.file".
std::string LayoutOf(const std::string& sGolden)
{
    std::string sLayout = sGolden.substr(sGolden.find('.') + 1);
    sLayout[sLayout.find('.')] = '-';
    return sLayout;
}

template <class TObject>
void ReadFile(const CTestDirectory& oDirectory, const char* pName, TObject& oObject)
{
    CBytesFile oFile(oDirectory.Read(pName));
    EXPECT_TRUE(oObject.Read(&oFile));
    EXPECT_TRUE(oFile.IsEof());
}

bool Contains(const std::string& sText, const std::string& sPart)
{
    return sText.find(sPart) != std::string::npos;
}
} // namespace

TEST(Vqprop, ShowsEveryKind)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("m", Golden("scalars.manager.stream"));
    EXPECT_EQ(RunTool({"show", "m"}), Outcome(0, "manager-stream: 8 properties\n"
                                                 "  bool: bool = true  (format \"%d\", \"1\")\n"
                                                 "  empty text: string = \"\"\n"
                                                 "  float: float = -1.5  (format \"%.3f m\", \"-1.500 m\")\n"
                                                 "  id: stringid = 4711\n"
                                                 "  int: int = -2\n"
                                                 "  long: long = 2147483647  (format \"%ld\", \"2147483647\")\n"
                                                 "  text: string = \"a\\x00b\\xFF\"\n"
                                                 "  ulong: ulong = 4294967294\n"));
    oDirectory.Write("s", Golden("shape.struct.file"));
    EXPECT_EQ(RunTool({"show", "s"}), Outcome(0, "struct-file: struct \"Shape\", 3 elements\n"
                                                 "  Name: string = \"box\"\n"
                                                 "  bounds: struct \"Point\", 2 elements\n"
                                                 "    x: int = 640\n"
                                                 "    y: int = 480\n"
                                                 "  corners: list of \"Point\", 2 elements\n"
                                                 "    @ElementType: struct \"Point\", 0 elements\n"
                                                 "    [0]: struct \"Point\", 2 elements\n"
                                                 "      x: int = 0\n"
                                                 "      y: int = 0\n"
                                                 "    [1]: struct \"Point\", 2 elements\n"
                                                 "      x: int = 1\n"
                                                 "      y: int = 1\n"));
    oDirectory.Write("o", Golden("old.params.file"));
    EXPECT_EQ(RunTool({"show", "o"}), Outcome(0, "params-file: 7 parameters\n"
                                                 "  [0]: bool = true\n"
                                                 "  [1]: bool = false\n"
                                                 "  [2]: int = -2\n"
                                                 "  [3]: long = 3\n"
                                                 "  [4]: float = 2.5\n"
                                                 "  [5]: string = \"old\"\n"
                                                 "  [6]: undefined\n"));
    oDirectory.Write("n", Golden("number.property.file"));
    EXPECT_EQ(RunTool({"show", "n"}), Outcome(0, "property-file: int = 7\n"));
}

TEST(Vqprop, FindsOutWhatAFileIs)
{
    const CTestDirectory oDirectory;
    for (const std::string sName : GOLDEN)
    {
        oDirectory.Write("f", Golden(sName));
        const Outcome oFound = RunTool({"show", "f"});
        EXPECT_EQ(oFound.first, 0) << sName;
        EXPECT_EQ(oFound.second.substr(0, oFound.second.find(':')), LayoutOf(sName)) << sName;
        EXPECT_EQ(RunTool({"show", "--as", LayoutOf(sName), "f"}), oFound);
    }
    oDirectory.Write("ambiguous", Word(0));
    EXPECT_EQ(RunTool({"show", "ambiguous"}), Outcome(0, "manager-file: 0 properties\n"));
    EXPECT_EQ(RunTool({"show", "--as", "params-file", "ambiguous"}), Outcome(0, "params-file: 0 parameters\n"));
    oDirectory.Write("text", "This is no property file, but a text.\n");
    EXPECT_EQ(RunTool({"show", "text"}), Outcome(1, "vqprop: text: is no property file\n"));
    oDirectory.Write("empty", "");
    EXPECT_EQ(RunTool({"show", "empty"}), Outcome(1, "vqprop: empty: is empty\n"));
    EXPECT_EQ(RunTool({"show", "missing"}), Outcome(1, "vqprop: missing: there is no such file\n"));
    EXPECT_EQ(RunTool({"show", "."}), Outcome(1, "vqprop: .: is a directory\n"));
}

TEST(Vqprop, JsonComesBackToTheByte)
{
    const CTestDirectory oDirectory;
    for (const std::string sName : GOLDEN)
    {
        oDirectory.Write("f", Golden(sName));
        EXPECT_EQ(RunTool({"to-json", "--as", LayoutOf(sName), "f", "j"}), Outcome(0, ""));
        EXPECT_EQ(RunTool({"from-json", "j", "g"}), Outcome(0, ""));
        EXPECT_EQ(oDirectory.Read("g"), Golden(sName)) << sName << '\n' << oDirectory.Read("j");
        EXPECT_EQ(RunTool({"to-json", "--as", LayoutOf(sName), "f"}).second, oDirectory.Read("j"));
        EXPECT_EQ(RunTool({"show", "--json", "--as", LayoutOf(sName), "f"}).second, oDirectory.Read("j"));
    }
}

TEST(Vqprop, JsonHoldsWhatNoNumberOrTextCan)
{
    std::string sRecord = 'v' + Word(10);
    for (const std::int64_t nBits : {0x7FC00000LL, 0xFFC00000LL, 0x7F800001LL, 0x7F800000LL, 0xFF800000LL, 0x80000000LL,
                                     0x3DCCCCCDLL, 0x00000001LL})
        sRecord += Versioned(Record('f', Word(nBits)));
    sRecord += Versioned(Record('s', Text("\xC3\xA4\xFF"), "\xFE"));
    sRecord += Versioned(Word('i') + Word(1) + Word(-1) + Word(5)); // a localised format
    const CTestDirectory oDirectory;
    oDirectory.Write("f", sRecord);
    EXPECT_EQ(RunTool({"to-json", "f", "j"}), Outcome(0, ""));
    const std::string sJson = oDirectory.Read("j");
    for (const char* pPart : {"\"nan\"", "\"nan:0xFFC00000\"", "\"nan:0x7F800001\"", "\"inf\"", "\"-inf\"", "-0.0",
                              "0.1\n", "{\n        \"hex\": \"c3a4ff\"", "\"id\": 5"})
        EXPECT_TRUE(Contains(sJson, pPart)) << pPart << '\n' << sJson;
    EXPECT_EQ(RunTool({"from-json", "j", "g"}), Outcome(0, ""));
    EXPECT_EQ(oDirectory.Read("g"), sRecord);

    const std::string sNames =
        'm' + Word(1) + Word(-1) + Word(7) + Versioned(Record('c', Word(256) + 'm' + Word(0) + Word(-1) + Word(8)));
    oDirectory.Write("f", sNames);
    EXPECT_EQ(RunTool({"show", "f"}), Outcome(0, "manager-stream: 1 property\n  #7: struct #8, 0 elements\n"));
    RunTool({"to-json", "f", "j"});
    RunTool({"from-json", "j", "g"});
    EXPECT_EQ(oDirectory.Read("g"), sNames);
    EXPECT_EQ(RunTool({"from-json", "--as", "manager-file", "j", "g"}),
              Outcome(1, "vqprop: g: a localised text is a name here, which only a stream record can hold\n"));
    EXPECT_EQ(oDirectory.Read("g"), sNames);
}

TEST(Vqprop, WhatItWritesTheLibraryReads)
{
    const CTestDirectory oDirectory;
    const std::vector<std::vector<std::string>> aSets = {
        {"a.bool", "bool", "true"},   {"b", "int", "-2147483648"}, {"c", "long", "0x10"},
        {"d", "ulong", "4294967295"}, {"e", "float", "-1e-3"},     {"f", "string", "-text \xC3\xA4"},
        {"g", "stringid", "7"},       {"h", "undefined"},          {"b", "int", "5"}};
    for (std::vector<std::string> aSet : aSets)
    {
        aSet.insert(aSet.begin(), {"set", "file"});
        EXPECT_EQ(RunTool(aSet), Outcome(0, "")) << aSet[2];
    }
    CVQPropertyManager oManager;
    ReadFile(oDirectory, "file", oManager);
    EXPECT_EQ(oManager.GetPropertyCount(), 8);
    EXPECT_TRUE(oManager["a.bool"].IsOfType(PROPTYPE_BOOL));
    EXPECT_EQ(oManager["b"].GetInt(), 5);
    EXPECT_EQ(static_cast<long>(oManager["c"]), 16);
    EXPECT_EQ(static_cast<unsigned long>(oManager["d"]), 0xFFFFFFFFUL);
    EXPECT_EQ(static_cast<float>(oManager["e"]), -0.001F);
    EXPECT_STREQ(~oManager["f"].GetString(), "-text \xC3\xA4");
    EXPECT_EQ(oManager["g"].GetStringId().GetId(), 7);
    EXPECT_TRUE(oManager["h"].IsOfType(PROPTYPE_UNDEFINED));
    EXPECT_EQ(WrittenBytes(oManager), oDirectory.Read("file"));

    for (const auto& [sPath, sValue] : std::vector<std::pair<std::string, std::string>>{{"a.bool", "true"},
                                                                                        {"b", "5"},
                                                                                        {"d", "4294967295"},
                                                                                        {"e", "-0.001"},
                                                                                        {"f", "-text \xC3\xA4"},
                                                                                        {"g", "7"},
                                                                                        {"h", ""}})
        EXPECT_EQ(RunTool({"get", "file", sPath}), Outcome(0, sValue + '\n'));
}

TEST(Vqprop, ConvertsBetweenRecords)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("f", Golden("shape.struct.file"));
    RunTool({"to-json", "f", "j"});
    EXPECT_EQ(RunTool({"from-json", "--as", "struct-stream", "j", "s"}), Outcome(0, ""));
    CVQPropertyStruct oStruct;
    EXPECT_EQ(LoadFrom(oStruct, oDirectory.Read("s")), oDirectory.Read("s").size());
    EXPECT_EQ(WrittenBytes(oStruct), Golden("shape.struct.file"));
    EXPECT_EQ(RunTool({"diff", "f", "s"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"from-json", "--as", "list-file", "j", "s"}),
              Outcome(1, "vqprop: j: holds no list but a struct\n"));
}

TEST(Vqprop, GoesDownPaths)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("s", Golden("shape.struct.stream"));
    EXPECT_EQ(RunTool({"get", "s", "bounds.x"}), Outcome(0, "640\n"));
    EXPECT_EQ(RunTool({"get", "s", "bounds"}), Outcome(0, "  x: int = 640\n  y: int = 480\n"));
    EXPECT_EQ(RunTool({"get", "s", "corners[1].y"}), Outcome(0, "1\n"));
    EXPECT_EQ(RunTool({"get", "s", "corners.1.y"}), Outcome(0, "1\n"));
    EXPECT_EQ(RunTool({"get", "s", "corners.@ElementType"}), Outcome(0, ""));
    for (const char* pAbsent : {"corners[2]", "corners[1", "corners[x]", "corners[-1]", "bounds.z", "bound", "boundsx",
                                "bounds.x.y", "..", "corners[99999999999999999999]"})
        EXPECT_EQ(RunTool({"get", "s", pAbsent}),
                  Outcome(1, std::string("vqprop: ") + pAbsent + ": there is no such property\n"));

    EXPECT_EQ(RunTool({"set", "s", "bounds.x", "int", "641"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "s", "bounds.depth", "float", "2"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "s", "corners[0].x", "int", "9"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"rm", "s", "corners[1]"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "s", "corners[1]", "json", R"({"type":"struct","structure":"Point","elements":[]})"}),
              Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "s", "corners[2]", "int", "1"}),
              Outcome(1, "vqprop: corners[2]: is not of the list's element type\n"));
    EXPECT_EQ(RunTool({"set", "s", "corners[9]", "int", "1"}),
              Outcome(1, "vqprop: corners[9]: there is no such element, and the next one is [2]\n"));
    EXPECT_EQ(RunTool({"rm", "s", "Name"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"rm", "s", "Name"}), Outcome(1, "vqprop: Name: there is no such property\n"));

    CVQPropertyStruct oShape;
    EXPECT_EQ(LoadFrom(oShape, oDirectory.Read("s")), oDirectory.Read("s").size());
    EXPECT_STREQ(~oShape.AsFormattedString(), "{ bounds={ depth=2.00 x=641 y=480  } corners={ 2 Elements }  }");
    EXPECT_STREQ(~oShape["corners"].GetFormat(), "unused") << "formats stay";

    oDirectory.Write("n", Golden("number.property.stream"));
    EXPECT_EQ(RunTool({"get", "n", "."}), Outcome(0, "7\n"));
    EXPECT_EQ(RunTool({"set", "n", ".", "string", "text"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"get", "n", "."}), Outcome(0, "text\n"));
    EXPECT_EQ(RunTool({"set", "n", "x", "int", "1"}),
              Outcome(1, "vqprop: x: there is no such property, and nothing that it could be added to\n"));
    EXPECT_EQ(RunTool({"set", "s", ".", "int", "1"}), Outcome(1, "vqprop: .: is the whole file\n"));

    EXPECT_EQ(RunTool({"set", "--as", "params-stream", "p", "0", "int", "1"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "p", "[1]", "bool", "1"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "p", "3", "bool", "1"}),
              Outcome(1, "vqprop: 3: there is no such element, and the next one is [2]\n"));
    EXPECT_EQ(oDirectory.Read("p"),
              'v' + Word(2) + Versioned(IntRecord(1)) + Versioned(Record('b', std::string(1, '\1'))));
}

TEST(Vqprop, RefusesWhatIsNoValue)
{
    const CTestDirectory oDirectory;
    for (const auto& [sType, sValue, sWhy] : std::vector<std::array<std::string, 3>>{
             {"bool", "yes", "yes: is no bool"},
             {"int", "2147483648", "2147483648: is no int"},
             {"int", "-2147483649", "-2147483649: is no int"},
             {"int", "5x", "5x: is no int"},
             {"int", "0x", "0x: is no int"},
             {"long", "1.5", "1.5: is no long"},
             {"ulong", "-1", "-1: is no ulong"},
             {"ulong", "4294967296", "4294967296: is no ulong"},
             {"stringid", "a", "a: is no stringid"},
             {"float", "1.5f", "1.5f: is no float"},
             {"float", "1e99", "1e99: is no float"},
             {"text", "a", "text: is no type"},
             {"struct", "a", "struct: is given as JSON: use the type \"json\""},
             {"json", "{", "the value: no JSON from byte 2 on"},
             {"json", R"({"type":"int","value":"5"})", "the value: a whole number is wanted"}})
        EXPECT_EQ(RunTool({"set", "f", "a", sType, sValue}), Outcome(1, "vqprop: " + sWhy + '\n'));
    EXPECT_FALSE(oDirectory.Has("f"));
}

TEST(Vqprop, RefusesWhatIsNoDocument)
{
    const CTestDirectory oDirectory;
    std::string sDeep;
    for (int i = 0; i < 100000; ++i)
        sDeep += "[";
    for (const auto& [sJson, sWhy] : std::vector<std::pair<std::string, std::string>>{
             {"", "no JSON from byte 1 on"},
             {"5", "an object is wanted"},
             {"{}", "there is no \"record\""},
             {R"({"kind":"x","record":"file"})", "\"kind\" and \"record\" name no layout"},
             {R"({"kind":"manager","record":"file"})", "there is no \"properties\""},
             {R"({"kind":"manager","record":"file","properties":5})", "\"properties\" is no array"},
             {R"({"kind":"params","record":"file","parameters":[{"type":"int","value":99999999999}]})",
              "/parameters/0: 99999999999 does not fit the type"},
             {R"({"kind":"params","record":"file","parameters":[{"type":"x"}]})",
              "/parameters/0: there is no type \"x\""},
             {R"({"kind":"params","record":"file","parameters":[{"type":"string","value":{"hex":"4"}}]})",
              "/parameters/0: \"hex\" wants two hexadecimal digits a byte"},
             {R"({"kind":"params","record":"file","parameters":[{"type":"float","value":"nan:0x3F800000"}]})",
              "/parameters/0: a number is wanted, or \"nan\", \"inf\", \"-inf\""},
             {sDeep, "it is nested too deeply"}})
    {
        oDirectory.Write("j", sJson);
        EXPECT_EQ(RunTool({"from-json", "j", "f"}), Outcome(1, "vqprop: j: " + sWhy + '\n'));
    }
    EXPECT_FALSE(oDirectory.Has("f"));

    oDirectory.Write("j",
                     R"({"kind":"list","record":"file","attributes":[{"name":"ElementType","type":"int","value":0}],
                             "elements":[{"type":"int","value":1},{"type":"bool","value":true}]})");
    EXPECT_EQ(RunTool({"from-json", "j", "f"}),
              Outcome(1, "vqprop: [1]: is not of the list's element type, and would be dropped when it is read\n"));
}

TEST(Vqprop, ComparesFiles)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("a", Golden("shape.struct.file"));
    EXPECT_EQ(RunTool({"diff", "a", "a"}), Outcome(0, ""));
    oDirectory.Write("b", Golden("shape.struct.file"));
    RunTool({"set", "b", "bounds.x", "int", "1"});
    RunTool({"set", "b", "new", "bool", "true"});
    RunTool({"rm", "b", "Name"});
    EXPECT_EQ(RunTool({"diff", "a", "b"}), Outcome(1, "- Name: string = \"box\"\n"
                                                      "- bounds.x: int = 640\n"
                                                      "+ bounds.x: int = 1\n"
                                                      "+ new: bool = true\n"));
    oDirectory.Write("p", Golden("scalars.params.file"));
    EXPECT_TRUE(Contains(RunTool({"diff", "a", "p"}).second, "- struct-file\n+ params-file\n"));
}

TEST(Vqprop, ShowsWhatADamagedFileHas)
{
    const CTestDirectory oDirectory;
    const std::string sShape = Golden("shape.struct.file");
    oDirectory.Write("cut", sShape.substr(0, sShape.size() - 20));
    const Outcome oCut = RunTool({"show", "cut"});
    EXPECT_EQ(oCut.first, 1);
    EXPECT_TRUE(Contains(oCut.second, "manager-file: 3 properties\n  Name: string = \"box\"\n"));
    EXPECT_TRUE(Contains(oCut.second, "    [1]: struct, 1 element\n      x: int = 1\n"));
    EXPECT_TRUE(Contains(oCut.second, "vqprop: cut: damaged at byte 204, in corners[1].y: the file ends too early: 4 "
                                      "bytes are wanted, 2 are there\n"))
        << oCut.second;
    EXPECT_TRUE(
        RunTool({"show", "--as", "struct-file", "cut"}).second.starts_with("struct-file: struct, 3 elements\n"));
    EXPECT_EQ(RunTool({"get", "cut", "bounds.x"}).first, 1);
    EXPECT_EQ(RunTool({"get", "cut", "bounds.x"}).second.substr(0, 4), "640\n");

    for (const std::vector<std::string>& aChange : {std::vector<std::string>{"set", "cut", "Name", "int", "1"},
                                                    {"rm", "cut", "Name"},
                                                    {"diff", "cut", "cut"},
                                                    {"to-json", "cut", "json"}})
        EXPECT_EQ(RunTool(aChange).first, 1);
    EXPECT_EQ(oDirectory.Read("cut"), sShape.substr(0, sShape.size() - 20)) << "and does not change it";
    EXPECT_FALSE(oDirectory.Has("json"));

    oDirectory.Write("long", sShape + "rest");
    const Outcome oLong = RunTool({"show", "long"});
    EXPECT_EQ(oLong.first, 1);
    EXPECT_TRUE(Contains(oLong.second, ": 4 bytes stand behind the end\n"));

    oDirectory.Write("deep", NestedStructsRecord(257));
    EXPECT_TRUE(Contains(RunTool({"show", "--as", "property-stream", "deep"}).second, ": more than 256 levels\n"));
    oDirectory.Write("deeper", NestedStructsRecord(100000));
    EXPECT_EQ(RunTool({"show", "deeper"}).first, 1);
    oDirectory.Write("whole", NestedStructsRecord(256));
    EXPECT_EQ(RunTool({"show", "whole"}).first, 0);

    oDirectory.Write("unknown", 'v' + Word(2) + Versioned(Word('z') + Text("")) + Versioned(IntRecord(1)));
    EXPECT_EQ(RunTool({"show", "--as", "params-stream", "unknown"}),
              Outcome(0, "params-stream: 2 parameters\n  [0]: unknown type 122\n  [1]: int = 1\n"));
}

TEST(Vqprop, TakesDamageOfEveryKind)
{
    // in one process for many records would be quicker, but a user has a process a record
    const CTestDirectory oDirectory;
    const std::string sShape = Golden("shape.struct.stream");
    for (std::size_t nPlace = 0; nPlace < sShape.size(); nPlace += 13)
        for (const std::int64_t nWord : {0LL, -1LL, 0x7FFFFFFFLL})
        {
            std::string sDamaged = sShape;
            sDamaged.replace(nPlace, 4, Word(nWord));
            oDirectory.Write("f", sDamaged);
            const Outcome oShown = RunTool({"show", "f"});
            EXPECT_TRUE(oShown.first == 0 || oShown.first == 1) << nPlace;
            EXPECT_EQ(oShown.first == 1, Contains(oShown.second, "vqprop: f: ")) << nPlace << oShown.second;
        }
}

TEST(Vqprop, AFailedWriteLeavesTheOldFile)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("d/f", Golden("scalars.manager.file"));
    EXPECT_EQ(RunTool({"set", "missing/f", "a", "int", "1"}),
              Outcome(1, "vqprop: missing/f: cannot be written: nothing can be made beside it\n"));
    EXPECT_EQ(RunTool({"set", "d/f", "a", "int", "x"}).first, 1);
    EXPECT_EQ(oDirectory.Read("d/f"), Golden("scalars.manager.file"));
    EXPECT_EQ(RunTool({"to-json", "d/f", "d"}), Outcome(1, "vqprop: d: is a directory\n"));
    EXPECT_EQ(RunTool({"set", "d/f", "a", "int", "1"}), Outcome(0, ""));
    int nFiles = 0;
    for ([[maybe_unused]] const auto& oEntry : fs::directory_iterator("d"))
        ++nFiles;
    EXPECT_EQ(nFiles, 1) << "nothing else is left behind";
}

TEST(Vqprop, AFullDiskLeavesTheOldFile)
{
    if (!CFileSizeLimit::IsSupported())
        GTEST_SKIP() << "the size of files cannot be limited here";

    const CTestDirectory oDirectory;
    oDirectory.Write("d/f", Golden("scalars.manager.file"));
    const std::string sLong(120000, 'x');
    ASSERT_EQ(RunTool({"set", "d/f", "a", "string", sLong}), Outcome(0, ""));
    const std::string sOld = oDirectory.Read("d/f");
    {
        const CFileSizeLimit oLimit(200000); // more than a build that counts its lines writes at the end
        EXPECT_EQ(RunTool({"set", "d/f", "b", "string", sLong}), Outcome(1, "vqprop: d/f: cannot be written\n"));
    }
    EXPECT_TRUE(oDirectory.Read("d/f") == sOld);
    EXPECT_EQ(std::distance(fs::directory_iterator("d"), fs::directory_iterator()), 1);
}

TEST(Vqprop, AReadOnlyDirectoryLeavesTheOldFile)
{
    const CTestDirectory oDirectory;
    oDirectory.Write("d/f", Golden("scalars.manager.file"));
    oDirectory.SetReadOnly("d", true);
    const bool bProtected = !std::ofstream("d/probe").is_open();
    const Outcome oOutcome = RunTool({"set", bProtected ? "d/f" : "nothing", "a", "int", "1"});
    oDirectory.SetReadOnly("d", false);
    if (!bProtected)
        GTEST_SKIP() << "this system or user writes to read-only directories";

    EXPECT_EQ(oOutcome, Outcome(1, "vqprop: d/f: cannot be written: nothing can be made beside it\n"));
    EXPECT_EQ(oDirectory.Read("d/f"), Golden("scalars.manager.file"));
}

TEST(Vqprop, WhatIsLeftOutOfJsonIsEmpty)
{
    const CTestDirectory oDirectory;
    EXPECT_EQ(RunTool({"set", "f", "p", "json", R"({"type":"struct","structure":"Point"})"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "f", "p.x", "int", "5"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "f", "q", "json", R"({"type":"struct"})"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "f", "l", "json", R"({"type":"list"})"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "f", "l.@ElementType", "int", "0"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "f", "l[0]", "int", "7"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "f", "l[2]", "int", "7"}),
              Outcome(1, "vqprop: l[2]: there is no such element, and the next one is [1]\n"));
    EXPECT_EQ(RunTool({"show", "f"}), Outcome(0, "manager-file: 3 properties\n"
                                                 "  l: list of int, 1 element\n"
                                                 "    @ElementType: int = 0\n"
                                                 "    [0]: int = 7\n"
                                                 "  p: struct \"Point\", 1 element\n"
                                                 "    x: int = 5\n"
                                                 "  q: struct, 0 elements\n"));
    EXPECT_EQ(RunTool({"set", "--as", "list-file", "g", "@ElementType", "float", "0"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"set", "--as", "list-file", "g", "[0]", "float", "1.5"}), Outcome(0, ""));
    EXPECT_EQ(RunTool({"get", "g", "[0]"}), Outcome(0, "1.5\n"));
    EXPECT_EQ(RunTool({"set", "--as", "params-file", "h", "@ElementType", "int", "0"}),
              Outcome(1, "vqprop: @ElementType: is an attribute, and parameter lists have none\n"));
    EXPECT_EQ(RunTool({"set", "f", "q", "json", R"({"type":"struct","elments":[]})"}),
              Outcome(1, "vqprop: the value: \"elments\" means nothing here\n"));
    EXPECT_EQ(RunTool({"set", "f", "q", "json", R"({"type":"struct","elements":5})"}),
              Outcome(1, "vqprop: the value: \"elements\" is no array\n"));
}

TEST(Vqprop, TellsWrongUse)
{
    const CTestDirectory oDirectory;
    for (const auto& [aArguments, sWhy] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{}, "no command"},
             {{"fly"}, "fly: unknown command"},
             {{"show"}, "show: too few arguments"},
             {{"show", "a", "b"}, "show: too many arguments"},
             {{"show", ""}, "show: an empty name"},
             {{"show", "--tree", "a"}, "--tree: unknown option"},
             {{"get", "--json", "a", "b"}, "--json: for show alone"},
             {{"set", "a", "b", "int"}, "set: a value is missing"},
             {{"show", "--as", "archive", "a"}, "archive: no kind of file"},
             {{"show", "a", "--as"}, "--as: a kind is missing"}})
    {
        const Outcome oOutcome = RunTool(aArguments);
        EXPECT_EQ(oOutcome.first, 2);
        EXPECT_TRUE(oOutcome.second.starts_with("vqprop: " + sWhy + "\nusage: vqprop show")) << oOutcome.second;
    }
    EXPECT_EQ(RunTool({"--version"}).second.substr(0, 7), "vqprop ");
    EXPECT_TRUE(Contains(RunTool({"-h"}).second, "usage: vqprop show"));
    EXPECT_EQ(RunTool({"set", "f", "a", "string", "--json"}), Outcome(0, "")) << "a value may begin with a dash";
    EXPECT_EQ(RunTool({"get", "--", "f", "a"}), Outcome(0, "--json\n"));
}
