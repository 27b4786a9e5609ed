#include <tests/support/PropertyBytes.h>

#include <cstring>

namespace
{
std::vector<std::string> g_aBoxes;

const char* NumberText(long nId)
{
    return nId == 5 ? "five" : nId == 7 ? "seven" : nullptr;
}
} // namespace

std::string Word(std::int64_t nValue)
{
    std::string sBytes;
    for (int i = 0; i < 4; ++i)
        sBytes.push_back(static_cast<char>(static_cast<std::uint64_t>(nValue) >> (8 * i) & 0xFF));
    return sBytes;
}

std::string FloatWord(float fValue)
{
    std::int32_t nBits = 0;
    std::memcpy(&nBits, &fValue, sizeof nBits);
    return Word(nBits);
}

std::string Text(const std::string& sText)
{
    return Word(static_cast<std::int64_t>(sText.size())) + sText;
}

std::string Record(char cType, const std::string& sValue, const std::string& sFormat)
{
    return Word(cType) + sValue + Text(sFormat);
}

std::string Versioned(const std::string& sRecord)
{
    return Word(256) + sRecord;
}

std::string IntRecord(std::int32_t nValue)
{
    return Record('i', Word(nValue));
}

std::string BytesOf(const CVQDataStream& oStream)
{
    if (oStream.GetSize() == 0)
        return {};
    return {reinterpret_cast<const char*>(oStream.GetBuffer()), oStream.GetSize()};
}

CVQDataStream StreamOf(const std::string& sBytes)
{
    return {reinterpret_cast<const unsigned char*>(sBytes.data()), static_cast<unsigned long>(sBytes.size()),
            CVQDataStream::LOADING, true};
}

CBytesFile::CBytesFile(const std::string& sBytes) : CMemFileIO(16)
{
    if (!sBytes.empty())
        Write(sBytes.data(), static_cast<unsigned long>(sBytes.size()));
    SetFilePointerPos(0);
}

CNumberTexts::CNumberTexts()
{
    CVQString::s_pfnLoadString = [](long nId, CVQString& oTarget)
    {
        if (NumberText(nId) != nullptr)
            oTarget = NumberText(nId);
        return NumberText(nId) != nullptr;
    };
    CVQString::s_pfnIsStringIdentical = [](long nId, const CVQString& oText)
    { return NumberText(nId) != nullptr && oText == NumberText(nId); };
}

CNumberTexts::~CNumberTexts()
{
    CVQString::s_pfnLoadString = nullptr;
    CVQString::s_pfnIsStringIdentical = nullptr;
}

CQuietLog::CQuietLog()
{
    g_aBoxes.clear();
    HOOK_SetDebuggerOutput([](const char*) {});
    HOOK_SetMessageBox(
        [](const char* pText, const char*, eMessageBoxKind)
        {
            g_aBoxes.emplace_back(pText);
            return mbaOk;
        });
}

CQuietLog::~CQuietLog()
{
    HOOK_SetDebuggerOutput(nullptr);
    HOOK_SetMessageBox(nullptr);
}

const std::vector<std::string>& CQuietLog::GetBoxes() const
{
    return g_aBoxes;
}

CVQProperty NestedLists(int nDepth)
{
    CVQProperty oProperty(1);
    for (int i = 1; i < nDepth; ++i)
    {
        CVQPropertyList oList;
        oList.SetListElementType(CVQProperty(1));
        oList.AddListElement(CVQProperty(1));
        oList.GetListElement(0) = oProperty;
        oProperty = oList;
    }
    return oProperty;
}

CVQProperty NestedStructs(int nDepth)
{
    CVQProperty oProperty(1);
    for (int i = 1; i < nDepth; ++i)
    {
        CVQPropertyStruct oStruct;
        oStruct["x"] = oProperty;
        oProperty = oStruct;
    }
    return oProperty;
}

std::string NestedStructsRecord(int nDepth)
{
    std::string sFront;
    std::string sBack;
    for (int i = 1; i < nDepth; ++i)
    {
        sFront += Word('c') + Word(256) + 'm' + Word(1) + Text("x") + Word(256);
        sBack += Text("") + Text("");
    }
    return sFront + IntRecord(1) + sBack;
}

std::string NestedListsRecord(int nDepth)
{
    std::string sFront;
    std::string sBack;
    for (int i = 1; i < nDepth; ++i)
    {
        sFront += Word('a') + Word(256) + 'L' + Word(1) + Word(256);
        sBack += 'M' + Word(0) + Text("");
    }
    return sFront + IntRecord(1) + sBack;
}

std::string NestedStructsFile(int nDepth)
{
    std::string sFront;
    std::string sBack;
    for (int i = 1; i < nDepth; ++i)
    {
        sFront += Word('c') + Word(1) + Text("x");
        sBack += Text("");
    }
    return sFront + Word('i') + Word(1) + sBack;
}

std::string NestedListsFile(int nDepth)
{
    // the attribute "ElementType" is what takes a deeper one without an element type of its own
    std::string sFront;
    std::string sBack;
    for (int i = 1; i < nDepth; ++i)
    {
        sFront += Word('a') + Word(1) + Text("ElementType");
        sBack += Word(0);
    }
    return sFront + Word('i') + Word(1) + sBack;
}
