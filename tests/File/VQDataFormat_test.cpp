#include <Common/File/VQDataFormat.h>
#include <Common/File/VQVariableControllerBase.h>

#include <tests/support/PropertyBytes.h>
#include <tests/support/TestDirectory.h>
#include <tests/support/TestPaths.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <type_traits>

namespace
{
struct SUnit
{
    std::int32_t m_nHealth = 1;
    std::int32_t m_nShield = 2;
    std::int32_t m_nSpeed = 3;
};

/// A controller as a program writes one: the value is the offset of the variable.
class CIntController : public CVQVariableControllerBase
{
public:
    CIntController(int nOffset) : CVQVariableControllerBase(nOffset, 0x494E5433) {}

    void Serialize(unsigned char* pRecord, CVQDataStream& oStream) override
    {
        ++m_nCalls;
        if (oStream.IsStoring())
            oStream.Put(pRecord + GetValue(), sizeof(std::int32_t));
        else
            oStream.Get(pRecord + GetValue(), sizeof(std::int32_t));
    }

    int m_nCalls = 0;
};

class CUnitFormat : public testing::Test
{
protected:
    CVQDataFormat Format(int nVersion, const char* pName = "Unit")
    {
        CVQDataFormat oFormat(pName, nVersion);
        oFormat.AddVariable(1, m_oHealth);
        oFormat.AddVariable(2, m_oShield);
        oFormat.AddVariable(4, m_oSpeed);
        return oFormat;
    }

    unsigned char* Record() { return reinterpret_cast<unsigned char*>(&m_oUnit); }

    unsigned long Load(CVQDataFormat oFormat, const std::string& sBytes)
    {
        CVQDataStream oStream = StreamOf(sBytes);
        oFormat.Serialize(Record(), oStream);
        return oStream.GetStreamPosition();
    }

    SUnit m_oUnit;
    CIntController m_oHealth{offsetof(SUnit, m_nHealth)};
    CIntController m_oShield{offsetof(SUnit, m_nShield)};
    CIntController m_oSpeed{offsetof(SUnit, m_nSpeed)};
};
} // namespace

using VQDataFormat = CUnitFormat;

static_assert(std::has_virtual_destructor_v<CVQVariableControllerBase>);
static_assert(std::has_virtual_destructor_v<CVQDataFormat>);

TEST(VQVariableControllerBase, KeepsItsArguments)
{
    class CSeen : public CVQVariableControllerBase
    {
    public:
        using CVQVariableControllerBase::CVQVariableControllerBase;
        using CVQVariableControllerBase::GetValue;
    };

    const CSeen oController(-8, 0x41424344);
    EXPECT_EQ(oController.GetValue(), -8);
    EXPECT_STREQ(oController.GetCode().ToString(), "ABCD");
    const CSeen oCopy(oController);
    EXPECT_EQ(oCopy.GetValue(), -8);
    EXPECT_STREQ(oCopy.GetCode().ToString(), "ABCD");
    CSeen oTarget(1, 0);
    oTarget = oController;
    EXPECT_EQ(oTarget.GetValue(), -8);
    EXPECT_STREQ(oTarget.GetCode().ToString(), "ABCD");
}

TEST(VQVariableControllerBase, WritesItsCodeAndReadsPastIt)
{
    CVQVariableControllerBase oController(0, 0x41424344);
    CVQDataStream oStored(CVQDataStream::STORING);
    oController.Serialize(nullptr, oStored);
    EXPECT_EQ(BytesOf(oStored), "ABCD");

    CVQDataStream oLoaded = StreamOf("WXYZrest");
    oController.Serialize(nullptr, oLoaded);
    EXPECT_EQ(oLoaded.GetStreamPosition(), 4U);
    EXPECT_STREQ(oController.GetCode().ToString(), "ABCD");
    CVQDataStream oCut = StreamOf("WXY");
    EXPECT_EQ(StreamErrorOf([&] { oController.Serialize(nullptr, oCut); }), 5000U);
}

TEST_F(VQDataFormat, SavesMarkerNameVersionAndVariables)
{
    CVQDataStream oStream(CVQDataStream::STORING);
    Format(3).Serialize(Record(), oStream);
    EXPECT_EQ(BytesOf(oStream), 'F' + Text("Unit") + Word(3) + Word(1) + Word(2) + Word(3));
    CVQDataStream oEmpty(CVQDataStream::STORING);
    CVQDataFormat(CVQString(), -1).Serialize(nullptr, oEmpty);
    EXPECT_EQ(BytesOf(oEmpty), 'F' + Text("") + Word(-1));
}

TEST_F(VQDataFormat, SavesAndLoadsTheSameBytesAsEver)
{
    const std::string sGolden = ReadWholeFile(GetGoldenPath("streams/format.stream"));
    CVQVariableControllerBase oCode(0, 0x41424344);
    CVQDataFormat oFormat = Format(3);
    oFormat.AddVariable(3, oCode);

    m_oUnit.m_nShield = -2;
    CVQDataStream oStored(CVQDataStream::STORING);
    oFormat.Serialize(Record(), oStored);
    EXPECT_EQ(BytesOf(oStored), sGolden); // all variables, also one of a later version

    CVQDataFormat oLater("Unit", 4);
    oLater.AddVariable(1, m_oHealth);
    oLater.AddVariable(2, m_oShield);
    oLater.AddVariable(3, m_oSpeed);
    oLater.AddVariable(3, oCode);
    m_oUnit = {0, 0, 0};
    EXPECT_EQ(Load(oLater, sGolden), sGolden.size());
    EXPECT_EQ(m_oUnit.m_nHealth, 1);
    EXPECT_EQ(m_oUnit.m_nShield, -2);
    EXPECT_EQ(m_oUnit.m_nSpeed, 3);
}

TEST_F(VQDataFormat, HoldsManyVariables)
{
    CVQDataFormat oFormat("Unit", 1);
    for (int i = 0; i < 1000; ++i)
        oFormat.AddVariable(i, m_oHealth);
    EXPECT_EQ(Load(oFormat, 'F' + Text("Unit") + Word(499) + std::string(2000, '\1')), 13U + 2000);
    EXPECT_EQ(m_oHealth.m_nCalls, 500);
    EXPECT_EQ(m_oUnit.m_nHealth, 0x01010101);
}

TEST_F(VQDataFormat, ComparesVersionsWithTheirSigns)
{
    constexpr std::int32_t LOWEST = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t HIGHEST = std::numeric_limits<std::int32_t>::max();

    struct
    {
        std::int32_t nVariable, nStored;
        int nCalls;
    } const aCases[] = {{0, 0, 1},        {0, -1, 0},          {-1, -1, 1},         {-1, 0, 1},
                        {1, HIGHEST, 1},  {1, LOWEST, 0},      {LOWEST, LOWEST, 1}, {HIGHEST, HIGHEST, 1},
                        {HIGHEST, -1, 0}, {HIGHEST, LOWEST, 0}};

    for (const auto& [nVariable, nStored, nCalls] : aCases)
    {
        m_oHealth.m_nCalls = 0;
        CVQDataFormat oFormat("Unit", 7);
        oFormat.AddVariable(nVariable, m_oHealth);
        EXPECT_EQ(Load(oFormat, 'F' + Text("Unit") + Word(nStored) + Word(5)), 13U + 4 * static_cast<unsigned>(nCalls));
        EXPECT_EQ(m_oHealth.m_nCalls, nCalls) << nVariable << ' ' << nStored;
    }
}

TEST_F(VQDataFormat, LoadsWhatTheVersionHad)
{
    EXPECT_EQ(Load(Format(3), 'F' + Text("Unit") + Word(2) + Word(10) + Word(11) + Word(12)), 9U + 4 + 8);
    EXPECT_EQ(m_oUnit.m_nHealth, 10);
    EXPECT_EQ(m_oUnit.m_nShield, 11);
    EXPECT_EQ(m_oUnit.m_nSpeed, 3);
    EXPECT_EQ(m_oHealth.m_nCalls, 1);
    EXPECT_EQ(m_oShield.m_nCalls, 1);
    EXPECT_EQ(m_oSpeed.m_nCalls, 0);

    Load(Format(3), 'F' + Text("Unit") + Word(4) + Word(20) + Word(21) + Word(22));
    EXPECT_EQ(m_oUnit.m_nSpeed, 22) << "also what is newer than the format";
    EXPECT_EQ(Load(Format(3), 'F' + Text("Unit") + Word(0)), 13U);
    EXPECT_EQ(Load(Format(3), 'F' + Text("Unit") + Word(-1)), 13U);
    EXPECT_EQ(m_oUnit.m_nHealth, 20);
}

TEST_F(VQDataFormat, LoadsInTheOrderAdded)
{
    CVQDataFormat oFormat("Unit", 9);
    oFormat.AddVariable(4, m_oSpeed);
    oFormat.AddVariable(1, m_oHealth);
    Load(oFormat, 'F' + Text("Unit") + Word(3) + Word(10));
    EXPECT_EQ(m_oUnit.m_nHealth, 10);
    Load(oFormat, 'F' + Text("Unit") + Word(4) + Word(20) + Word(21));
    EXPECT_EQ(m_oUnit.m_nSpeed, 20);
    EXPECT_EQ(m_oUnit.m_nHealth, 21);
}

TEST_F(VQDataFormat, AnotherNameEndsBehindTheName)
{
    for (const char* pName : {"unit", "Unit2", "Uni", ""})
    {
        EXPECT_EQ(Load(Format(3), 'F' + Text(pName) + Word(3) + Word(10) + Word(11)), 5U + std::strlen(pName));
        EXPECT_EQ(m_oUnit.m_nHealth, 1);
    }
    EXPECT_EQ(m_oHealth.m_nCalls, 0);

    CVQDataFormat oNameless(CVQString(), 1);
    oNameless.AddVariable(1, m_oHealth);
    Load(oNameless, 'F' + Text("") + Word(1) + Word(5));
    EXPECT_EQ(m_oUnit.m_nHealth, 5) << "a name without a buffer equals the empty one";
}

TEST_F(VQDataFormat, WithoutTheMarkerOneByteIsRead)
{
    EXPECT_EQ(Load(Format(3), 'f' + Text("Unit") + Word(3) + Word(10) + Word(11)), 1U);
    EXPECT_EQ(m_oUnit.m_nHealth, 1);
    EXPECT_EQ(m_oUnit.m_nShield, 2);
}

TEST_F(VQDataFormat, ReadsALocalisedName)
{
    const CNumberTexts oTexts;
    EXPECT_EQ(Load(Format(3, "five"), 'F' + Word(-1) + Word(5) + Word(1) + Word(10)), 17U);
    EXPECT_EQ(m_oUnit.m_nHealth, 10);
}

TEST_F(VQDataFormat, CopiesShareTheControllers)
{
    const CVQDataFormat oFormat = Format(3);
    CVQDataFormat oCopy(oFormat);
    CVQDataFormat oTarget("Other", 1);
    oTarget = oFormat;
    oCopy.AddVariable(1, m_oHealth);
    Load(oTarget, 'F' + Text("Unit") + Word(2) + Word(10) + Word(11));
    EXPECT_EQ(m_oHealth.m_nCalls, 1);
    Load(oCopy, 'F' + Text("Unit") + Word(2) + Word(10) + Word(11) + Word(12));
    EXPECT_EQ(m_oHealth.m_nCalls, 3);
    EXPECT_EQ(m_oUnit.m_nHealth, 12);
}

TEST_F(VQDataFormat, ACutStreamThrows)
{
    const std::string sRecord = 'F' + Text("Unit") + Word(4) + Word(10) + Word(11) + Word(12);
    for (std::size_t nCut = 0; nCut < sRecord.size(); ++nCut)
    {
        m_oUnit = SUnit();
        EXPECT_EQ(StreamErrorOf([&] { Load(Format(3), sRecord.substr(0, nCut)); }), 5000U) << nCut;
        EXPECT_EQ(m_oUnit.m_nHealth, nCut < 17 ? 1 : 10);
        EXPECT_EQ(m_oUnit.m_nSpeed, 3);
    }
    for (const std::int64_t nLength : {0x7FFFFFFFLL, 1000LL})
        EXPECT_EQ(StreamErrorOf([&] { Load(Format(3), 'F' + Word(nLength) + "Unit" + Word(3)); }), 5000U);
}

TEST_F(VQDataFormat, SurvivesDamageToAnyByte)
{
    const std::string sRecord = 'F' + Text("five") + Word(4) + Word(10) + Word(11) + Word(12);
    const std::string sLocalised = 'F' + Word(-1) + Word(5) + Word(4) + Word(10) + Word(11) + Word(12);
    std::mt19937 oRandom(17);
    int nRefused = 0;
    for (const bool bHooks : {false, true})
    {
        const auto pTexts = bHooks ? std::make_unique<CNumberTexts>() : nullptr;
        for (const std::string& sWhole : {sRecord, sLocalised})
        {
            for (std::size_t i = 0; i < sWhole.size(); ++i)
            {
                for (const int nByte : {0, 1, 0x7F, 0x80, 0xFF, static_cast<int>(oRandom() % 256)})
                {
                    std::string sDamaged = sWhole;
                    sDamaged[i] = static_cast<char>(nByte);
                    const unsigned long nCode = StreamErrorOf([&] { Load(Format(3, "five"), sDamaged); });
                    ASSERT_TRUE(nCode == 0 || nCode == 5000) << i << ' ' << nByte;
                    nRefused += nCode != 0 ? 1 : 0;
                }
            }
        }
    }
    EXPECT_GT(nRefused, 10);
}
