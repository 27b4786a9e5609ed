#include <Common/Debug/FileIOException.h>
#include <Common/Debug/MailSlotException.h>
#include <Common/Debug/MemFileIOException.h>
#include <Common/Debug/VQDataStreamException.h>
#include <Common/Debug/VQException.h>
#include <Common/Debug/VQParamsException.h>
#include <Common/Debug/VQPipeException.h>
#include <Common/Debug/XfsException.h>

#include <Common/File/FileIO.h>
#include <Common/File/MemFileIO.h>

#include <tests/support/TestDirectory.h>
#include <tests/support/TestLocale.h>
#include <tests/support/VirtualSlot.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace
{
constexpr unsigned long CODE = 4501;
constexpr unsigned long LINE = 217;
const char* const FILE_NAME = "Common/File/FileIO";
const char* const MESSAGE = "No file is opened.";

template <typename TValue>
TValue ReadField(const void* pObject, std::size_t nOffset)
{
    TValue value;
    std::memcpy(&value, static_cast<const char*>(pObject) + nOffset, sizeof value);
    return value;
}
} // namespace

TEST(VQException, KeepsItsFields)
{
    CVQException oError(ecWarning, CODE, LINE, FILE_NAME, MESSAGE);

    EXPECT_EQ(oError.GetErrorClass(), ecWarning);
    EXPECT_EQ(oError.GetErrorCode(), CODE);
    EXPECT_EQ(oError.GetLine(), LINE);
    EXPECT_STREQ(oError.GetFileName(), FILE_NAME);
    EXPECT_STREQ(oError.GetErrorString(), MESSAGE);
}

TEST(VQException, NullMessageIsEmptyAndKeepsTheOtherFields)
{
    CVQException oError(ecError, CODE, LINE, FILE_NAME, nullptr);

    EXPECT_STREQ(oError.GetErrorString(), "");
    EXPECT_EQ(oError.GetErrorClass(), ecError);
    EXPECT_EQ(oError.GetErrorCode(), CODE);
    EXPECT_EQ(oError.GetLine(), LINE);
    EXPECT_STREQ(oError.GetFileName(), FILE_NAME);
}

TEST(VQException, NullFileNameIsEmpty)
{
    const CVQException oError(ecError, CODE, LINE, nullptr, MESSAGE);
    EXPECT_STREQ(oError.GetFileName(), "");
    EXPECT_STREQ(oError.GetErrorString(), MESSAGE);
}

TEST(VQException, CutsLongTextsAt255Bytes)
{
    for (const std::size_t nSize : {254U, 255U, 256U, 257U, 5000U})
    {
        const std::string sText(nSize, 'm');
        const std::string sFile(nSize, 'f');
        const CVQException oError(ecError, CODE, LINE, sFile.c_str(), sText.c_str());
        EXPECT_EQ(oError.GetErrorString(), sText.substr(0, 255)) << nSize;
        EXPECT_EQ(oError.GetFileName(), sFile.substr(0, 255)) << nSize;
    }
}

TEST(VQException, NumbersOfTheErrorClassesAreFixed)
{
    const struct
    {
        eErrorClass nClass;
        std::int32_t nValue;
    } aCases[] = {
        {ecGameMessage, 0},    {ecDump, 1},        {ecInfo, 2},          {ecMessage, 3},           {ecNote, 4},
        {ecWarning, 5},        {ecError, 6},       {ecCriticalError, 7}, {ecCatastrophicError, 8}, {ecException, 9},
        {ecCommunication, 10}, {ecDataStream, 14},
    };

    for (const auto& oCase : aCases)
        EXPECT_EQ(static_cast<std::int32_t>(oCase.nClass), oCase.nValue);
    EXPECT_EQ(sizeof(eErrorClass), 4U);
}

TEST(VQException, EachSubclassFixesItsErrorClass)
{
    CFileIOException oFile(CODE, LINE, FILE_NAME, MESSAGE);
    CXfsException oXfs(CODE, LINE, FILE_NAME, MESSAGE);
    CMemFileIOException oMemFile(CODE, LINE, FILE_NAME, MESSAGE);
    CVQDataStreamException oStream(CODE, LINE, FILE_NAME, MESSAGE);
    CMailSlotException oMailSlot(CODE, LINE, FILE_NAME, MESSAGE);
    CVQPipeException oPipe(CODE, LINE, FILE_NAME, MESSAGE);
    CVQParamsException oParams(CODE, LINE, FILE_NAME, MESSAGE);

    const struct
    {
        CVQException* pError;
        std::int32_t nClass;
    } aCases[] = {
        {&oFile, 9}, {&oXfs, 9}, {&oMemFile, 9}, {&oStream, 14}, {&oMailSlot, 10}, {&oPipe, 10}, {&oParams, 9},
    };

    for (const auto& oCase : aCases)
    {
        EXPECT_EQ(static_cast<std::int32_t>(oCase.pError->GetErrorClass()), oCase.nClass);
        EXPECT_EQ(oCase.pError->GetErrorCode(), CODE);
        EXPECT_EQ(oCase.pError->GetLine(), LINE);
        EXPECT_STREQ(oCase.pError->GetFileName(), FILE_NAME);
        EXPECT_STREQ(oCase.pError->GetErrorString(), MESSAGE);
    }
}

TEST(VQException, SubclassIsCaughtAsTheBase)
{
    try
    {
        throw CFileIOException(CODE, LINE, FILE_NAME, MESSAGE);
    }
    catch (CVQException& oError)
    {
        EXPECT_EQ(static_cast<int>(oError.GetErrorClass()), 9);
        EXPECT_EQ(oError.GetErrorCode(), CODE);
        EXPECT_EQ(oError.GetLine(), LINE);
        EXPECT_STREQ(oError.GetFileName(), FILE_NAME);
        EXPECT_STREQ(oError.GetErrorString(), MESSAGE);
        return;
    }
    FAIL() << "not caught";
}

TEST(VQException, SubclassIsNotCaughtAsAnotherOne)
{
    bool bCaught = false;
    try
    {
        throw CVQDataStreamException(5000, LINE, FILE_NAME, MESSAGE);
    }
    catch (const CMailSlotException&)
    {
        FAIL() << "the code is the same, the type is not";
    }
    catch (const CVQDataStreamException&)
    {
        bCaught = true;
    }
    EXPECT_TRUE(bCaught);
}

TEST(VQException, SameCodeOfTwoThrowersDiffersInClass)
{
    CVQDataStreamException oStream(5000, LINE, FILE_NAME, MESSAGE);
    CMailSlotException oMailSlot(5000, LINE, FILE_NAME, MESSAGE);

    EXPECT_EQ(oStream.GetErrorCode(), oMailSlot.GetErrorCode());
    EXPECT_EQ(static_cast<int>(oStream.GetErrorClass()), 14);
    EXPECT_EQ(static_cast<int>(oMailSlot.GetErrorClass()), 10);
}

TEST(VQException, UnexportedClassesAreCaughtByType)
{
    EXPECT_THROW(throw CVQPipeException(1, LINE, "Common/ProcessControl/VQPipe", MESSAGE), CVQPipeException);
    EXPECT_THROW(throw CVQParamsException(6001, LINE, "Common/Property/VQParams", MESSAGE), CVQParamsException);
}

TEST(VQException, AssignmentCopiesAllFields)
{
    CFileIOException oTarget(1, 2, "a", "b");
    const CFileIOException oSource(CODE, LINE, FILE_NAME, MESSAGE);
    oTarget = oSource;

    EXPECT_EQ(oTarget.GetErrorClass(), ecException);
    EXPECT_EQ(oTarget.GetErrorCode(), CODE);
    EXPECT_EQ(oTarget.GetLine(), LINE);
    EXPECT_STREQ(oTarget.GetFileName(), FILE_NAME);
    EXPECT_STREQ(oTarget.GetErrorString(), MESSAGE);

    CVQException oBase(ecNote, 1, 2, "a", "b");
    CVQException& oReturned = oBase = CVQPipeException(7, 8, "c", "d");
    EXPECT_EQ(&oReturned, &oBase);
    EXPECT_EQ(oBase.GetErrorClass(), ecCommunication);
    EXPECT_EQ(oBase.GetErrorCode(), 7UL);
    EXPECT_STREQ(oBase.GetErrorString(), "d");
}

TEST(VQException, AssignmentThroughTheBaseReachesADerivedObject)
{
    CFileIOException oTarget(1, 2, "a", "b");
    static_cast<CVQException&>(oTarget) = CMailSlotException(5001, 9, "slot", "There is no mailslot opened.");

    EXPECT_EQ(oTarget.GetErrorClass(), ecCommunication);
    EXPECT_EQ(oTarget.GetErrorCode(), 5001UL);
    EXPECT_STREQ(oTarget.GetErrorString(), "There is no mailslot opened.");
}

TEST(VQException, CopyKeepsWholeBuffersAndNoChanceBytes)
{
    const CXfsException oSource(4002, 33, "Common/File/ExtendedFileSystem", "File not found.");
    const CXfsException oCopy(oSource); // NOLINT(performance-unnecessary-copy-initialization)

    EXPECT_STREQ(oCopy.GetErrorString(), "File not found.");
    EXPECT_EQ(std::memcmp(oCopy.GetErrorString(), oSource.GetErrorString(), 256), 0);
    EXPECT_EQ(std::memcmp(oCopy.GetFileName(), oSource.GetFileName(), 256), 0);
    for (std::size_t i = std::strlen("File not found."); i < 256; ++i)
        EXPECT_EQ(oCopy.GetErrorString()[i], '\0') << i;
}

TEST(VQException, FieldsStandInTheirOrder)
{
    const CMailSlotException oError(5003, 77, FILE_NAME, MESSAGE);
    const std::size_t nFirst = sizeof(void*);

    EXPECT_EQ(ReadField<std::int32_t>(&oError, nFirst), 10);
    EXPECT_EQ(ReadField<std::uint32_t>(&oError, nFirst + 4), 5003U);
    EXPECT_EQ(ReadField<std::uint32_t>(&oError, nFirst + 8), 77U);
    EXPECT_EQ(reinterpret_cast<const char*>(&oError) + nFirst + 12, oError.GetErrorString());
    EXPECT_EQ(reinterpret_cast<const char*>(&oError) + nFirst + 12 + 256, oError.GetFileName());
    EXPECT_EQ(sizeof(CMailSlotException), sizeof(CVQException));
    EXPECT_EQ(sizeof(CVQPipeException), sizeof(CVQException));
    if (sizeof(void*) == 4)
    {
        EXPECT_EQ(sizeof(CVQException), 528U);
    }
}

TEST(VQException, OperationsStandInTheOrderOfTheirSlots)
{
    EXPECT_EQ(VirtualSlot(&CVQException::GetErrorString), 0U);
    EXPECT_EQ(VirtualSlot(&CVQException::GetFileName), 1U);
    EXPECT_EQ(VirtualSlot(&CVQException::GetLine), 2U);
    EXPECT_EQ(VirtualSlot(&CVQException::GetErrorClass), 3U);
    EXPECT_EQ(VirtualSlot(&CVQException::GetErrorCode), 4U);
}

TEST(VQException, ObjectOwnsNothing)
{
    EXPECT_FALSE(std::has_virtual_destructor_v<CVQException>);
    EXPECT_TRUE(std::is_trivially_destructible_v<CVQException>);
    EXPECT_TRUE(std::is_trivially_destructible_v<CXfsException>);
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<CXfsException>);
}

// ------------------------------------------------------------------------------------------------ out of the library

TEST(VQException, ThrownInsideTheLibraryIsCaughtByType)
{
    const CTestDirectory oDirectory;

    CFileIO oFile;
    EXPECT_THROW(oFile.Open("missing.dat", CFileIO::READ), CXfsException);
    EXPECT_THROW(oFile.Open("missing.dat", 0), CFileIOException);

    CMemFileIO oMemory(0);
    EXPECT_THROW(oMemory.SetSize(10), CMemFileIOException);
}

TEST(VQException, ThrownInsideTheLibraryIsCaughtAsTheBase)
{
    CFileIO oFile;
    try
    {
        oFile.Open("any.dat", 0);
    }
    catch (CVQException& oError)
    {
        EXPECT_EQ(oError.GetErrorClass(), ecException);
        EXPECT_EQ(oError.GetErrorCode(), 4500UL);
        EXPECT_STREQ(oError.GetErrorString(), "Invalid file mode specified.");
        EXPECT_STREQ(oError.GetFileName(), "Common/File/FileIO");
        EXPECT_NE(oError.GetLine(), 0UL);
        return;
    }
    FAIL() << "not caught";
}

TEST(IsolatedVQException, TextsAreCutBetweenCharacters)
{
    const CTestLocale oLocale(eTestText::ShiftJis);
    if (!oLocale.WhyNot().empty())
        GTEST_SKIP() << oLocale.WhyNot();

    const std::string sBefore(254, 'm');
    const CVQException oSplit(ecError, CODE, LINE, FILE_NAME, (sBefore + "\x83\x5C").c_str());
    EXPECT_EQ(oSplit.GetErrorString(), sBefore);

    const CVQException oWhole(ecError, CODE, LINE, FILE_NAME, (sBefore.substr(1) + "\x83\x5C").c_str());
    EXPECT_EQ(oWhole.GetErrorString(), sBefore.substr(1) + "\x83\x5C");
}
