// What docs/properties.md shows is compiled and run here, line by line.

#include <Common/Common.h>

#include <tests/support/Guide.h>
#include <tests/support/TestDirectory.h>

#include <gtest/gtest.h>

#include <string>

namespace
{
bool SaveSettings()
{
    CVQPropertyStruct oBounds;
    oBounds.SetStructureName("Size");
    oBounds["width"] = 640;
    oBounds["height"] = 480;

    CVQPropertyManager oSettings;
    oSettings.SetProperty("volume", 0.8F);
    oSettings.SetProperty("player", "Ann");
    oSettings.SetProperty("window", oBounds);

    CFileIO oFile;
    oFile.Open("settings.vqp", CFileIO::WRITE);
    oSettings.Write(&oFile);
    return oFile.Flush(); // Write() does not tell
}

CVQString ShowSettings()
{
    CFileIO oFile;
    oFile.Open("settings.vqp", CFileIO::READ);
    CVQPropertyManager oSettings;
    oSettings.Read(&oFile);
    return CVQString(sctFormat, "%s %s", ~oSettings["player"].GetString(), ~oSettings["window"].AsFormattedString());
}
} // namespace

TEST(PropertiesGuide, SavesAndShowsSettings)
{
    const CTestDirectory oDirectory;
    EXPECT_TRUE(SaveSettings());
    EXPECT_EQ(ShowSettings(), "Ann { height=480 width=640  }");
}

TEST(PropertiesGuide, ShowsWhatIsRunHere)
{
    EXPECT_EQ(WhatIsNotRun("properties.md", "House/PropertiesGuide_test.cpp"), "");
}
