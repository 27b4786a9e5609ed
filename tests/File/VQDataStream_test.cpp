#include <Common/Debug/VQDataStreamException.h>
#include <Common/File/VQDataStream.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace
{
constexpr int LOADING = CVQDataStream::LOADING;
constexpr int STORING = CVQDataStream::STORING;

/// What is in a stream, as a text.
std::string BytesOf(const CVQDataStream& oStream)
{
    return {reinterpret_cast<const char*>(oStream.GetBuffer()), oStream.GetSize()};
}

/// The code of the exception that a call throws, 0 when it throws none.
template <class TCall>
unsigned long CodeOf(const TCall& Call)
{
    try
    {
        Call();
        return 0;
    }
    catch (const CVQDataStreamException& oError)
    {
        return oError.GetErrorCode();
    }
}
} // namespace

TEST(VQDataStream, WritesAndReads)
{
    CVQDataStream oStored(STORING);
    oStored.Put("abc", 3);
    EXPECT_EQ(BytesOf(oStored), "abc");

    CVQDataStream oLoaded(oStored);
    char aText[4] = {};
    oLoaded.Get(aText, 3);
    EXPECT_STREQ(aText, "abc");
}

TEST(VQDataStream, RefusesToReadBehindTheEnd)
{
    CVQDataStream oStream;
    char cByte = 0;
    EXPECT_EQ(CodeOf([&] { oStream.Get(&cByte, 1); }), 5000U);
    EXPECT_EQ(oStream.GetBuffer(), nullptr);
    EXPECT_EQ(oStream.GetIteratorBuffer(), nullptr);
}

TEST(VQDataStream, WritesStrings)
{
    CVQDataStream oStream(STORING);
    WriteStreamString(oStream, CVQString("ab"));
    EXPECT_EQ(BytesOf(oStream), std::string("\2\0\0\0ab", 6));

    CVQDataStream oLoaded(oStream);
    CVQString oText;
    ReadStreamString(oLoaded, oText);
    EXPECT_STREQ(~oText, "ab");
}
