#include <Common/Debug/XfsException.h>
#include <Common/File/ExtendedFileSystem.h>
#include <tests/support/ChildProcess.h>
#include <tests/support/Fork.h>
#include <tests/support/Sanitizer.h>
#include <tests/support/SparseFile.h>
#include <tests/support/SystemMacros.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestFile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{
constexpr unsigned long MAX_FILES = 256;

struct sError
{
    unsigned long nCode;
    const char* pMessage;
};

constexpr sError TOO_MANY{4001, "Too many open files."};
constexpr sError NOT_FOUND{4002, "File not found."};
constexpr sError CREATE_FAILED{4005, "Could not create file for writing."};
constexpr sError READ_FAILED{4006, "Error reading from file."};
constexpr sError WRITE_FAILED{4007, "Error writing to file."};
constexpr sError BAD_HANDLE{4008, "Invalid file handle."};
constexpr sError SEEK_FAILED{4009, "Error trying to set the file pointer."};
constexpr sError OPEN_FAILED{4010, "Could not open file."};
constexpr sError APPEND_FAILED{4015, "Could not open file for appending."};

/// What a file can be and what it may hold are tested in a directory of the test's own, without roots and callbacks.
class ExtendedFileSystem : public testing::Test
{
protected:
    ExtendedFileSystem() : m_pFiles(CExtendedFileSystem::Instance())
    {
        EXPECT_FALSE(m_pFiles->HasRoots());
        EXPECT_FALSE(m_pFiles->HasCallbacks());
    }

    ~ExtendedFileSystem() override
    {
        m_pFiles->RemoveAllRoots();
        for (unsigned long nHandle = 1; nHandle <= MAX_FILES; ++nHandle)
        {
            if (m_pFiles->IsFileOpen(nHandle))
            {
                ADD_FAILURE() << "handle " << nHandle << " was left open";
                m_pFiles->CloseFile(nHandle);
            }
        }
    }

    template <typename tFunction>
    void ExpectError(const sError& oExpected, tFunction oFunction) const
    {
        try
        {
            oFunction();
            ADD_FAILURE() << "nothing was thrown instead of " << oExpected.nCode;
        }
        catch (const CXfsException& oError)
        {
            EXPECT_EQ(oError.GetErrorCode(), oExpected.nCode);
            EXPECT_STREQ(oError.GetErrorString(), oExpected.pMessage);
            EXPECT_STREQ(oError.GetFileName(), "Common/File/ExtendedFileSystem");
            EXPECT_GT(oError.GetLine(), 0U);
        }
    }

    unsigned long OpenWith(std::string_view sBytes, const char* pName = "file") const
    {
        m_oDirectory.Write(pName, sBytes);
        return m_pFiles->OpenFile(pName);
    }

    std::string ReadSome(unsigned long nHandle, unsigned long nCount) const
    {
        std::string sBytes(nCount, '?');
        sBytes.resize(m_pFiles->ReadFile(nHandle, sBytes.data(), nCount));
        return sBytes;
    }

    std::string ReadLine(unsigned long nHandle, unsigned long nSize = 64) const
    {
        std::vector<char> aLine(nSize + 1, '#');
        EXPECT_TRUE(m_pFiles->ReadLine(nHandle, aLine.data(), nSize));
        EXPECT_EQ(aLine[nSize], '#') << "wrote behind the buffer";
        return aLine.data();
    }

    CTestDirectory m_oDirectory;
    CExtendedFileSystem* m_pFiles;
};

void CountCall(int /*nEvent*/, unsigned long /*nFirst*/, unsigned long /*nSecond*/, unsigned long /*nUser*/) {}

void CountOther(int /*nEvent*/, unsigned long /*nFirst*/, unsigned long /*nSecond*/, unsigned long /*nUser*/) {}
} // namespace

// ---------------------------------------------------------------- setup, roots, callbacks

TEST_F(ExtendedFileSystem, IsOneForTheProcess)
{
    ASSERT_NE(m_pFiles, nullptr);
    EXPECT_EQ(CExtendedFileSystem::Instance(), m_pFiles);
}

TEST_F(ExtendedFileSystem, SetupSetsTheFlagAndMayBeRepeated)
{
    EXPECT_TRUE(m_pFiles->Setup());
    EXPECT_TRUE(m_pFiles->IsSetup());
    EXPECT_TRUE(m_pFiles->Setup());
    EXPECT_TRUE(m_pFiles->IsSetup());
}

// Needs a process in which no file object was ever made.
TEST(IsolatedExtendedFileSystem, IsNotSetUpByLoading)
{
    EXPECT_FALSE(CExtendedFileSystem::Instance()->IsSetup());
    EXPECT_EQ(CExtendedFileSystem::Instance()->GetRootCount(), 0);
    EXPECT_EQ(CExtendedFileSystem::Instance()->GetCallbackCount(), 0);
    EXPECT_FALSE(CExtendedFileSystem::Instance()->IsFileOpen(1));
}

TEST_F(ExtendedFileSystem, KeepsRootsInOrderAsTheyAre)
{
    m_pFiles->AddRoot("b/c");
    m_pFiles->AddRoot(CVQString("a\\"));
    m_pFiles->AddRoot("b/c");
    ASSERT_EQ(m_pFiles->GetRootCount(), 3);
    EXPECT_TRUE(m_pFiles->HasRoots());
    EXPECT_STREQ(~m_pFiles->GetRoot(0), "b/c");
    EXPECT_STREQ(~m_pFiles->GetRoot(1), "a\\");
    EXPECT_STREQ(~m_pFiles->GetRoot(2), "b/c");

    m_pFiles->RemoveAllRoots();
    EXPECT_EQ(m_pFiles->GetRootCount(), 0);
    EXPECT_FALSE(m_pFiles->HasRoots());
}

TEST_F(ExtendedFileSystem, DoesNotAddAnEmptyRoot)
{
    m_pFiles->AddRoot("");
    m_pFiles->AddRoot(static_cast<const char*>(nullptr));
    m_pFiles->AddRoot(CVQString());
    EXPECT_EQ(m_pFiles->GetRootCount(), 0);
}

TEST_F(ExtendedFileSystem, RemovesTheFirstRootOfANameWithoutRegardToCase)
{
    m_pFiles->AddRoot("one");
    m_pFiles->AddRoot("Two");
    m_pFiles->AddRoot("three");
    m_pFiles->AddRoot("two");

    m_pFiles->RemoveRoot("TWO");
    ASSERT_EQ(m_pFiles->GetRootCount(), 3);
    EXPECT_STREQ(~m_pFiles->GetRoot(0), "one");
    EXPECT_STREQ(~m_pFiles->GetRoot(1), "three");
    EXPECT_STREQ(~m_pFiles->GetRoot(2), "two");

    m_pFiles->RemoveRoot(CVQString("THREE"));
    m_pFiles->RemoveRoot("four");
    m_pFiles->RemoveRoot("");
    m_pFiles->RemoveRoot(static_cast<const char*>(nullptr));
    m_pFiles->RemoveRoot(CVQString());
    ASSERT_EQ(m_pFiles->GetRootCount(), 2);
    EXPECT_STREQ(~m_pFiles->GetRoot(1), "two");
}

TEST_F(ExtendedFileSystem, RemovesTheFirstEntryOfACallback)
{
    m_pFiles->AddCallback(nullptr, 1);
    EXPECT_FALSE(m_pFiles->HasCallbacks());

    m_pFiles->AddCallback(CountCall, 1);
    m_pFiles->AddCallback(CountOther, 2);
    m_pFiles->AddCallback(CountCall, 3);
    EXPECT_EQ(m_pFiles->GetCallbackCount(), 3);
    EXPECT_TRUE(m_pFiles->HasCallbacks());

    m_pFiles->RemoveCallback(CountCall);
    EXPECT_EQ(m_pFiles->GetCallbackCount(), 2);
    m_pFiles->RemoveCallback(CountCall);
    EXPECT_EQ(m_pFiles->GetCallbackCount(), 1);
    m_pFiles->RemoveCallback(CountCall);
    EXPECT_EQ(m_pFiles->GetCallbackCount(), 1);
    m_pFiles->RemoveCallback(CountOther);
    EXPECT_EQ(m_pFiles->GetCallbackCount(), 0);
}

TEST_F(ExtendedFileSystem, CopiesHaveRootsAndCallbacksOfTheirOwnAndTheSameFiles)
{
    const unsigned long nHandle = OpenWith("abcdef");
    m_pFiles->AddRoot("root");
    {
        CExtendedFileSystem oCopy(*m_pFiles);
        EXPECT_EQ(oCopy.GetRootCount(), 1);
        EXPECT_TRUE(oCopy.IsFileOpen(nHandle));
        EXPECT_EQ(oCopy.GetFileSize(nHandle), 6U);

        oCopy.AddRoot("other");
        oCopy.AddCallback(CountCall, 0);
        EXPECT_EQ(m_pFiles->GetRootCount(), 1);
        EXPECT_FALSE(m_pFiles->HasCallbacks());

        oCopy = *m_pFiles;
        EXPECT_EQ(oCopy.GetRootCount(), 1);
        EXPECT_FALSE(oCopy.HasCallbacks());
        EXPECT_TRUE(oCopy.FileExists("file"));
    }
    EXPECT_EQ(ReadSome(nHandle, 3), "abc") << "the end of a copy must leave the files alone";
    EXPECT_TRUE(m_pFiles->FileExists("file")) << "the end of a copy must leave the lock alone";
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, CopiesOfAFileReadWhatTheyAskFor)
{
    std::string sBytes(40000, '\0');
    for (std::size_t i = 0; i < sBytes.size(); ++i)
        sBytes[i] = static_cast<char>(i * 31 / 7);
    const unsigned long nHandle = OpenWith(sBytes);
    EXPECT_EQ(ReadSome(nHandle, 4), sBytes.substr(0, 4));
    {
        CExtendedFileSystem oCopy(*m_pFiles);
        CExtendedFileSystem oCopyOfCopy(oCopy);
        std::size_t nPosition = 4;
        for (const unsigned long nCount : {10UL, 5000UL, 100UL, 4096UL, 9000UL, 1UL})
        {
            for (CExtendedFileSystem* const pEach : {&oCopy, m_pFiles, &oCopyOfCopy})
            {
                std::string sRead(nCount, '?');
                EXPECT_EQ(pEach->ReadFile(nHandle, sRead.data(), nCount), nCount);
                EXPECT_EQ(sRead, sBytes.substr(nPosition, nCount));
            }
            nPosition += nCount;
        }
    }
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, CopiesWriteOnlyWhatWasOpenedForWriting)
{
    const unsigned long nRead = OpenWith("abcdef");
    const unsigned long nWrite = m_pFiles->CreateFile("written");
    m_pFiles->WriteFile(nWrite, "one", 3);
    {
        CExtendedFileSystem oCopy(*m_pFiles);
        ExpectError(WRITE_FAILED, [&] { oCopy.WriteFile(nRead, "x", 1); });
        EXPECT_EQ(oCopy.WriteFile(nWrite, "two", 3), 3U);
        EXPECT_TRUE(oCopy.Flush(nWrite));
    }
    EXPECT_EQ(m_oDirectory.Read("written"), "onetwo");
    m_pFiles->CloseFile(nRead);
    m_pFiles->CloseFile(nWrite);
}

TEST_F(ExtendedFileSystem, AssigningToACopyLosesNothingThatItWrote)
{
    CExtendedFileSystem oCopy(*m_pFiles);
    const unsigned long nHandle = oCopy.CreateFile("written");
    oCopy.WriteFile(nHandle, "text", 4);
    oCopy = *m_pFiles;
    EXPECT_FALSE(oCopy.IsFileOpen(nHandle));
    EXPECT_EQ(m_oDirectory.Read("written"), "text");
}

TEST_F(ExtendedFileSystem, TwoThatCopyEachOtherDoNotWaitForEver)
{
    CExtendedFileSystem oFirst(*m_pFiles);
    CExtendedFileSystem oSecond(*m_pFiles);
    std::thread oThread(
        [&]
        {
            for (int i = 0; i < 100; ++i)
                oFirst = oSecond;
        });
    for (int i = 0; i < 100; ++i)
        oSecond = oFirst;
    oThread.join();
    EXPECT_EQ(oFirst.GetRootCount(), 0);
}

// ---------------------------------------------------------------- opening

TEST_F(ExtendedFileSystem, GivesOutHandlesFromOne)
{
    EXPECT_EQ(OpenWith("a", "a"), 1U);
    EXPECT_EQ(m_pFiles->CreateFile("b"), 2U);
    EXPECT_EQ(m_pFiles->AppendFile("c"), 3U);
    for (unsigned long nHandle = 1; nHandle <= 3; ++nHandle)
        EXPECT_TRUE(m_pFiles->CloseFile(nHandle));
}

TEST_F(ExtendedFileSystem, ANullNameOpensNothing)
{
    EXPECT_EQ(m_pFiles->OpenFile(nullptr), 0U);
    EXPECT_EQ(m_pFiles->CreateFile(nullptr), 0U);
    EXPECT_EQ(m_pFiles->AppendFile(nullptr), 0U);
    EXPECT_FALSE(m_pFiles->FileExists(nullptr));
}

TEST_F(ExtendedFileSystem, OpensAFileWithItsSizeAtItsStart)
{
    const unsigned long nHandle = OpenWith(std::string_view("a\r\nb\0\xFF", 6));
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 6U);
    EXPECT_EQ(m_pFiles->Tell(nHandle), 0U);
    EXPECT_FALSE(m_pFiles->IsEof(nHandle));
    EXPECT_EQ(ReadSome(nHandle, 6), std::string("a\r\nb\0\xFF", 6));
    EXPECT_TRUE(m_pFiles->IsEof(nHandle));
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, OpensAnEmptyFile)
{
    const unsigned long nHandle = OpenWith("");
    char cNext = '?';
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 0U);
    EXPECT_TRUE(m_pFiles->IsEof(nHandle));
    EXPECT_EQ(m_pFiles->ReadFile(nHandle, &cNext, 1), 0U);
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, CreateMakesAndEmptiesFiles)
{
    m_oDirectory.Write("old", "some bytes");
    for (const char* pName : {"old", "new"})
    {
        const unsigned long nHandle = m_pFiles->CreateFile(pName);
        EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 0U);
        EXPECT_EQ(m_pFiles->Tell(nHandle), 0U);
        m_pFiles->CloseFile(nHandle);
        EXPECT_EQ(m_oDirectory.Read(pName), "");
    }
}

TEST_F(ExtendedFileSystem, AppendGoesOnAtTheEnd)
{
    m_oDirectory.Write("old", "12345");
    const unsigned long nHandle = m_pFiles->AppendFile("old");
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 5U);
    EXPECT_EQ(m_pFiles->Tell(nHandle), 5U);
    EXPECT_EQ(m_pFiles->WriteFile(nHandle, "67", 2), 2U);
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 7U);
    EXPECT_EQ(m_pFiles->Tell(nHandle), 7U);
    m_pFiles->CloseFile(nHandle);
    EXPECT_EQ(m_oDirectory.Read("old"), "1234567");
}

TEST_F(ExtendedFileSystem, AppendMakesAMissingFile)
{
    const unsigned long nHandle = m_pFiles->AppendFile("new");
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 0U);
    m_pFiles->WriteFile(nHandle, "x", 1);
    m_pFiles->CloseFile(nHandle);
    EXPECT_EQ(m_oDirectory.Read("new"), "x");
}

TEST_F(ExtendedFileSystem, ThrowsForWhatDoesNotOpen)
{
    m_oDirectory.MakeDirectory("directory");
    const std::string sLong(5000, 'x');
    for (const std::string& sName : {std::string("missing"), std::string("directory"), std::string(""),
                                     std::string("no/such/path"), std::string("///\\\\"), sLong, "a/" + sLong})
    {
        ExpectError(NOT_FOUND, [&] { m_pFiles->OpenFile(sName.c_str()); });
        EXPECT_FALSE(m_pFiles->FileExists(sName.c_str())) << sName;
    }
    for (const std::string& sName : {std::string("directory"), std::string(""), std::string("no/such/path"), sLong})
    {
        ExpectError(CREATE_FAILED, [&] { m_pFiles->CreateFile(sName.c_str()); });
        ExpectError(APPEND_FAILED, [&] { m_pFiles->AppendFile(sName.c_str()); });
    }
    EXPECT_FALSE(m_pFiles->IsFileOpen(1));
}

TEST_F(ExtendedFileSystem, TheLockIsFreeAfterAnException)
{
    ExpectError(NOT_FOUND, [&] { m_pFiles->OpenFile("missing"); });
    ExpectError(CREATE_FAILED, [&] { m_pFiles->CreateFile("no/such/path"); });
    ExpectError(APPEND_FAILED, [&] { m_pFiles->AppendFile("no/such/path"); });

    // Another thread would wait for ever if one of them had kept the lock.
    m_oDirectory.Write("file", "a");
    bool bFound = false;
    std::thread([&] { bFound = m_pFiles->FileExists("file"); }).join();
    EXPECT_TRUE(bFound);
}

TEST_F(ExtendedFileSystem, TheTableOfFilesHas256PlacesAndFillsFromTheLowest)
{
    m_oDirectory.Write("file", "abc");
    for (unsigned long nExpected = 1; nExpected <= MAX_FILES; ++nExpected)
        ASSERT_EQ(nExpected % 2 == 0 ? m_pFiles->OpenFile("file") : m_pFiles->CreateFile("out"), nExpected);

    ExpectError(TOO_MANY, [&] { m_pFiles->CreateFile("out"); });
    ExpectError(TOO_MANY, [&] { m_pFiles->AppendFile("out"); });
    ExpectError(NOT_FOUND, [&] { m_pFiles->OpenFile("file"); });
    EXPECT_FALSE(m_pFiles->FileExists("file"));

    m_pFiles->CloseFile(200);
    m_pFiles->CloseFile(5);
    EXPECT_EQ(m_pFiles->OpenFile("file"), 5U);
    EXPECT_TRUE(m_pFiles->FileExists("file"));
    EXPECT_EQ(m_pFiles->CreateFile("out"), 200U);

    for (unsigned long nHandle = 1; nHandle <= MAX_FILES; ++nHandle)
        m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, LooksInTheRootsInTheirOrder)
{
    m_oDirectory.Write("a/both", "in a");
    m_oDirectory.Write("b/both", "in b");
    m_oDirectory.Write("b/sub/deep", "deep");
    m_oDirectory.Write("here", "in none");
    m_oDirectory.Write("a/here", "hidden");

    ExpectError(NOT_FOUND, [&] { m_pFiles->OpenFile("both"); });
    m_pFiles->AddRoot("missing");
    m_pFiles->AddRoot("a");
    m_pFiles->AddRoot("b/");

    struct
    {
        const char* pName;
        const char* pContent;
    } const aCases[] = {{"both", "in a"}, {"sub/deep", "deep"}, {"sub\\deep", "deep"}, {"here", "in none"}};

    for (const auto& oCase : aCases)
    {
        const unsigned long nHandle = m_pFiles->OpenFile(oCase.pName);
        EXPECT_EQ(ReadSome(nHandle, 20), oCase.pContent) << oCase.pName;
        m_pFiles->CloseFile(nHandle);
    }
    ExpectError(NOT_FOUND, [&] { m_pFiles->OpenFile("neither"); });

    m_pFiles->RemoveRoot("a");
    const unsigned long nHandle = m_pFiles->OpenFile("both");
    EXPECT_EQ(ReadSome(nHandle, 20), "in b");
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, RootsMayBeAbsolute)
{
    m_oDirectory.Write("a/file", "abc");
    m_pFiles->AddRoot(m_oDirectory.PathOf("a").c_str());
    const unsigned long nHandle = m_pFiles->OpenFile("file");
    EXPECT_EQ(ReadSome(nHandle, 3), "abc");
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, RootsMayBeAnything)
{
    m_oDirectory.Write("last/file", "abc");
    m_oDirectory.Write("plain", "no directory");

    CVQString sZero("none?below");
    sZero.SetAt(4, '\0');
    for (const CVQString& sRoot : {sZero, CVQString("missing"), CVQString("plain"), CVQString("..."),
                                   CVQString("dots..."), CVQString('x', 5000), CVQString("last")})
        m_pFiles->AddRoot(sRoot);
    EXPECT_EQ(m_pFiles->GetRootCount(), 7);
    EXPECT_EQ(m_pFiles->GetRoot(0).GetLength(), 10);

    const unsigned long nHandle = m_pFiles->OpenFile("file");
    EXPECT_EQ(ReadSome(nHandle, 20), "abc");
    m_pFiles->CloseFile(nHandle);
    ExpectError(NOT_FOUND, [&] { m_pFiles->OpenFile("no such name in any of them"); });
    EXPECT_FALSE(m_pFiles->FileExists("file")) << "only the first root is asked";
}

TEST_F(ExtendedFileSystem, RootsAreNotUsedForWriting)
{
    m_oDirectory.MakeDirectory("root");
    m_oDirectory.Write("root/both", "kept");
    m_pFiles->AddRoot("root");
    m_pFiles->CloseFile(m_pFiles->CreateFile("both"));
    m_pFiles->CloseFile(m_pFiles->AppendFile("other"));
    EXPECT_EQ(m_oDirectory.Read("root/both"), "kept");
    EXPECT_TRUE(m_oDirectory.Has("both"));
    EXPECT_TRUE(m_oDirectory.Has("other"));
    EXPECT_FALSE(m_oDirectory.Has("root/other"));
}

TEST_F(ExtendedFileSystem, FileExistsAsksTheFirstRootAlone)
{
    m_oDirectory.Write("here", "");
    m_oDirectory.Write("a/in_a", "");
    m_oDirectory.Write("b/in_b", "");
    EXPECT_TRUE(m_pFiles->FileExists("here"));
    EXPECT_FALSE(m_pFiles->FileExists("in_a"));

    m_pFiles->AddRoot("a");
    m_pFiles->AddRoot("b");
    EXPECT_TRUE(m_pFiles->FileExists("here"));
    EXPECT_TRUE(m_pFiles->FileExists("in_a"));
    EXPECT_FALSE(m_pFiles->FileExists("in_b"));

    const unsigned long nHandle = m_pFiles->OpenFile("in_b");
    EXPECT_EQ(nHandle, 1U) << "FileExists must give its handle back";
    m_pFiles->CloseFile(nHandle);
}

// ---------------------------------------------------------------- large files

TEST_F(ExtendedFileSystem, RefusesAPlainFileOfFourGigabytes)
{
    MakeSparseFile("huge", std::uint64_t{1} << 32, "x");
    ExpectError(OPEN_FAILED, [&] { m_pFiles->OpenFile("huge"); });
    EXPECT_TRUE(m_pFiles->FileExists("huge"));
    ExpectError(APPEND_FAILED, [&] { m_pFiles->AppendFile("huge"); });

    m_oDirectory.MakeDirectory("root");
    std::filesystem::rename("huge", "root/huge");
    m_pFiles->AddRoot("root");
    ExpectError(OPEN_FAILED, [&] { m_pFiles->OpenFile("huge"); });
    EXPECT_TRUE(m_pFiles->FileExists("huge"));

    // The slot that it took for a moment is free, and so is the lock.
    m_oDirectory.Write("file", "a");
    unsigned long nHandle = 0;
    std::thread([&] { nHandle = m_pFiles->OpenFile("file"); }).join();
    EXPECT_EQ(nHandle, 1U);
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, ReadsAndWritesBetweenTwoAndFourGigabytes)
{
    constexpr unsigned long LARGE = 0xFFFFFFF0UL;
    MakeSparseFile("large", LARGE, "tail");

    unsigned long nHandle = m_pFiles->OpenFile("large");
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), LARGE);
    EXPECT_TRUE(m_pFiles->SeekEnd(nHandle, 4));
    EXPECT_EQ(m_pFiles->Tell(nHandle), LARGE - 4);
    EXPECT_EQ(ReadSome(nHandle, 10), "tail");
    EXPECT_TRUE(m_pFiles->Seek(nHandle, 0x90000000UL));
    EXPECT_TRUE(m_pFiles->SeekCurrent(nHandle, -0x70000000L));
    EXPECT_EQ(m_pFiles->Tell(nHandle), 0x20000000UL);
    EXPECT_EQ(ReadSome(nHandle, 1), std::string(1, '\0'));
    m_pFiles->CloseFile(nHandle);

    nHandle = m_pFiles->AppendFile("large");
    EXPECT_EQ(m_pFiles->Tell(nHandle), LARGE);
    EXPECT_EQ(m_pFiles->WriteFile(nHandle, "0123456789abcde", 15), 15U);
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 0xFFFFFFFFUL);
    ExpectError(WRITE_FAILED, [&] { m_pFiles->WriteFile(nHandle, "f", 1); });
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 0xFFFFFFFFUL);
    EXPECT_EQ(m_pFiles->Tell(nHandle), 0xFFFFFFFFUL);
    m_pFiles->CloseFile(nHandle);
    EXPECT_EQ(std::filesystem::file_size("large"), 0xFFFFFFFFU);
}

// ---------------------------------------------------------------- reading and writing

TEST_F(ExtendedFileSystem, ReadStopsAtTheEnd)
{
    const unsigned long nHandle = OpenWith("abcdef");
    EXPECT_EQ(ReadSome(nHandle, 4), "abcd");
    EXPECT_EQ(m_pFiles->Tell(nHandle), 4U);
    EXPECT_EQ(ReadSome(nHandle, 4), "ef");
    EXPECT_EQ(m_pFiles->Tell(nHandle), 6U);
    EXPECT_EQ(ReadSome(nHandle, 4), "");
    EXPECT_EQ(m_pFiles->Tell(nHandle), 6U);
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, ReadingNothingIsAnInvalidHandle)
{
    const unsigned long nHandle = OpenWith("a");
    char cNext = '?';
    ExpectError(BAD_HANDLE, [&] { m_pFiles->ReadFile(nHandle, &cNext, 0); });
    EXPECT_EQ(ReadSome(nHandle, 1), "a");
    ExpectError(BAD_HANDLE, [&] { m_pFiles->ReadFile(nHandle, &cNext, 0); });
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, WritingNothingIsOneForAnyHandle)
{
    EXPECT_EQ(m_pFiles->WriteFile(0, "a", 0), 1U);
    EXPECT_EQ(m_pFiles->WriteFile(7, "a", 0), 1U);
    EXPECT_EQ(m_pFiles->WriteFile(9999, "a", 0), 1U);

    const unsigned long nHandle = m_pFiles->CreateFile("file");
    EXPECT_EQ(m_pFiles->WriteFile(nHandle, nullptr, 0), 1U);
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 0U);
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, WritesGrowTheSizeOnlyPastItsEnd)
{
    const unsigned long nHandle = m_pFiles->CreateFile("file");
    EXPECT_EQ(m_pFiles->WriteFile(nHandle, "abcdef", 6), 6U);
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 6U);
    m_pFiles->Seek(nHandle, 1);
    EXPECT_EQ(m_pFiles->WriteFile(nHandle, "XY", 2), 2U);
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 6U);
    EXPECT_EQ(m_pFiles->Tell(nHandle), 3U);
    m_pFiles->Seek(nHandle, 5);
    EXPECT_EQ(m_pFiles->WriteFile(nHandle, "12", 2), 2U);
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 7U);
    EXPECT_EQ(m_pFiles->Tell(nHandle), 7U);
    m_pFiles->CloseFile(nHandle);
    EXPECT_EQ(m_oDirectory.Read("file"), "aXYde12");
}

TEST_F(ExtendedFileSystem, ReadCharFillsTheLowestByte)
{
    const unsigned long nHandle = OpenWith("\xFE");
    int nCharacter = 0x12345678;
    EXPECT_TRUE(m_pFiles->ReadChar(nHandle, nCharacter));
    EXPECT_EQ(nCharacter, 0x123456FE);
    EXPECT_FALSE(m_pFiles->ReadChar(nHandle, nCharacter));
    EXPECT_EQ(nCharacter, 0x123456FE);
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, WritesTheLowestByteOfANumber)
{
    const unsigned long nHandle = m_pFiles->CreateFile("file");
    EXPECT_TRUE(m_pFiles->WriteFile(nHandle, 0x12345641));
    EXPECT_TRUE(m_pFiles->WriteFile(nHandle, -1));
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 2U);
    m_pFiles->CloseFile(nHandle);
    EXPECT_EQ(m_oDirectory.Read("file"), "A\xFF");
}

TEST_F(ExtendedFileSystem, WriteLineAddsNothing)
{
    const unsigned long nHandle = m_pFiles->CreateFile("file");
    EXPECT_TRUE(m_pFiles->WriteLine(nHandle, "one"));
    EXPECT_EQ(m_pFiles->Tell(nHandle), 3U);
    EXPECT_TRUE(m_pFiles->WriteLine(nHandle, ""));
    EXPECT_TRUE(m_pFiles->WriteLine(nHandle, "two\n"));
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 7U);
    ExpectError(WRITE_FAILED, [&] { m_pFiles->WriteLine(nHandle, nullptr); });
    m_pFiles->CloseFile(nHandle);
    EXPECT_EQ(m_oDirectory.Read("file"), "onetwo\n");
}

TEST_F(ExtendedFileSystem, PrintsFormattedText)
{
    const unsigned long nHandle = m_pFiles->CreateFile("file");
    EXPECT_TRUE(m_pFiles->Printf(nHandle, "%s=%d;", "size", 12));
    EXPECT_EQ(m_pFiles->Tell(nHandle), 8U);
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 8U);

    ExpectError(WRITE_FAILED, [&] { m_pFiles->Printf(nHandle, "%s", ""); });
    EXPECT_EQ(m_pFiles->Tell(nHandle), 8U);
    EXPECT_TRUE(m_pFiles->Printf(nHandle, "%c", 'x'));
    m_pFiles->CloseFile(nHandle);
    EXPECT_EQ(m_oDirectory.Read("file"), "size=12;x");
}

TEST_F(ExtendedFileSystem, PrintsTextOfAnyLength)
{
    std::string sExpected;
    const unsigned long nHandle = m_pFiles->CreateFile("file");
    for (const std::size_t nLength : {1022UL, 1023UL, 1024UL, 1025UL, 4096UL, 100000UL})
    {
        const std::string sText(nLength, 'x');
        EXPECT_TRUE(m_pFiles->Printf(nHandle, "%s%d", sText.c_str(), 7));
        sExpected += sText + "7";
        EXPECT_EQ(m_pFiles->Tell(nHandle), sExpected.size());
    }
    m_pFiles->CloseFile(nHandle);
    EXPECT_EQ(m_oDirectory.Read("file"), sExpected);
}

TEST_F(ExtendedFileSystem, AFailedWriteLeavesThePositionAndTheFileUsable)
{
    const unsigned long nHandle = OpenWith("abcdef");
    EXPECT_EQ(ReadSome(nHandle, 2), "ab");
    const std::string sLarge(100000, 'x');
    ExpectError(WRITE_FAILED, [&] { m_pFiles->WriteFile(nHandle, sLarge.data(), 100000); });
    ExpectError(WRITE_FAILED, [&] { m_pFiles->WriteFile(nHandle, "x", 1); });
    ExpectError(WRITE_FAILED, [&] { m_pFiles->WriteFile(nHandle, 'x'); });
    ExpectError(WRITE_FAILED, [&] { m_pFiles->WriteLine(nHandle, "x"); });
    ExpectError(WRITE_FAILED, [&] { m_pFiles->Printf(nHandle, "%d", 1); });
    EXPECT_EQ(m_pFiles->Tell(nHandle), 2U);
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 6U);
    EXPECT_EQ(ReadSome(nHandle, 10), "cdef");
    m_pFiles->CloseFile(nHandle);
    EXPECT_EQ(m_oDirectory.Read("file"), "abcdef");
}

TEST_F(ExtendedFileSystem, AFailedReadLeavesThePositionAndTheFileUsable)
{
    const unsigned long nHandle = OpenWith(std::string(100000, 'a'));
    EXPECT_EQ(ReadSome(nHandle, 2), "aa");
    m_pFiles->Seek(nHandle, 50000);
    std::filesystem::resize_file("file", 60000);

    std::vector<char> aTarget(50000);
    ExpectError(READ_FAILED, [&] { m_pFiles->ReadFile(nHandle, aTarget.data(), 50000); });
    EXPECT_EQ(m_pFiles->Tell(nHandle), 50000U);
    EXPECT_EQ(ReadSome(nHandle, 3), "aaa");

    ExpectError(READ_FAILED, [&] { m_pFiles->ReadLine(nHandle, aTarget.data(), 50000); });
    EXPECT_EQ(m_pFiles->Tell(nHandle), 50003U);
    EXPECT_EQ(ReadSome(nHandle, 3), "aaa");

    m_pFiles->Seek(nHandle, 59990);
    ExpectError(READ_FAILED, [&] { m_pFiles->ReadLine(nHandle, aTarget.data(), 11); });
    EXPECT_EQ(m_pFiles->Tell(nHandle), 59990U);
    EXPECT_EQ(ReadSome(nHandle, 10), "aaaaaaaaaa");
    m_pFiles->CloseFile(nHandle);
}

// Small and large transfers, forwards and backwards, against a plain array: what is read ahead or still waits to be
// written must never show.
TEST_F(ExtendedFileSystem, TransfersOfAllSizesAgreeWithAnArray)
{
    std::mt19937 oRandom(11);
    std::string sModel;
    unsigned long nHandle = m_pFiles->CreateFile("file");
    for (int i = 0; i < 2000; ++i)
    {
        const unsigned long nAt =
            oRandom() % 4 != 0 ? m_pFiles->Tell(nHandle) : static_cast<unsigned long>(oRandom() % (sModel.size() + 1));
        const std::size_t nCount = oRandom() % 5 != 0 ? 1 + oRandom() % 40 : 1 + oRandom() % 10000;
        const std::string sBytes(nCount, static_cast<char>('a' + i % 26));
        m_pFiles->Seek(nHandle, nAt);
        ASSERT_EQ(m_pFiles->WriteFile(nHandle, sBytes.data(), static_cast<unsigned long>(nCount)), nCount);
        sModel.resize(std::max<std::size_t>(sModel.size(), nAt + nCount));
        sModel.replace(nAt, nCount, sBytes);
        ASSERT_EQ(m_pFiles->GetFileSize(nHandle), sModel.size());
    }
    m_pFiles->CloseFile(nHandle);
    ASSERT_EQ(m_oDirectory.Read("file"), sModel);

    nHandle = m_pFiles->OpenFile("file");
    for (int i = 0; i < 5000; ++i)
    {
        const unsigned long nAt =
            oRandom() % 4 != 0 ? m_pFiles->Tell(nHandle) : static_cast<unsigned long>(oRandom() % (sModel.size() + 1));
        const auto nCount = static_cast<unsigned long>(oRandom() % 5 != 0 ? 1 + oRandom() % 40 : 1 + oRandom() % 10000);
        m_pFiles->Seek(nHandle, nAt);
        ASSERT_EQ(ReadSome(nHandle, nCount), sModel.substr(nAt, nCount));
    }
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, AFileOpenForWritingCannotBeRead)
{
    const unsigned long nHandle = m_pFiles->CreateFile("file");
    char aTarget[4];
    EXPECT_EQ(m_pFiles->ReadFile(nHandle, aTarget, 4), 0U);
    m_pFiles->WriteFile(nHandle, "abcd", 4);
    m_pFiles->Rewind(nHandle);
    ExpectError(READ_FAILED, [&] { m_pFiles->ReadFile(nHandle, aTarget, 4); });
    EXPECT_EQ(m_pFiles->Tell(nHandle), 0U);
    EXPECT_EQ(m_pFiles->WriteFile(nHandle, "AB", 2), 2U);
    m_pFiles->CloseFile(nHandle);
    EXPECT_EQ(m_oDirectory.Read("file"), "ABcd");
}

TEST_F(ExtendedFileSystem, FlushHandsTheBytesOver)
{
    const unsigned long nHandle = m_pFiles->CreateFile("file");
    m_pFiles->WriteFile(nHandle, "abc", 3);
    EXPECT_TRUE(m_pFiles->Flush(nHandle));
    EXPECT_EQ(m_oDirectory.Read("file"), "abc");
    m_pFiles->CloseFile(nHandle);
}

// The child of the test below.
TEST(ExtendedFileSystemChild, DISABLED_LeavesAFileOpen)
{
    CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
    EXPECT_EQ(pFiles->WriteFile(pFiles->CreateFile("left"), "abc", 3), 3U);
}

TEST_F(ExtendedFileSystem, WhatWasWrittenReachesAFileThatNobodyCloses)
{
    ChildProcess oChild({ThisProgram(), "--in-process", "--gtest_also_run_disabled_tests",
                         "--gtest_filter=ExtendedFileSystemChild.DISABLED_LeavesAFileOpen"});
    const ChildResult oResult = oChild.Wait();
    EXPECT_EQ(oResult.nExitCode, 0) << oResult.sOutput;
    EXPECT_EQ(m_oDirectory.Read("left"), "abc");
}

TEST_F(ExtendedFileSystem, TellsOfAFullDisk)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "this system has no device that is always full";

    const unsigned long nHandle = m_pFiles->CreateFile("/dev/full");
    EXPECT_EQ(m_pFiles->WriteFile(nHandle, "abc", 3), 3U) << "a few bytes wait in the buffer";
    EXPECT_FALSE(m_pFiles->Flush(nHandle));
    const std::string sLarge(1 << 20, 'x');
    ExpectError(WRITE_FAILED, [&] { m_pFiles->WriteFile(nHandle, sLarge.data(), 1 << 20); });
    ExpectError(WRITE_FAILED, [&] { m_pFiles->WriteLine(nHandle, sLarge.c_str()); });
    EXPECT_EQ(m_pFiles->Tell(nHandle), 3U);
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 3U);
    EXPECT_TRUE(m_pFiles->CloseFile(nHandle)) << "closing is done whatever became of the bytes";
    EXPECT_FALSE(m_pFiles->IsFileOpen(nHandle));
}

TEST_F(ExtendedFileSystem, ReadsDevices)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "this system has no device files";

    const unsigned long nHandle = m_pFiles->OpenFile("/dev/null");
    EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 0U);
    EXPECT_TRUE(m_pFiles->IsEof(nHandle));
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, NeitherWaitsForNorOpensAPipe)
{
    if (!HasSpecialFiles())
        GTEST_SKIP() << "this system has no named pipes in directories";

    ASSERT_TRUE(MakePipe("pipe"));
    ExpectError(NOT_FOUND, [&] { m_pFiles->OpenFile("pipe"); });
    ExpectError(CREATE_FAILED, [&] { m_pFiles->CreateFile("pipe"); });
    ExpectError(APPEND_FAILED, [&] { m_pFiles->AppendFile("pipe"); });
    EXPECT_FALSE(m_pFiles->FileExists("pipe"));
}

// ---------------------------------------------------------------- handles

TEST_F(ExtendedFileSystem, EveryOperationRefusesAHandleThatIsNotOpen)
{
    const unsigned long nClosed = OpenWith("abc");
    m_pFiles->CloseFile(nClosed);

    std::vector<unsigned long> aHandles{0, nClosed, 256, 257, 0x7FFFFFFFUL, ~0UL, ~0UL - 255};
    if (sizeof(long) > 4)
        aHandles.push_back((nClosed << 16) << 16); // its low half alone would be handle 0
    for (const unsigned long nHandle : aHandles)
    {
        char aLine[8];
        int nCharacter = 0;
        EXPECT_FALSE(m_pFiles->IsFileOpen(nHandle));
        const std::function<void()> aCalls[] = {
            [&] { m_pFiles->CloseFile(nHandle); },
            [&] { m_pFiles->ReadFile(nHandle, aLine, 1); },
            [&] { m_pFiles->WriteFile(nHandle, aLine, 1); },
            [&] { m_pFiles->ReadChar(nHandle, nCharacter); },
            [&] { m_pFiles->WriteFile(nHandle, 'a'); },
            [&] { m_pFiles->ReadLine(nHandle, aLine, sizeof aLine); },
            [&] { m_pFiles->WriteLine(nHandle, "a"); },
            [&] { m_pFiles->Printf(nHandle, "%d", 1); },
            [&] { m_pFiles->Flush(nHandle); },
            [&] { m_pFiles->Seek(nHandle, 0); },
            [&] { m_pFiles->SeekCurrent(nHandle, 0); },
            [&] { m_pFiles->SeekEnd(nHandle, 0); },
            [&] { m_pFiles->Rewind(nHandle); },
            [&] { m_pFiles->Tell(nHandle); },
            [&] { m_pFiles->GetFileSize(nHandle); },
            [&] { m_pFiles->IsEof(nHandle); },
        };
        for (const auto& oCall : aCalls)
            ExpectError(BAD_HANDLE, oCall);
    }
}

TEST_F(ExtendedFileSystem, FilesOfDifferentHandlesAreIndependent)
{
    m_oDirectory.Write("file", "abcdef");
    const unsigned long nFirst = m_pFiles->OpenFile("file");
    const unsigned long nSecond = m_pFiles->OpenFile("file");
    EXPECT_NE(nFirst, nSecond);
    EXPECT_EQ(ReadSome(nFirst, 4), "abcd");
    EXPECT_EQ(ReadSome(nSecond, 2), "ab");
    EXPECT_EQ(ReadSome(nFirst, 2), "ef");
    m_pFiles->CloseFile(nFirst);
    EXPECT_EQ(ReadSome(nSecond, 2), "cd");
    m_pFiles->CloseFile(nSecond);
}

// ---------------------------------------------------------------- positions

TEST_F(ExtendedFileSystem, SeeksWithinTheFileOnly)
{
    const unsigned long nHandle = OpenWith("0123456789");

    EXPECT_TRUE(m_pFiles->Seek(nHandle, 10));
    EXPECT_TRUE(m_pFiles->IsEof(nHandle));
    ExpectError(SEEK_FAILED, [&] { m_pFiles->Seek(nHandle, 11); });
    ExpectError(SEEK_FAILED, [&] { m_pFiles->Seek(nHandle, ~0UL); });
    EXPECT_EQ(m_pFiles->Tell(nHandle), 10U);

    EXPECT_TRUE(m_pFiles->Seek(nHandle, 3));
    EXPECT_EQ(ReadSome(nHandle, 1), "3");
    EXPECT_TRUE(m_pFiles->SeekCurrent(nHandle, -2));
    EXPECT_EQ(ReadSome(nHandle, 1), "2");
    EXPECT_TRUE(m_pFiles->SeekCurrent(nHandle, 4));
    EXPECT_EQ(ReadSome(nHandle, 1), "7");
    EXPECT_TRUE(m_pFiles->SeekCurrent(nHandle, 2));
    EXPECT_TRUE(m_pFiles->IsEof(nHandle));
    ExpectError(SEEK_FAILED, [&] { m_pFiles->SeekCurrent(nHandle, 1); });
    ExpectError(SEEK_FAILED, [&] { m_pFiles->SeekCurrent(nHandle, -11); });
    ExpectError(SEEK_FAILED, [&] { m_pFiles->SeekCurrent(nHandle, std::numeric_limits<long>::max()); });
    ExpectError(SEEK_FAILED, [&] { m_pFiles->SeekCurrent(nHandle, std::numeric_limits<long>::min()); });
    EXPECT_EQ(m_pFiles->Tell(nHandle), 10U);

    EXPECT_TRUE(m_pFiles->SeekEnd(nHandle, 1));
    EXPECT_EQ(ReadSome(nHandle, 5), "9");
    EXPECT_TRUE(m_pFiles->SeekEnd(nHandle, 10));
    EXPECT_EQ(m_pFiles->Tell(nHandle), 0U);
    ExpectError(SEEK_FAILED, [&] { m_pFiles->SeekCurrent(nHandle, -1); });
    ExpectError(SEEK_FAILED, [&] { m_pFiles->SeekEnd(nHandle, 11); });
    ExpectError(SEEK_FAILED, [&] { m_pFiles->SeekEnd(nHandle, ~0UL); });
    EXPECT_TRUE(m_pFiles->SeekEnd(nHandle, 0));
    EXPECT_TRUE(m_pFiles->IsEof(nHandle));

    EXPECT_TRUE(m_pFiles->Rewind(nHandle));
    EXPECT_EQ(ReadSome(nHandle, 2), "01");
    m_pFiles->CloseFile(nHandle);
}

// ---------------------------------------------------------------- lines

TEST_F(ExtendedFileSystem, ReadsLines)
{
    struct
    {
        const char* pBytes;
        std::vector<std::string> aLines;
        const char* pLeft;
    } const aCases[] = {
        {"ab\r\ncd", {"ab", "cd"}, ""},
        {"ab\n\ncd", {"ab", "cd"}, ""},
        {"ab\ncd", {"ab", "cd"}, ""},
        {"ab\rcd", {"ab", "cd"}, ""},
        {"ab\n\rcd", {"ab", "cd"}, ""},
        {"ab\n\n\ncd", {"ab", "", "cd"}, ""},
        {"ab\r\n\r\ncd", {"ab", "", "cd"}, ""},
        {"ab\r\n", {"ab"}, "\n"}, // a last single byte stays unread, even a line end
        {"ab\r\n", {"ab", ""}, ""},
        {"ab\n", {"ab"}, ""},
        {"ab", {"ab", "", ""}, ""},
        {"\n", {""}, ""},
        {"\nab", {"", "ab"}, ""},
        {"\n\nab", {"", "ab"}, ""},
        {"a\nb", {"a"}, "b"},
        {"a\nb\n", {"a", "b"}, ""},
        {"", {"", ""}, ""},
    };

    for (const auto& oCase : aCases)
    {
        const unsigned long nHandle = OpenWith(oCase.pBytes);
        for (const std::string& sLine : oCase.aLines)
            EXPECT_EQ(ReadLine(nHandle), sLine) << testing::PrintToString(oCase.pBytes);
        EXPECT_EQ(ReadSome(nHandle, 10), oCase.pLeft) << testing::PrintToString(oCase.pBytes);
        m_pFiles->CloseFile(nHandle);
    }
}

TEST_F(ExtendedFileSystem, CutsLinesAtTheBuffersSize)
{
    struct
    {
        unsigned long nSize;
        const char* pFirst;
        unsigned long nPosition;
    } const aCases[] = {
        {1, "", 0}, {2, "a", 1}, {4, "abc", 3}, {5, "abcd", 4}, {6, "abcde", 6}, {7, "abcde", 6}, {100, "abcde", 6},
    };

    const unsigned long nHandle = OpenWith("abcde\nfghij");
    for (const auto& oCase : aCases)
    {
        m_pFiles->Rewind(nHandle);
        EXPECT_EQ(ReadLine(nHandle, oCase.nSize), oCase.pFirst) << oCase.nSize;
        EXPECT_EQ(m_pFiles->Tell(nHandle), oCase.nPosition) << oCase.nSize;

        // What follows proves that the file stands where its position says.
        EXPECT_EQ(ReadSome(nHandle, 20), std::string("abcde\nfghij").substr(oCase.nPosition)) << oCase.nSize;
    }
    m_pFiles->CloseFile(nHandle);
}

// A line end behind a line that fills the buffer belongs to it; without a line in the buffer one byte is still tried.
TEST_F(ExtendedFileSystem, TakesALineEndBehindAFullBuffer)
{
    const unsigned long nHandle = OpenWith("\nabc\r\ndef");
    EXPECT_EQ(ReadLine(nHandle, 1), "");
    EXPECT_EQ(m_pFiles->Tell(nHandle), 1U);
    EXPECT_EQ(ReadLine(nHandle, 4), "abc");
    EXPECT_EQ(m_pFiles->Tell(nHandle), 5U);
    EXPECT_EQ(ReadLine(nHandle, 4), "");
    EXPECT_EQ(m_pFiles->Tell(nHandle), 6U);
    EXPECT_EQ(ReadLine(nHandle, 4), "def");
    EXPECT_TRUE(m_pFiles->IsEof(nHandle));
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, ALineOfNoSizeIsAnInvalidHandle)
{
    const unsigned long nHandle = OpenWith("ab");
    char cGuard = '#';
    ExpectError(BAD_HANDLE, [&] { m_pFiles->ReadLine(nHandle, &cGuard, 0); });
    EXPECT_EQ(cGuard, '#');
    m_pFiles->CloseFile(nHandle);
}

TEST_F(ExtendedFileSystem, ReadsManyLongLines)
{
    std::string sBytes;
    std::vector<std::string> aLines;
    std::mt19937 oRandom(7);
    for (int i = 0; i < 500; ++i)
    {
        aLines.emplace_back(oRandom() % 300, static_cast<char>('a' + i % 26));
        sBytes += aLines.back() + "\r\n";
    }
    const unsigned long nHandle = OpenWith(sBytes + "end");
    for (const std::string& sLine : aLines)
        ASSERT_EQ(ReadLine(nHandle, 400), sLine);
    EXPECT_EQ(ReadLine(nHandle), "end");
    m_pFiles->CloseFile(nHandle);
}

// ---------------------------------------------------------------- the interface itself

TEST_F(ExtendedFileSystem, HasADestructorAsItsOnlyVirtualOperation)
{
    static_assert(std::has_virtual_destructor_v<CExtendedFileSystem>);
    static_assert(sizeof(sFileInfo) == 16);
    EXPECT_EQ(sFileInfo::FREE, -1);
}

TEST_F(ExtendedFileSystem, CanBeCalledWhereASystemHeaderRenamesItsMembers)
{
    const struct
    {
        unsigned long (*pCreate)(const char*);
        const char* pName;
    } aCases[] = {{CreateFileAfterMacros, "first"}, {CreateFileBeforeMacros, "last"}};

    for (const auto& oCase : aCases)
    {
        const unsigned long nHandle = oCase.pCreate(oCase.pName);
        EXPECT_EQ(m_pFiles->WriteFile(nHandle, "x", 1), 1U);
        m_pFiles->CloseFile(nHandle);
        EXPECT_EQ(m_oDirectory.Read(oCase.pName), "x");
    }
}

// ---------------------------------------------------------------- threads

TEST_F(ExtendedFileSystem, ThreadsOpenReadAndCloseFilesOfTheirOwn)
{
    constexpr int THREADS = 4;
    constexpr int MAX_ROUNDS = 20000;
    constexpr std::chrono::milliseconds TIME{1500};

    m_pFiles->AddRoot("missing");
    m_pFiles->AddRoot("root");
    for (int i = 0; i < THREADS; ++i)
    {
        m_oDirectory.Write("plain" + std::to_string(i), std::string(1000, static_cast<char>('a' + i)));
        m_oDirectory.Write("root/below" + std::to_string(i), std::string(5000, static_cast<char>('A' + i)));
    }

    std::atomic<int> nWrong = 0;
    std::atomic<int> nDone = 0;
    const auto oEnd = std::chrono::steady_clock::now() + TIME;
    auto oWork = [&](int nThread)
    {
        struct sOpen
        {
            unsigned long nHandle;
            char cContent;
        };

        std::mt19937 oRandom(static_cast<unsigned>(nThread));
        std::vector<sOpen> aOpen;
        auto oCheck = [&](bool bRight) { nWrong += bRight ? 0 : 1; };
        for (int i = 0; i < MAX_ROUNDS && std::chrono::steady_clock::now() < oEnd; ++i)
        {
            const auto nChoice = oRandom() % 8;
            if (nChoice == 0 && aOpen.size() < 20)
            {
                const std::string sName = "plain" + std::to_string(nThread);
                aOpen.push_back({m_pFiles->OpenFile(sName.c_str()), static_cast<char>('a' + nThread)});
            }
            else if (nChoice == 1 && aOpen.size() < 20)
            {
                const std::string sName = "below" + std::to_string(nThread);
                aOpen.push_back({m_pFiles->OpenFile(sName.c_str()), static_cast<char>('A' + nThread)});
            }
            else if (nChoice == 2)
            {
                const std::string sName = "out" + std::to_string(nThread);
                const unsigned long nHandle = m_pFiles->CreateFile(sName.c_str());
                oCheck(m_pFiles->WriteFile(nHandle, sName.data(), 4) == 4);
                oCheck(m_pFiles->CloseFile(nHandle));
            }
            else if (nChoice == 3)
                oCheck(!m_pFiles->FileExists("nowhere"));
            else if (nChoice == 4)
                m_pFiles->IsFileOpen(1 + oRandom() % 100);
            else if (!aOpen.empty())
            {
                const std::size_t nIndex = oRandom() % aOpen.size();
                const sOpen oOpen = aOpen[nIndex];
                if (nChoice == 5)
                {
                    oCheck(m_pFiles->CloseFile(oOpen.nHandle));
                    aOpen.erase(aOpen.begin() + static_cast<std::ptrdiff_t>(nIndex));
                    continue;
                }
                oCheck(m_pFiles->Seek(oOpen.nHandle, oRandom() % m_pFiles->GetFileSize(oOpen.nHandle)));
                char aBytes[50];
                const unsigned long nRead = m_pFiles->ReadFile(oOpen.nHandle, aBytes, sizeof aBytes);
                oCheck(nRead > 0 && std::string(aBytes, nRead) == std::string(nRead, oOpen.cContent));
            }
            ++nDone;
        }
        for (const sOpen& oOpen : aOpen)
            oCheck(m_pFiles->CloseFile(oOpen.nHandle));
    };

    std::vector<std::thread> aThreads;
    for (int i = 0; i < THREADS; ++i)
        aThreads.emplace_back(oWork, i);
    for (std::thread& oThread : aThreads)
        oThread.join();
    EXPECT_EQ(nWrong, 0);
    EXPECT_GT(nDone, 100);
}

TEST_F(ExtendedFileSystem, RootsMayChangeWhileOtherThreadsOpenFiles)
{
    m_oDirectory.Write("root/file", "abc");
    m_pFiles->AddRoot("root");
    std::atomic<bool> bStop = false;
    std::thread oChanger(
        [&]
        {
            for (int i = 0; i < 2000; ++i)
            {
                m_pFiles->AddRoot("another");
                m_pFiles->RemoveRoot("ANOTHER");
            }
            bStop = true;
        });
    int nOpened = 0;
    do
    {
        const unsigned long nHandle = m_pFiles->OpenFile("file");
        EXPECT_EQ(m_pFiles->GetFileSize(nHandle), 3U);
        m_pFiles->CloseFile(nHandle);
        ++nOpened;
    } while (!bStop);
    oChanger.join();
    EXPECT_GT(nOpened, 0);
    EXPECT_EQ(m_pFiles->GetRootCount(), 1);
}

// A copy has the threads of its process no more: what one of them had locked would stay so.
TEST(IsolatedExtendedFileSystem, OpensInACopyThatWasMadeWhileAThreadOpened)
{
    constexpr int COPIES = 200;
    if (!HasFork())
        GTEST_SKIP() << "this system makes no copies of a process";
    if (HAS_SANITIZER)
        GTEST_SKIP() << "the sanitizer's memory stays locked in a copy that is made while another thread takes some";

    const CTestDirectory oDirectory;
    oDirectory.Write("root/file", "abc");
    CExtendedFileSystem* const pFiles = CExtendedFileSystem::Instance();
    pFiles->AddRoot("missing");
    pFiles->AddRoot("root");

    const auto oOpens = [pFiles](const char* pName)
    {
        const unsigned long nHandle = pFiles->OpenFile(pName);
        return pFiles->GetFileSize(nHandle) == 3 && pFiles->CloseFile(nHandle);
    };
    std::atomic<bool> bStop = false;
    std::thread oOpener(
        [&]
        {
            while (!bStop)
                EXPECT_TRUE(oOpens("file"));
        });

    int nRight = 0;
    while (nRight < COPIES && RunInFork([&] { return oOpens("FILE") && !pFiles->FileExists("none") ? 0 : 1; }) == 0)
        ++nRight;
    bStop = true;
    oOpener.join();
    EXPECT_EQ(nRight, COPIES);
    EXPECT_TRUE(oOpens("file")) << "the process itself goes on";
}
