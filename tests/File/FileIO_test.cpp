#include <Common/Debug/FileIOException.h>
#include <Common/Debug/XfsException.h>
#include <Common/File/ExtendedFileSystem.h>
#include <Common/File/FileIO.h>
#include <Common/File/MemFileIO.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestLocale.h>
#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace
{
using namespace std::string_view_literals;

constexpr unsigned long MAX_FILES = 256;

class FileIO : public testing::Test
{
protected:
    ~FileIO() override
    {
        CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
        pFiles->RemoveAllRoots();
        if (m_oFile.IsOpened())
            m_oFile.Close();
        for (unsigned long nHandle = 1; nHandle <= MAX_FILES; ++nHandle)
        {
            if (pFiles->IsFileOpen(nHandle))
            {
                ADD_FAILURE() << "handle " << nHandle << " was left open";
                pFiles->CloseFile(nHandle);
            }
        }
    }

    /// A file with these bytes, open for reading.
    CFileIO& Reader(std::string_view sBytes)
    {
        m_oDirectory.Write("file", sBytes);
        EXPECT_TRUE(m_oFile.Open("file", CFileIO::READ));
        return m_oFile;
    }

    /// A new file, open for writing.
    CFileIO& Writer()
    {
        EXPECT_TRUE(m_oFile.Open("file", CFileIO::WRITE));
        return m_oFile;
    }

    /// What was written.
    std::string Written()
    {
        EXPECT_TRUE(m_oFile.Flush());
        return m_oDirectory.Read("file");
    }

    /// What is left to read.
    std::string Rest()
    {
        std::string sRest(m_oFile.GetSize() - m_oFile.GetFilePointerPos(), '?');
        if (!sRest.empty() && !m_oFile.Read(sRest.data(), static_cast<unsigned long>(sRest.size())))
            ADD_FAILURE() << "the rest could not be read";
        return sRest;
    }

    CTestDirectory m_oDirectory;
    CFileIO m_oFile;
};

template <typename tException, typename tFunction>
void ExpectError(unsigned long nCode, const char* pMessage, const char* pSource, tFunction oFunction)
{
    try
    {
        oFunction();
        ADD_FAILURE() << "nothing was thrown instead of " << nCode;
    }
    catch (const tException& oError)
    {
        EXPECT_EQ(oError.GetErrorCode(), nCode);
        EXPECT_STREQ(oError.GetErrorString(), pMessage);
        EXPECT_STREQ(oError.GetFileName(), pSource);
        EXPECT_GT(oError.GetLine(), 0U);
    }
}

template <typename tFunction>
void ExpectNotOpened(tFunction oFunction)
{
    ExpectError<CFileIOException>(4501, "No file is opened.", "Common/File/FileIO", oFunction);
}

template <typename tFunction>
void ExpectFromFileSystem(unsigned long nCode, const char* pMessage, tFunction oFunction)
{
    ExpectError<CXfsException>(nCode, pMessage, "Common/File/ExtendedFileSystem", oFunction);
}

std::string Text(const CVQString& sText)
{
    return sText.IsEmpty() ? std::string() : std::string(~sText, static_cast<std::size_t>(sText.GetLength()));
}
} // namespace

// ---------------------------------------------------------------- lifecycle

TEST(IsolatedFileIO, AFileObjectSetsTheFileSystemUp)
{
    EXPECT_FALSE(CExtendedFileSystem::Instance()->IsSetup());
    const CFileIO oFile;
    EXPECT_TRUE(CExtendedFileSystem::Instance()->IsSetup());
}

TEST(IsolatedFileIO, AskingForAFileSetsTheFileSystemUp)
{
    EXPECT_FALSE(CExtendedFileSystem::Instance()->IsSetup());
    EXPECT_FALSE(CFileIO::FileExists(nullptr));
    EXPECT_TRUE(CExtendedFileSystem::Instance()->IsSetup());
}

TEST_F(FileIO, IsClosedAtFirst)
{
    EXPECT_FALSE(m_oFile.IsOpened());
    EXPECT_FALSE(m_oFile.IsEof());
    EXPECT_FALSE(m_oFile.Flush());
}

TEST_F(FileIO, TheLowestModeBitCounts)
{
    m_oDirectory.Write("file", "abc");
    for (const int nMode : {1, 3, 5, 7, 9, -1})
    {
        ASSERT_TRUE(m_oFile.Open("file", nMode));
        EXPECT_EQ(Rest(), "abc") << nMode;
    }
    for (const int nMode : {4, 12, -4})
    {
        ASSERT_TRUE(m_oFile.Open("file", nMode));
        EXPECT_EQ(m_oFile.GetFilePointerPos(), m_oFile.GetSize()) << nMode;
        EXPECT_TRUE(m_oFile.Write("d", 1));
    }
    m_oFile.Close();
    EXPECT_EQ(m_oDirectory.Read("file"), "abcddd");
    for (const int nMode : {2, 6, 10, -2})
    {
        ASSERT_TRUE(m_oFile.Open("file", nMode));
        EXPECT_EQ(m_oFile.GetSize(), 0U) << nMode;
        EXPECT_TRUE(m_oFile.Write("e", 1));
    }
    m_oFile.Close();
    EXPECT_EQ(m_oDirectory.Read("file"), "e");
}

TEST_F(FileIO, OtherModesAreRefused)
{
    for (const int nMode : {0, 8, 16, -8})
    {
        ExpectError<CFileIOException>(4500, "Invalid file mode specified.", "Common/File/FileIO",
                                      [&] { m_oFile.Open("file", nMode); });
        EXPECT_FALSE(m_oFile.IsOpened());
    }
    EXPECT_FALSE(m_oDirectory.Has("file"));
}

TEST_F(FileIO, ANullNameIsNotOpened)
{
    for (const int nMode : {1, 2, 4})
    {
        EXPECT_FALSE(m_oFile.Open(nullptr, nMode));
        EXPECT_FALSE(m_oFile.IsOpened());
    }
}

TEST_F(FileIO, ErrorsOfTheFileSystemPass)
{
    ExpectFromFileSystem(4002, "File not found.", [&] { m_oFile.Open("missing", CFileIO::READ); });
    ExpectFromFileSystem(4005, "Could not create file for writing.",
                         [&] { m_oFile.Open("no/such/path", CFileIO::WRITE); });
    ExpectFromFileSystem(4015, "Could not open file for appending.",
                         [&] { m_oFile.Open("no/such/path", CFileIO::APPEND); });
    EXPECT_FALSE(m_oFile.IsOpened());
}

TEST_F(FileIO, OpeningClosesTheFileThatWasOpen)
{
    m_oDirectory.Write("other", "other");
    EXPECT_TRUE(Writer().Write("abc", 3));
    EXPECT_TRUE(m_oFile.Open("other", CFileIO::READ));
    EXPECT_EQ(m_oDirectory.Read("file"), "abc");
    EXPECT_EQ(Rest(), "other");
    EXPECT_FALSE(CExtendedFileSystem::Instance()->IsFileOpen(2));

    ExpectFromFileSystem(4002, "File not found.", [&] { m_oFile.Open("missing", CFileIO::READ); });
    EXPECT_FALSE(m_oFile.IsOpened()) << "the old file is closed before the new one is looked for";
    ExpectNotOpened([&] { m_oFile.GetSize(); });
}

TEST_F(FileIO, OpeningLeavesAHandleAloneThatWasClosedElsewhere)
{
    Reader("abc");
    CExtendedFileSystem::Instance()->CloseFile(1);
    EXPECT_FALSE(m_oFile.IsOpened());
    EXPECT_TRUE(m_oFile.Open("file", CFileIO::READ));
    EXPECT_EQ(Rest(), "abc");
}

TEST_F(FileIO, ClosesOnce)
{
    Reader("abc");
    EXPECT_TRUE(m_oFile.IsOpened());
    EXPECT_TRUE(m_oFile.Close());
    EXPECT_FALSE(m_oFile.IsOpened());
    ExpectNotOpened([&] { m_oFile.Close(); });
}

TEST_F(FileIO, TheDestructorFlushesAndCloses)
{
    {
        CFileIO oFile;
        oFile.Open("file", CFileIO::WRITE);
        oFile.Write("abc", 3);
    }
    EXPECT_EQ(m_oDirectory.Read("file"), "abc");
    EXPECT_FALSE(CExtendedFileSystem::Instance()->IsFileOpen(1));
}

TEST_F(FileIO, TheDestructorLeavesAHandleAloneThatWasClosedElsewhere)
{
    m_oDirectory.Write("file", "abc");
    {
        CFileIO oFile;
        oFile.Open("file", CFileIO::READ);
        CExtendedFileSystem::Instance()->CloseFile(1);
    }
    EXPECT_FALSE(CExtendedFileSystem::Instance()->IsFileOpen(1));
}

TEST_F(FileIO, CopiesShareTheOpenFile)
{
    Reader("abcdef");
    CFileIO oCopy(m_oFile);
    CFileIO oAssigned;
    oAssigned = m_oFile;
    char aBytes[2];
    EXPECT_TRUE(oCopy.Read(aBytes, 2));
    EXPECT_TRUE(oAssigned.Read(aBytes, 2));
    EXPECT_EQ(m_oFile.GetFilePointerPos(), 4U);

    EXPECT_TRUE(oCopy.Close());
    EXPECT_FALSE(m_oFile.IsOpened());
    EXPECT_FALSE(oAssigned.IsOpened());
    ExpectFromFileSystem(4008, "Invalid file handle.", [&] { m_oFile.Close(); });
    ExpectFromFileSystem(4008, "Invalid file handle.", [&] { m_oFile.GetSize(); });
    ExpectFromFileSystem(4008, "Invalid file handle.", [&] { m_oFile.IsEof(); });
    ExpectFromFileSystem(4008, "Invalid file handle.", [&] { m_oFile.Flush(); });
}

TEST_F(FileIO, ACopyClosesTheFileAtItsEnd)
{
    Reader("abc");
    {
        const CFileIO oCopy(m_oFile);
    }
    EXPECT_FALSE(m_oFile.IsOpened());
}

TEST_F(FileIO, FindsFilesInTheRoots)
{
    m_oDirectory.Write("root/below", "abc");
    EXPECT_FALSE(CFileIO::FileExists("below"));
    CExtendedFileSystem::Instance()->AddRoot("root");
    EXPECT_TRUE(CFileIO::FileExists("below"));
    EXPECT_TRUE(m_oFile.Open("below", CFileIO::READ));
    EXPECT_EQ(Rest(), "abc");
    EXPECT_FALSE(CFileIO::FileExists(nullptr));
}

TEST_F(FileIO, EverythingNeedsAnOpenFile)
{
    char aBytes[8];
    int nInt = 0;
    CVQString sText("text");
    const std::function<void()> aCalls[] = {
        [&] { m_oFile.Close(); },
        [&] { m_oFile.Read(aBytes, 1); },
        [&] { m_oFile.Write(aBytes, 1); },
        [&] { m_oFile.GetFilePointerPos(); },
        [&] { m_oFile.SetFilePointerPos(0); },
        [&] { m_oFile.GetSize(); },
        [&] { m_oFile.Skip(0); },
        [&] { m_oFile.ReadLine(aBytes, sizeof aBytes); },
        [&] { m_oFile.Printf("%d", 1); },
        [&] { m_oFile.ReadRaw(aBytes, 1, 1); },
        [&] { m_oFile.WriteRaw(aBytes, 1, 1); },
        // and what is made of these
        [&] { m_oFile.Read(nInt); },
        [&] { m_oFile.Write(nInt); },
        [&] { m_oFile.Read(sText); },
        [&] { m_oFile.Write(sText); },
        [&] { m_oFile.ReadAscii(nInt); },
        [&] { m_oFile.ReadAscii(sText); },
        [&] { m_oFile.WriteAscii(nInt); },
        [&] { m_oFile.WriteAscii(sText); },
        [&] { m_oFile.ReadConstAscii('a'); },
        [&] { m_oFile.WriteConstAscii('a'); },
        [&] { m_oFile.StepBack(); },
    };
    for (const auto& oCall : aCalls)
        ExpectNotOpened(oCall);
}

// ---------------------------------------------------------------- binary

TEST_F(FileIO, WritesValuesInTheirBytes)
{
    CFileIO& oFile = Writer();
    EXPECT_TRUE(oFile.Write('A'));
    EXPECT_TRUE(oFile.Write(true));
    EXPECT_TRUE(oFile.Write(false));
    EXPECT_TRUE(oFile.Write(static_cast<short>(-2)));
    EXPECT_TRUE(oFile.Write(static_cast<unsigned short>(0x1234)));
    EXPECT_TRUE(oFile.Write(-3));
    EXPECT_TRUE(oFile.Write(0x12345678U));
    EXPECT_TRUE(oFile.Write(-4L));
    EXPECT_TRUE(oFile.Write(0xFEDCBA98UL));
    EXPECT_TRUE(oFile.Write(1.5F));
    EXPECT_TRUE(oFile.Write(-2.0));
    EXPECT_EQ(Written(), "A\x01\x00"
                         "\xFE\xFF"
                         "\x34\x12"
                         "\xFD\xFF\xFF\xFF"
                         "\x78\x56\x34\x12"
                         "\xFC\xFF\xFF\xFF"
                         "\x98\xBA\xDC\xFE"
                         "\x00\x00\xC0\x3F"
                         "\x00\x00\x00\x00\x00\x00\x00\xC0"sv);
}

TEST_F(FileIO, ReadsValuesFromTheirBytes)
{
    CFileIO& oFile = Reader("A\x01\x00\x02"
                            "\xFE\xFF"
                            "\x34\x92"
                            "\xFD\xFF\xFF\xFF"
                            "\x78\x56\x34\x92"
                            "\xFC\xFF\xFF\xFF"
                            "\x98\xBA\xDC\xFE"
                            "\x00\x00\xC0\x3F"
                            "\x00\x00\x00\x00\x00\x00\x00\xC0"sv);
    char cChar = 0;
    bool bOne = false;
    bool bZero = true;
    bool bTwo = false;
    short nShort = 0;
    unsigned short nUnsignedShort = 0;
    int nInt = 0;
    unsigned int nUnsignedInt = 0;
    long nLong = 0;
    unsigned long nUnsignedLong = 0;
    float fFloat = 0;
    double dDouble = 0;
    EXPECT_TRUE(oFile.Read(cChar) && oFile.Read(bOne) && oFile.Read(bZero) && oFile.Read(bTwo));
    EXPECT_TRUE(oFile.Read(nShort) && oFile.Read(nUnsignedShort) && oFile.Read(nInt) && oFile.Read(nUnsignedInt));
    EXPECT_TRUE(oFile.Read(nLong) && oFile.Read(nUnsignedLong) && oFile.Read(fFloat) && oFile.Read(dDouble));
    EXPECT_TRUE(oFile.IsEof());

    EXPECT_EQ(cChar, 'A');
    EXPECT_TRUE(bOne);
    EXPECT_FALSE(bZero);
    EXPECT_TRUE(bTwo);
    EXPECT_EQ(nShort, -2);
    EXPECT_EQ(nUnsignedShort, 0x9234);
    EXPECT_EQ(nInt, -3);
    EXPECT_EQ(nUnsignedInt, 0x92345678U);
    EXPECT_EQ(nLong, -4L);
    EXPECT_EQ(nUnsignedLong, 0xFEDCBA98UL);
    EXPECT_EQ(fFloat, 1.5F);
    EXPECT_EQ(dDouble, -2.0);
}

TEST_F(FileIO, AtTheEndValuesStayAsTheyWere)
{
    CFileIO& oFile = Reader("");
    char cChar = 'x';
    bool bBool = true;
    short nShort = 1;
    unsigned short nUnsignedShort = 2;
    int nInt = 3;
    unsigned int nUnsignedInt = 4;
    long nLong = std::numeric_limits<long>::min();
    unsigned long nUnsignedLong = std::numeric_limits<unsigned long>::max();
    float fFloat = 7;
    double dDouble = 8;
    CVQString sText("kept");
    EXPECT_FALSE(oFile.Read(cChar) || oFile.Read(bBool) || oFile.Read(nShort) || oFile.Read(nUnsignedShort));
    EXPECT_FALSE(oFile.Read(nInt) || oFile.Read(nUnsignedInt) || oFile.Read(nLong) || oFile.Read(nUnsignedLong));
    EXPECT_FALSE(oFile.Read(fFloat) || oFile.Read(dDouble) || oFile.Read(sText));
    EXPECT_EQ(cChar, 'x');
    EXPECT_TRUE(bBool);
    EXPECT_EQ(nShort, 1);
    EXPECT_EQ(nUnsignedShort, 2);
    EXPECT_EQ(nInt, 3);
    EXPECT_EQ(nUnsignedInt, 4U);
    EXPECT_EQ(nLong, std::numeric_limits<long>::min());
    EXPECT_EQ(nUnsignedLong, std::numeric_limits<unsigned long>::max());
    EXPECT_EQ(fFloat, 7);
    EXPECT_EQ(dDouble, 8);
    EXPECT_EQ(Text(sText), "kept");
}

TEST_F(FileIO, AShortReadFailsAndDeliversWhatIsThere)
{
    CFileIO& oFile = Reader("\x01\x02");
    int nInt = 0x11223344;
    EXPECT_FALSE(oFile.Read(nInt));
    EXPECT_EQ(nInt, 0x11220201);

    oFile.SetFilePointerPos(0);
    long nLong = 0x11223344L;
    EXPECT_FALSE(oFile.Read(nLong));
    EXPECT_EQ(nLong, 0x11220201L);
}

TEST_F(FileIO, ReadsAndWritesRawBytes)
{
    CFileIO& oWriter = Writer();
    EXPECT_TRUE(oWriter.Write("abcd", 4));
    EXPECT_EQ(oWriter.WriteRaw("efghij", 2, 3), 6);
    EXPECT_FALSE(oWriter.Write("x", 0)) << "nothing counts as a failure";
    EXPECT_EQ(oWriter.WriteRaw("x", 0, 5), 1);
    EXPECT_EQ(oWriter.WriteRaw("x", 0x10000, 0x10000), 0);
    EXPECT_EQ(oWriter.GetSize(), 10U);

    CFileIO& oReader = Reader("abcdefghij");
    char aBytes[16] = {};
    EXPECT_EQ(oReader.ReadRaw(aBytes, 3, 2), 6);
    EXPECT_STREQ(aBytes, "abcdef");
    EXPECT_EQ(oReader.ReadRaw(aBytes, 4, 4), 4) << "bytes, not items";
    EXPECT_STREQ(aBytes, "ghijef");
    EXPECT_EQ(oReader.ReadRaw(aBytes, 4, 4), 0);

    oReader.SetFilePointerPos(8);
    EXPECT_EQ(oReader.ReadRaw(aBytes, 0x10000, 0x10001), 2) << "the file ends first";
    oReader.SetFilePointerPos(8);
    EXPECT_FALSE(oReader.Read(aBytes, 3));
    ExpectFromFileSystem(4008, "Invalid file handle.", [&] { oReader.Read(aBytes, 0); });
    ExpectFromFileSystem(4008, "Invalid file handle.", [&] { oReader.ReadRaw(aBytes, 4, 0); });
}

TEST_F(FileIO, WritesStringsWithTheirLength)
{
    CFileIO& oFile = Writer();
    EXPECT_TRUE(oFile.Write(CVQString("abc")));
    EXPECT_TRUE(oFile.Write(CVQString("")));
    EXPECT_TRUE(oFile.Write(CVQString()));
    EXPECT_EQ(Written(), "\x03\x00\x00\x00"
                         "abc"
                         "\x00\x00\x00\x00"
                         "\x00\x00\x00\x00"sv);
}

TEST_F(FileIO, ReadsStringsWithTheirLength)
{
    struct
    {
        std::string_view sBytes;
        bool bResult;
        std::string_view sText;
    } const aCases[] = {
        {"\x03\x00\x00\x00"
         "abcd"sv,
         true, "abc"sv},
        {"\x03\x00\x00\x00"
         "a\0b"sv,
         true, "a\0b"sv},
        {"\x00\x00\x00\x00"
         "abc"sv,
         true, "kept"sv},
        {"\xFF\xFF\xFF\xFF"
         "abc"sv,
         true, "kept"sv},
        {"\x00\x00\x00\x80"
         "abc"sv,
         true, "kept"sv},
        {"\x04\x00\x00\x00"
         "abc"sv,
         false, "kept"sv},
        {"\x04\x00\x00\x00"sv, false, "kept"sv},
        {"\x04\x00\x00"sv, false, "kept"sv},
        {"\xFF\xFF\xFF\x7F"
         "abc"sv,
         false, "kept"sv},
    };

    for (const auto& oCase : aCases)
    {
        CVQString sText("kept");
        EXPECT_EQ(Reader(oCase.sBytes).Read(sText), oCase.bResult) << testing::PrintToString(oCase.sBytes);
        EXPECT_EQ(Text(sText), oCase.sText) << testing::PrintToString(oCase.sBytes);
    }
}

TEST_F(FileIO, LongStringsComeBack)
{
    for (const std::size_t nLength : {std::size_t{65535}, std::size_t{65536}, std::size_t{65537}, std::size_t{500000}})
    {
        const std::string sLong(nLength, 'y');
        EXPECT_TRUE(Writer().Write(CVQString(sLong.c_str())));
        m_oFile.Open("file", CFileIO::READ);
        CVQString sText;
        EXPECT_TRUE(m_oFile.Read(sText));
        EXPECT_EQ(Text(sText), sLong);
    }
}

// ---------------------------------------------------------------- position and state

TEST_F(FileIO, MovesWithinTheFile)
{
    CFileIO& oFile = Reader("0123456789");
    EXPECT_EQ(oFile.GetSize(), 10U);
    EXPECT_EQ(oFile.GetFilePointerPos(), 0U);
    EXPECT_TRUE(oFile.SetFilePointerPos(4));
    EXPECT_TRUE(oFile.Skip(3));
    EXPECT_EQ(oFile.GetFilePointerPos(), 7U);
    EXPECT_TRUE(oFile.Skip(-6));
    EXPECT_EQ(Rest(), "123456789");
    EXPECT_TRUE(oFile.IsEof());
    EXPECT_TRUE(oFile.SetFilePointerPos(10));
    ExpectFromFileSystem(4009, "Error trying to set the file pointer.", [&] { oFile.SetFilePointerPos(11); });
    ExpectFromFileSystem(4009, "Error trying to set the file pointer.", [&] { oFile.Skip(1); });
    ExpectFromFileSystem(4009, "Error trying to set the file pointer.", [&] { oFile.Skip(-11); });
    EXPECT_EQ(oFile.GetFilePointerPos(), 10U);
    EXPECT_TRUE(oFile.SetFilePointerPos(0));
    EXPECT_FALSE(oFile.IsEof());
}

TEST_F(FileIO, AppendsWhereverItStands)
{
    m_oDirectory.Write("log", "0123456789");
    ASSERT_TRUE(m_oFile.Open("log", 4));
    EXPECT_EQ(m_oFile.GetSize(), 10U);
    EXPECT_EQ(m_oFile.GetFilePointerPos(), 10U);
    EXPECT_TRUE(m_oFile.Write("a", 1));
    EXPECT_EQ(m_oFile.GetFilePointerPos(), 11U);

    EXPECT_TRUE(m_oFile.SetFilePointerPos(2));
    EXPECT_EQ(m_oFile.GetFilePointerPos(), 2U);
    EXPECT_TRUE(m_oFile.Write("bc", 2));
    EXPECT_EQ(m_oFile.WriteRaw("d", 1, 1), 1);
    EXPECT_TRUE(m_oFile.Skip(-3));
    EXPECT_TRUE(m_oFile.Printf("%s", "ef"));
    EXPECT_TRUE(m_oFile.Flush());
    EXPECT_EQ(m_oDirectory.Read("log"), "0123456789abcdef");
    EXPECT_TRUE(m_oFile.Close());
    EXPECT_EQ(m_oDirectory.Read("log"), "0123456789abcdef");
}

TEST_F(FileIO, FlushTellsOfAFullDisk)
{
    CTestDirectory oDirectory;
    CFileIO oFile;
    try
    {
        oFile.Open("/dev/full", CFileIO::APPEND);
    }
    catch (const CXfsException&)
    {
        GTEST_SKIP() << "this system has no device that is always full";
    }
    EXPECT_TRUE(oFile.Write(1));
    EXPECT_FALSE(oFile.Flush());
    EXPECT_TRUE(oFile.Close());
}

// ---------------------------------------------------------------- lines and formatted text

TEST_F(FileIO, ReadsLines)
{
    CFileIO& oFile = Reader("abc\r\ndef\nghi");
    char aLine[16];
    for (const char* pExpected : {"abc", "def", "ghi", ""})
    {
        std::memset(aLine, '#', sizeof aLine);
        EXPECT_TRUE(oFile.ReadLine(aLine, sizeof aLine));
        EXPECT_STREQ(aLine, pExpected);
    }
    EXPECT_TRUE(oFile.IsEof());
    ExpectFromFileSystem(4008, "Invalid file handle.", [&] { oFile.ReadLine(aLine, 0); });
}

TEST_F(FileIO, PrintsFormattedText)
{
    CFileIO& oFile = Writer();
    EXPECT_TRUE(oFile.Printf("%s %d%%\n", "at", 50));
    ExpectFromFileSystem(4007, "Error writing to file.", [&] { oFile.Printf("%s", ""); });
    EXPECT_EQ(oFile.GetFilePointerPos(), 7U);
    EXPECT_EQ(Written(), "at 50%\n");
}

// ---------------------------------------------------------------- text writers

TEST_F(FileIO, WritesNumbersAsText)
{
    CFileIO& oFile = Writer();
    EXPECT_TRUE(oFile.WriteAscii(-3));
    EXPECT_TRUE(oFile.WriteAscii(0));
    EXPECT_TRUE(oFile.WriteAscii(2147483647));
    EXPECT_TRUE(oFile.WriteAscii(-2147483647L - 1));
    EXPECT_TRUE(oFile.WriteAscii(7L));
    EXPECT_TRUE(oFile.WriteAscii(7UL));
    EXPECT_TRUE(oFile.WriteAscii(4294967295UL));
    EXPECT_EQ(Written(), "-3; 0; 2147483647; -2147483648; 7; 7; -1; ");
}

TEST_F(FileIO, WritesFloatsWithFourDecimals)
{
    CFileIO& oFile = Writer();
    EXPECT_TRUE(oFile.WriteAscii(1.5F));
    EXPECT_TRUE(oFile.WriteAscii(-0.00004F));
    EXPECT_TRUE(oFile.WriteAscii(0.00006F));
    EXPECT_TRUE(oFile.WriteAscii(16777216.0F));
    EXPECT_TRUE(oFile.WriteAscii(std::numeric_limits<float>::max()));
    EXPECT_EQ(Written(), "1.5000; -0.0000; 0.0001; 16777216.0000; 340282346638528859811704183484516925440.0000; ");
}

TEST_F(FileIO, WritesWhatIsNoNumberAsItsName)
{
    CFileIO& oFile = Writer();
    EXPECT_TRUE(oFile.WriteAscii(std::numeric_limits<float>::infinity()));
    EXPECT_TRUE(oFile.WriteAscii(-std::numeric_limits<float>::infinity()));
    EXPECT_TRUE(oFile.WriteAscii(std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ(Written(), "inf; -inf; nan; ");
}

TEST_F(FileIO, WritesStringsBetweenQuotesAsTheyAre)
{
    CFileIO& oFile = Writer();
    EXPECT_TRUE(oFile.WriteAscii(CVQString("a b")));
    EXPECT_TRUE(oFile.WriteAscii(CVQString("\\\"\n\t")));
    EXPECT_TRUE(oFile.WriteAscii(CVQString("")));
    EXPECT_TRUE(oFile.WriteAscii(CVQString()));
    EXPECT_EQ(Written(), "\"a b\"; \"\\\"\n\t\"; \"\"; \"\"; ");
}

TEST_F(FileIO, WritesCharactersBetweenSingleQuotes)
{
    CFileIO& oFile = Writer();
    for (const char cEach : {'x', '\t', '\n', '\r', '\'', '\\', ' ', '\0', '\xE4'})
        EXPECT_TRUE(oFile.WriteAscii(cEach));
    EXPECT_EQ(Written(), "'x'; '\\t'; '\\n'; '\\r'; '''; '\\'; ' '; '\0'; '\xE4'; "sv);
}

TEST_F(FileIO, WritesConstants)
{
    CFileIO& oFile = Writer();
    for (const char cEach : {'a', '\t', '\n', '\r', '"'})
        EXPECT_TRUE(oFile.WriteConstAscii(cEach));
    EXPECT_TRUE(oFile.WriteConstAscii(CVQString("x\ny\"")));
    EXPECT_TRUE(oFile.WriteConstAscii(CVQString("")));
    EXPECT_EQ(Written(), "a\t\r\n\r\"x\ny\"");
}

/// A file that takes so many bytes and then no more.
class CNarrowFile : public CFileIO
{
public:
    explicit CNarrowFile(unsigned long nRoom) : m_nRoom(nRoom) {}

    using CFileIO::Read;
    using CFileIO::Write;

    bool Write(const void* pSource, unsigned long nCount) override
    {
        if (nCount > m_nRoom)
            return false;
        m_nRoom -= nCount;
        m_sBytes.append(static_cast<const char*>(pSource), nCount);
        return true;
    }

    bool Read(void* pTarget, unsigned long nCount) override
    {
        if (nCount > m_sBytes.size() - m_nPosition)
            return false;
        std::memcpy(pTarget, m_sBytes.data() + m_nPosition, nCount);
        m_nPosition += nCount;
        return true;
    }

    unsigned long GetFilePointerPos() const override { return m_nPosition; }

    bool SetFilePointerPos(unsigned long nPosition) override
    {
        m_nPosition = nPosition;
        return true;
    }

    std::string m_sBytes;

private:
    unsigned long m_nRoom;
    unsigned long m_nPosition = 0;
};

TEST_F(FileIO, WritersFailWithTheirFirstFailedWrite)
{
    const std::vector<std::pair<std::string, std::function<bool(CFileIO&)>>> aWrites = {
        {"\"ab\"; ", [](CFileIO& oFile) { return oFile.WriteAscii(CVQString("ab")); }},
        {"'x'; ", [](CFileIO& oFile) { return oFile.WriteAscii('x'); }},
        {"'\\n'; ", [](CFileIO& oFile) { return oFile.WriteAscii('\n'); }},
        {"12; ", [](CFileIO& oFile) { return oFile.WriteAscii(12); }},
        {"12; ", [](CFileIO& oFile) { return oFile.WriteAscii(12L); }},
        {"12; ", [](CFileIO& oFile) { return oFile.WriteAscii(12UL); }},
        {"1.0000; ", [](CFileIO& oFile) { return oFile.WriteAscii(1.0F); }},
        {"\r\n", [](CFileIO& oFile) { return oFile.WriteConstAscii('\n'); }},
        {"ab", [](CFileIO& oFile) { return oFile.WriteConstAscii(CVQString("ab")); }},
        {std::string("\x02\0\0\0ab", 6), [](CFileIO& oFile) { return oFile.Write(CVQString("ab")); }},
        {"\x01", [](CFileIO& oFile) { return oFile.Write(true); }},
        {std::string("\x01\0\0\0", 4), [](CFileIO& oFile) { return oFile.Write(1L); }},
    };
    for (const auto& [sExpected, oWrite] : aWrites)
    {
        for (unsigned long nRoom = 0; nRoom < sExpected.size(); ++nRoom)
        {
            CNarrowFile oNarrow(nRoom);
            EXPECT_FALSE(oWrite(oNarrow)) << sExpected << " in " << nRoom;
            EXPECT_EQ(oNarrow.m_sBytes, sExpected.substr(0, oNarrow.m_sBytes.size()));
        }
        CNarrowFile oWide(static_cast<unsigned long>(sExpected.size()));
        EXPECT_TRUE(oWrite(oWide));
        EXPECT_EQ(oWide.m_sBytes, sExpected);
    }
}

TEST_F(FileIO, AClassWithItsOwnRawOperationsHasAllTheOthers)
{
    CNarrowFile oFile(1000);
    oFile.Write(5L);
    oFile.Write(CVQString("binary"));
    oFile.WriteAscii(12);
    oFile.WriteAscii(CVQString("text"));
    oFile.WriteConstAscii(CVQString("end"));

    long nLong = 0;
    CVQString sBinary;
    int nInt = 0;
    CVQString sText;
    EXPECT_TRUE(oFile.Read(nLong) && oFile.Read(sBinary) && oFile.ReadAscii(nInt) && oFile.ReadAscii(sText));
    EXPECT_TRUE(oFile.ReadConstAscii(CVQString("end")));
    EXPECT_EQ(nLong, 5L);
    EXPECT_EQ(Text(sBinary), "binary");
    EXPECT_EQ(nInt, 12);
    EXPECT_EQ(Text(sText), "text");
}

// ---------------------------------------------------------------- text readers

TEST_F(FileIO, ReadsCharacters)
{
    struct
    {
        std::string_view sBytes;
        bool bSkipWhite;
        bool bResult;
        char cCharacter;
        std::string_view sRest;
    } const aCases[] = {
        {"ab", false, true, 'a', "b"},
        {" a", false, true, ' ', "a"},
        {"\ta", false, true, '\t', "a"},
        {"\na", false, true, '\n', "a"},
        {"\ra", false, true, '\r', "a"},
        {" \t\r\nab", true, true, 'a', "b"},
        {"\va", true, true, '\v', "a"},
        {"/a", true, true, '/', "a"},
        {"/ /", false, true, '/', " /"},
        {"//c\nab", true, true, 'a', "b"},
        {"//c\rab", true, true, 'a', "b"},
        {"//\nab", true, true, 'a', "b"},
        {"//c\n  xy", false, true, 'x', "y"},
        {"//c\r\n//d\n\n//e\n x", false, true, 'x', ""},
        {"//c\x80xy", false, true, 'x', "y"},
        {"//c\xFFxy", false, true, 'x', "y"},
        {"//c\x7Fxy\nz", false, true, 'z', ""},
        {"///c\na", true, true, 'a', ""},
        {"/\n", true, true, '/', "\n"},
        {"  ", true, false, 0, ""},
        {"", true, false, 0, ""},
        {"/", true, false, 0, ""},
        {"//", true, false, 0, ""},
        {"//c", true, false, 0, ""},
        {"//c\n", true, false, 0, ""},
        {"//c\n ", false, false, 0, ""},
    };

    for (const auto& oCase : aCases)
    {
        CFileIO& oFile = Reader(oCase.sBytes);
        char cCharacter = 0;
        EXPECT_EQ(oFile.ReadAscii(cCharacter, oCase.bSkipWhite), oCase.bResult) << oCase.sBytes;
        if (oCase.bResult)
        {
            EXPECT_EQ(cCharacter, oCase.cCharacter) << oCase.sBytes;
        }
        EXPECT_EQ(Rest(), oCase.sRest) << oCase.sBytes;
    }
}

TEST_F(FileIO, SkipsAnyNumberOfComments)
{
    std::string sBytes;
    for (int i = 0; i < 200000; ++i)
        sBytes += "// \n";
    sBytes += 'x';
    CMemFileIO oFile(reinterpret_cast<unsigned char*>(sBytes.data()), static_cast<unsigned long>(sBytes.size()), 0);
    char cCharacter = 0;
    EXPECT_TRUE(oFile.ReadAscii(cCharacter, true));
    EXPECT_EQ(cCharacter, 'x');
}

TEST_F(FileIO, MatchesACharacterAndConsumesIt)
{
    CFileIO& oFile = Reader("  a //c\n b");
    EXPECT_TRUE(oFile.ReadConstAscii('a'));
    EXPECT_FALSE(oFile.ReadConstAscii('x'));
    EXPECT_TRUE(oFile.IsEof());
    oFile.StepBack();
    EXPECT_EQ(oFile.GetFilePointerPos(), 3U);
    EXPECT_TRUE(oFile.ReadConstAscii('b'));
    EXPECT_FALSE(oFile.ReadConstAscii('b'));
}

TEST_F(FileIO, MatchesATextWithBlanksBetween)
{
    struct
    {
        const char* pBytes;
        const char* pExpected;
        bool bResult;
        const char* pRest;
    } const aCases[] = {
        {"ab", "ab", true, ""}, {"a b!", "ab", true, "!"}, {" //c\na\n\tb", "ab", true, ""}, {"axb", "ab", false, "b"},
        {"a", "ab", false, ""}, {"", "ab", false, ""},     {"ab", "", true, "ab"},           {"a b", "a b", false, ""},
    };

    for (const auto& oCase : aCases)
    {
        CFileIO& oFile = Reader(oCase.pBytes);
        EXPECT_EQ(oFile.ReadConstAscii(CVQString(oCase.pExpected)), oCase.bResult) << oCase.pBytes;
        EXPECT_EQ(Rest(), oCase.pRest) << oCase.pBytes;
    }
}

TEST_F(FileIO, AMatchedTextStepsBackToItsLastCharacter)
{
    CFileIO& oFile = Reader("ab c!");
    EXPECT_TRUE(oFile.ReadConstAscii(CVQString("abc")));
    oFile.StepBack();
    EXPECT_EQ(Rest(), " c!");
}

TEST_F(FileIO, ReadsIntegers)
{
    struct
    {
        std::string_view sBytes;
        bool bResult;
        int nInt;
        std::string_view sRest;
    } const aCases[] = {
        {"12;", true, 12, ""},
        {"  12;x", true, 12, "x"},
        {"//c\n 12 ;", true, 12, ""},
        {"-3;", true, -3, ""},
        {"+3;", true, 3, ""},
        {"0x1F;", true, 31, ""},
        {"0X1f;", true, 31, ""},
        {"-0x10;", true, -16, ""},
        {"010;", true, 8, ""},
        {"0;", true, 0, ""},
        {"08;", true, 0, ""},
        {"12a;", true, 12, ""},
        {"0xFFFFF;", true, 0xFFFFF, ""},
        {";x", true, 99, "x"},
        {"  ;", true, 99, ""},
        {"abc;", true, 99, ""},
        {"-;", true, 99, ""},
        {"0x;", true, 99, ""},
        {"0xg;", true, 99, ""},
        {"- 3;", true, 99, ""},
        {"1;2;", true, 1, "2;"},
        {"1//2;", true, 1, ""}, // behind the first character a comment is none
        {"1234567;x", true, 1234567, "x"},
        {"12345678;", false, 99, ";"},
        {"123456789012345678901234567890;", false, 99, "901234567890123456789012345678"},
        {"12", false, 99, ""},
        {"", false, 99, ""},
    };

    for (const auto& oCase : aCases)
    {
        CFileIO& oFile = Reader(oCase.sBytes);
        int nInt = 99;
        EXPECT_EQ(oFile.ReadAscii(nInt), oCase.bResult) << oCase.sBytes;
        EXPECT_EQ(nInt, oCase.nInt) << oCase.sBytes;
        if (oCase.bResult)
        {
            EXPECT_EQ(Rest(), oCase.sRest) << oCase.sBytes;
        }
        oFile.StepBack();
        EXPECT_EQ(oFile.GetFilePointerPos(), 0U) << oCase.sBytes;
    }
}

TEST_F(FileIO, ReadsLongIntegersIn32Bits)
{
    struct
    {
        std::string_view sBytes;
        bool bResult;
        long nLong;
        unsigned long nUnsignedLong;
    } const aCases[] = {
        {"12345678;", true, 12345678L, 12345678UL},
        {"-1;", true, -1L, 0xFFFFFFFFUL},
        {"4294967295;", true, -1L, 0xFFFFFFFFUL},
        {"2147483648;", true, -2147483647L - 1, 0x80000000UL},
        {"0x123456789;", true, 0x23456789L, 0x23456789UL},
        {"4294967296;", true, 0L, 0UL},
        {"00000000000012;", true, 10L, 10UL},
        {"000000000000012;", true, 10L, 10UL},
        {"0000000000000012;", false, 99L, 99UL},
        {"999999999999999;", true, -1530494977L, 2764472319UL},
        {"x;", true, 99L, 99UL},
        {";", true, 99L, 99UL},
        {"12", false, 99L, 99UL},
    };

    for (const auto& oCase : aCases)
    {
        long nLong = 99;
        EXPECT_EQ(Reader(oCase.sBytes).ReadAscii(nLong), oCase.bResult) << oCase.sBytes;
        EXPECT_EQ(nLong, oCase.nLong) << oCase.sBytes;

        unsigned long nUnsignedLong = 99;
        EXPECT_EQ(Reader(oCase.sBytes).ReadAscii(nUnsignedLong), oCase.bResult) << oCase.sBytes;
        EXPECT_EQ(nUnsignedLong, oCase.nUnsignedLong) << oCase.sBytes;
    }
}

TEST_F(FileIO, ReadsFloats)
{
    struct
    {
        std::string_view sBytes;
        bool bResult;
        float fFloat;
    } const aCases[] = {
        {"1.5;", true, 1.5F},
        {" 1.5000; ", true, 1.5F},
        {"-2;", true, -2.0F},
        {".25;", true, 0.25F},
        {"1e3;", true, 1000.0F},
        {"1.5x;", true, 1.5F},
        {"0x1p4;", true, 16.0F},
        {"3.402823466e+38;", true, std::numeric_limits<float>::max()},
        {"16777217;", true, 16777216.0F},
        {"abc;", true, 99.0F},
        {";", true, 99.0F},
        {"123456789012.25;", true, 123456791552.0F},
        {"1234567890123.25;", false, 99.0F},
        {"1.5", false, 99.0F},
    };

    for (const auto& oCase : aCases)
    {
        float fFloat = 99;
        EXPECT_EQ(Reader(oCase.sBytes).ReadAscii(fFloat), oCase.bResult) << oCase.sBytes;
        EXPECT_EQ(fFloat, oCase.fFloat) << oCase.sBytes;
    }
}

TEST_F(FileIO, NumbersEndAtAnyDelimiter)
{
    CFileIO& oFile = Reader("1,2 3)4;5");
    int nInt = 0;
    long nLong = 0;
    unsigned long nUnsignedLong = 0;
    float fFloat = 0;
    EXPECT_TRUE(oFile.ReadAscii(nInt, ','));
    EXPECT_EQ(nInt, 1);
    EXPECT_TRUE(oFile.ReadAscii(nLong, ' '));
    EXPECT_EQ(nLong, 2);
    EXPECT_TRUE(oFile.ReadAscii(nUnsignedLong, ')'));
    EXPECT_EQ(nUnsignedLong, 3U);
    EXPECT_TRUE(oFile.ReadAscii(fFloat));
    EXPECT_EQ(fFloat, 4);
    EXPECT_EQ(Rest(), "5");
}

TEST_F(FileIO, ReadsQuotedStrings)
{
    struct
    {
        std::string_view sBytes;
        bool bResult;
        std::string_view sText;
        std::string_view sRest;
    } const aCases[] = {
        {"\"ab\";x", true, "ab", "x"},
        {"  //c\n \"ab\"; ", true, "ab", " "},
        {"\"a\\tb\"  ;", true, "a\tb", ""},
        {"\"a\\qb\";", true, "a\\qb", ""},
        {"\"\\\"\\'\\\\\\a\\b\\f\\n\\r\\t\\v\";", true, "\"'\\\a\b\f\n\r\t\v", ""},
        {"\"\\;\";", true, "\\;", ""},
        {"\"a;b\";", true, "a;b", ""},
        {"\"//no comment\";", true, "//no comment", ""},
        {"\"two\r\nlines\";", true, "two\r\nlines", ""},
        {"\"\";", true, "", ""},
        {"\"a\" ignored \" \\ \n;x", true, "a", "x"},
        {"\"a\\\\\";", true, "a\\", ""},
        {"\"a\0b\";"sv, true, "a\0b"sv, ""},
        {"\"\xE4\xFF\";", true, "\xE4\xFF", ""},
        {"ab;", false, "kept", "b;"},
        {"", false, "kept", ""},
        {"\"ab", false, "ab", ""},
        {"\"ab\"", false, "ab", ""},
        {"\"ab\\\";", false, "ab\";", ""},
    };

    for (const auto& oCase : aCases)
    {
        CFileIO& oFile = Reader(oCase.sBytes);
        CVQString sText("kept");
        EXPECT_EQ(oFile.ReadAscii(sText), oCase.bResult) << oCase.sBytes;
        EXPECT_EQ(Text(sText), oCase.sText) << oCase.sBytes;
        EXPECT_EQ(Rest(), oCase.sRest) << oCase.sBytes;
    }
}

TEST_F(FileIO, AQuotedStringStepsBackToItsStart)
{
    CFileIO& oFile = Reader("1; \"ab\"; 2;");
    int nInt = 0;
    CVQString sText;
    EXPECT_TRUE(oFile.ReadAscii(nInt));
    EXPECT_TRUE(oFile.ReadAscii(sText));
    oFile.StepBack();
    EXPECT_EQ(oFile.GetFilePointerPos(), 2U);
    EXPECT_TRUE(oFile.ReadAscii(sText));
    EXPECT_EQ(Text(sText), "ab");
}

TEST_F(FileIO, WhatIsWrittenIsReadBack)
{
    CFileIO& oFile = Writer();
    EXPECT_TRUE(oFile.WriteConstAscii(CVQString("size")));
    EXPECT_TRUE(oFile.WriteConstAscii(' '));
    EXPECT_TRUE(oFile.WriteAscii(-12));
    EXPECT_TRUE(oFile.WriteAscii(CVQString("a text")));
    EXPECT_TRUE(oFile.WriteAscii(0.25F));
    EXPECT_TRUE(oFile.WriteConstAscii('\n'));
    EXPECT_TRUE(oFile.WriteAscii(4000000000UL));
    EXPECT_TRUE(oFile.WriteAscii(-5L));

    oFile.Open("file", CFileIO::READ);
    int nInt = 0;
    CVQString sText;
    float fFloat = 0;
    unsigned long nUnsignedLong = 0;
    long nLong = 0;
    EXPECT_TRUE(oFile.ReadConstAscii(CVQString("size")));
    EXPECT_TRUE(oFile.ReadAscii(nInt) && oFile.ReadAscii(sText) && oFile.ReadAscii(fFloat));
    EXPECT_TRUE(oFile.ReadAscii(nUnsignedLong) && oFile.ReadAscii(nLong));
    EXPECT_EQ(nInt, -12);
    EXPECT_EQ(Text(sText), "a text");
    EXPECT_EQ(fFloat, 0.25F);
    EXPECT_EQ(nUnsignedLong, 4000000000UL);
    EXPECT_EQ(nLong, -5L);
}

// ---------------------------------------------------------------- the interface itself

namespace
{
template <typename tResult, typename... tArguments>
std::size_t SlotOf(tResult (CFileIO::*pMember)(tArguments...))
{
    return VirtualSlot(pMember);
}
} // namespace

TEST_F(FileIO, VirtualOperationsStandInTheirOrder)
{
    // Two slots for the destructor, then group after group; the order within a group has no meaning.
    const std::vector<std::vector<std::size_t>> aGroups = {
        {VirtualSlot(&CFileIO::Open)},
        {VirtualSlot(&CFileIO::Close)},
        {VirtualSlot(&CFileIO::Flush)},
        {SlotOf<bool, char&>(&CFileIO::Read), SlotOf<bool, bool&>(&CFileIO::Read), SlotOf<bool, short&>(&CFileIO::Read),
         SlotOf<bool, unsigned short&>(&CFileIO::Read), SlotOf<bool, int&>(&CFileIO::Read),
         SlotOf<bool, unsigned int&>(&CFileIO::Read), SlotOf<bool, long&>(&CFileIO::Read),
         SlotOf<bool, unsigned long&>(&CFileIO::Read), SlotOf<bool, float&>(&CFileIO::Read),
         SlotOf<bool, double&>(&CFileIO::Read), SlotOf<bool, CVQString&>(&CFileIO::Read),
         SlotOf<bool, void*, unsigned long>(&CFileIO::Read)},
        {VirtualSlot(&CFileIO::ReadRaw)},
        {SlotOf<bool, char>(&CFileIO::Write), SlotOf<bool, bool>(&CFileIO::Write), SlotOf<bool, short>(&CFileIO::Write),
         SlotOf<bool, unsigned short>(&CFileIO::Write), SlotOf<bool, int>(&CFileIO::Write),
         SlotOf<bool, unsigned int>(&CFileIO::Write), SlotOf<bool, long>(&CFileIO::Write),
         SlotOf<bool, unsigned long>(&CFileIO::Write), SlotOf<bool, float>(&CFileIO::Write),
         SlotOf<bool, double>(&CFileIO::Write), SlotOf<bool, const CVQString&>(&CFileIO::Write),
         SlotOf<bool, const void*, unsigned long>(&CFileIO::Write)},
        {VirtualSlot(&CFileIO::WriteRaw)},
        {SlotOf<bool, long&, char>(&CFileIO::ReadAscii), SlotOf<bool, unsigned long&, char>(&CFileIO::ReadAscii),
         SlotOf<bool, float&, char>(&CFileIO::ReadAscii), SlotOf<bool, int&, char>(&CFileIO::ReadAscii),
         SlotOf<bool, CVQString&>(&CFileIO::ReadAscii), SlotOf<bool, char&, bool>(&CFileIO::ReadAscii)},
        {SlotOf<bool, const CVQString&>(&CFileIO::ReadConstAscii)},
        {SlotOf<bool, char>(&CFileIO::ReadConstAscii)},
        {SlotOf<bool, long>(&CFileIO::WriteAscii), SlotOf<bool, unsigned long>(&CFileIO::WriteAscii),
         SlotOf<bool, float>(&CFileIO::WriteAscii), SlotOf<bool, int>(&CFileIO::WriteAscii),
         SlotOf<bool, const CVQString&>(&CFileIO::WriteAscii), SlotOf<bool, char>(&CFileIO::WriteAscii)},
        {SlotOf<bool, char>(&CFileIO::WriteConstAscii)},
        {SlotOf<bool, const CVQString&>(&CFileIO::WriteConstAscii)},
        {VirtualSlot(&CFileIO::Printf)},
        {VirtualSlot(&CFileIO::ReadLine)},
        {VirtualSlot(&CFileIO::IsOpened)},
        {VirtualSlot(&CFileIO::IsEof)},
        {VirtualSlot(&CFileIO::SetFilePointerPos)},
        {VirtualSlot(&CFileIO::Skip)},
        {VirtualSlot(&CFileIO::GetFilePointerPos)},
        {VirtualSlot(&CFileIO::GetSize)},
        {VirtualSlot(&CFileIO::StepBack)},
    };
    std::size_t nNext = 2;
    for (const auto& aGroup : aGroups)
    {
        std::vector<bool> aSeen(aGroup.size());
        for (const std::size_t nSlot : aGroup)
        {
            ASSERT_GE(nSlot, nNext);
            ASSERT_LT(nSlot, nNext + aGroup.size());
            EXPECT_FALSE(aSeen[nSlot - nNext]);
            aSeen[nSlot - nNext] = true;
        }
        nNext += aGroup.size();
    }
    EXPECT_EQ(VirtualSlot(&CMemFileIO::GetBufferSize), nNext);
    EXPECT_EQ(VirtualSlot(&CMemFileIO::GetBuffer), nNext + 1);
}

TEST_F(FileIO, ReadsFloatsAsTheyComeFromOthers)
{
    constexpr float INFINITE = std::numeric_limits<float>::infinity();

    const std::vector<std::pair<std::string, float>> aCases = {
        {"+2.5;", 2.5F},        {"-.5;", -0.5F},       {"3 x;", 3},       {"4.x;", 4},        {"1e2;", 100},
        {"1e50;", INFINITE},    {"-1e99;", -INFINITE}, {"1e-99;", 0},     {"-1e-99;", 0},     {"0x1p4;", 16},
        {"0x1p999;", INFINITE}, {"0x1p-999;", 0},      {"-0x.8;", -0.5F}, {"inf;", INFINITE}, {"1,5;", 1},
        {"+-1;", 77},           {"--1;", 77},          {"0x-1;", 77},     {"x;", 77},         {"-;", 77}};
    for (const auto& [sText, fExpected] : aCases)
    {
        float fValue = 77;
        EXPECT_TRUE(Reader(sText).ReadAscii(fValue)) << sText;
        EXPECT_EQ(fValue, fExpected) << sText;
    }
}

// ---------------------------------------------------------------- locales

TEST(IsolatedFileIOLocale, WritesAndReadsTheSameNumbersInAll)
{
    const CTestLocale oLocale(eTestText::Turkish);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();
    if (std::localeconv()->decimal_point != std::string(","))
        GTEST_SKIP() << "the locale of this system writes numbers with a point";

    CMemFileIO oFile(64);
    EXPECT_TRUE(oFile.WriteAscii(1.5F));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(oFile.GetBuffer()), oFile.GetSize()), "1.5000; ");

    float fValue = 0;
    oFile.SetFilePointerPos(0);
    EXPECT_TRUE(oFile.ReadAscii(fValue));
    EXPECT_EQ(fValue, 1.5F);
}
