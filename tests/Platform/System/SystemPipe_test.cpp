#include <Common/Platform/System/SystemPipe.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using System::PipeHandle;

TEST(SystemPipe, BytesComeOutInTheOrderInWhichTheyWentIn)
{
    PipeHandle nRead = 0;
    PipeHandle nWrite = 0;
    ASSERT_TRUE(System::OpenPipe(nRead, nWrite));
    EXPECT_NE(nRead, 0U);
    EXPECT_NE(nWrite, 0U);
    EXPECT_NE(nRead, nWrite);

    EXPECT_TRUE(System::WritePipe(nWrite, "abc", 3));
    EXPECT_TRUE(System::WritePipe(nWrite, "de", 2));
    EXPECT_TRUE(System::WritePipe(nWrite, nullptr, 0));
    char aBytes[5] = {};
    EXPECT_TRUE(System::ReadPipe(nRead, aBytes, 1));
    EXPECT_TRUE(System::ReadPipe(nRead, aBytes + 1, 4));
    EXPECT_EQ(std::string(aBytes, 5), "abcde");

    EXPECT_TRUE(System::ClosePipe(nWrite));
    EXPECT_TRUE(System::ClosePipe(nRead));
}

TEST(SystemPipe, PeekTellsWhatIsThereWithoutReading)
{
    PipeHandle nRead = 0;
    PipeHandle nWrite = 0;
    ASSERT_TRUE(System::OpenPipe(nRead, nWrite));

    unsigned long nAvailable = 99;
    EXPECT_TRUE(System::PeekPipe(nRead, nAvailable));
    EXPECT_EQ(nAvailable, 0UL);
    EXPECT_TRUE(System::WritePipe(nWrite, "12345", 5));
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_TRUE(System::PeekPipe(nRead, nAvailable));
        EXPECT_EQ(nAvailable, 5UL);
    }

    EXPECT_TRUE(System::ClosePipe(nWrite));
    EXPECT_TRUE(System::ClosePipe(nRead));
    EXPECT_FALSE(System::PeekPipe(nRead, nAvailable));
}

TEST(SystemPipe, ReadWaitsUntilAllBytesAreThere)
{
    PipeHandle nRead = 0;
    PipeHandle nWrite = 0;
    ASSERT_TRUE(System::OpenPipe(nRead, nWrite));

    // Far above what a pipe holds: the writer waits for the reader many times.
    std::vector<unsigned char> oSent(1 << 20);
    for (std::size_t i = 0; i < oSent.size(); ++i)
        oSent[i] = static_cast<unsigned char>(i * 7 + i / 251);

    std::thread oWriter(
        [&] { EXPECT_TRUE(System::WritePipe(nWrite, oSent.data(), static_cast<unsigned long>(oSent.size()))); });
    std::vector<unsigned char> oReceived(oSent.size());
    EXPECT_TRUE(System::ReadPipe(nRead, oReceived.data(), static_cast<unsigned long>(oReceived.size())));
    oWriter.join();
    EXPECT_EQ(oReceived, oSent);

    EXPECT_TRUE(System::ClosePipe(nWrite));
    EXPECT_TRUE(System::ClosePipe(nRead));
}

TEST(SystemPipe, ReadFailsWhenTheWriterLeavesTooEarly)
{
    PipeHandle nRead = 0;
    PipeHandle nWrite = 0;
    ASSERT_TRUE(System::OpenPipe(nRead, nWrite));
    EXPECT_TRUE(System::WritePipe(nWrite, "abc", 3));

    char aBytes[4] = {};
    bool bRead = true;
    std::thread oReader([&] { bRead = System::ReadPipe(nRead, aBytes, 4); });
    EXPECT_TRUE(System::ClosePipe(nWrite));
    oReader.join();
    EXPECT_FALSE(bRead);
    EXPECT_FALSE(System::ReadPipe(nRead, aBytes, 1));
    EXPECT_TRUE(System::ClosePipe(nRead));
}

TEST(SystemPipe, WriteToAClosedReaderFailsAndTheProcessGoesOn)
{
    PipeHandle nRead = 0;
    PipeHandle nWrite = 0;
    ASSERT_TRUE(System::OpenPipe(nRead, nWrite));
    EXPECT_TRUE(System::ClosePipe(nRead));
    EXPECT_FALSE(System::WritePipe(nWrite, "abc", 3));
    EXPECT_FALSE(System::WritePipe(nWrite, "abc", 3));
    EXPECT_TRUE(System::ClosePipe(nWrite));
}

TEST(SystemPipe, StaleHandlesTouchNothingElse)
{
    PipeHandle nOldRead = 0;
    PipeHandle nOldWrite = 0;
    ASSERT_TRUE(System::OpenPipe(nOldRead, nOldWrite));
    EXPECT_TRUE(System::ClosePipe(nOldWrite));
    EXPECT_TRUE(System::ClosePipe(nOldRead));

    // As many as it takes for every slot to be used again.
    for (int i = 0; i < 5000; ++i)
    {
        PipeHandle nRead = 0;
        PipeHandle nWrite = 0;
        ASSERT_TRUE(System::OpenPipe(nRead, nWrite));
        ASSERT_NE(nRead, nOldRead);
        ASSERT_NE(nWrite, nOldWrite);
        ASSERT_FALSE(System::ClosePipe(nOldRead));
        ASSERT_FALSE(System::ClosePipe(nOldWrite));

        char c = '\0';
        ASSERT_FALSE(System::WritePipe(nOldWrite, "x", 1));
        ASSERT_FALSE(System::ReadPipe(nOldRead, &c, 1));
        ASSERT_TRUE(System::WritePipe(nWrite, "y", 1));
        ASSERT_TRUE(System::ReadPipe(nRead, &c, 1));
        ASSERT_EQ(c, 'y');
        ASSERT_TRUE(System::ClosePipe(nWrite));
        ASSERT_TRUE(System::ClosePipe(nRead));
    }
}

TEST(SystemPipe, HandlesThatWereNeverGivenAreRefused)
{
    char c = '\0';
    unsigned long nAvailable = 0;
    for (const PipeHandle nHandle : {0U, 0xFFFFFFFFU, 0xFFFU, 0x1000U, 0x7FFF0001U})
    {
        EXPECT_FALSE(System::ClosePipe(nHandle)) << nHandle;
        EXPECT_FALSE(System::ReadPipe(nHandle, &c, 1)) << nHandle;
        EXPECT_FALSE(System::WritePipe(nHandle, &c, 1)) << nHandle;
        EXPECT_FALSE(System::PeekPipe(nHandle, nAvailable)) << nHandle;
    }
}

TEST(SystemPipe, TheWrongEndIsRefused)
{
    PipeHandle nRead = 0;
    PipeHandle nWrite = 0;
    ASSERT_TRUE(System::OpenPipe(nRead, nWrite));
    char c = '\0';
    EXPECT_FALSE(System::WritePipe(nRead, "x", 1));
    EXPECT_FALSE(System::ReadPipe(nWrite, &c, 1));
    EXPECT_TRUE(System::ClosePipe(nWrite));
    EXPECT_TRUE(System::ClosePipe(nRead));
}

TEST(SystemPipe, ClosingWhileAnotherThreadReadsEndsTheRead)
{
    for (int i = 0; i < 200; ++i)
    {
        PipeHandle nRead = 0;
        PipeHandle nWrite = 0;
        ASSERT_TRUE(System::OpenPipe(nRead, nWrite));
        std::thread oReader(
            [nRead]
            {
                char c = '\0';
                EXPECT_FALSE(System::ReadPipe(nRead, &c, 1));
            });
        EXPECT_TRUE(System::ClosePipe(nWrite));
        EXPECT_TRUE(System::ClosePipe(nRead));
        oReader.join();
    }
}
