#if defined(_WIN32)

#    include <tests/support/TestDirectory.h>
#    include <tests/support/TestLocale.h>

#    include <mbctype.h>

namespace
{
/// The code page of an encoding; 0 for those that are not set by a code page.
int CodePageOf(eTestText eText)
{
    switch (eText)
    {
    case eTestText::Utf8:
        return 65001;
    case eTestText::ShiftJis:
        return 932;
    case eTestText::Gbk:
        return 936;
    case eTestText::EucKr:
        return 949;
    case eTestText::Latin1:
        return 1252;
    case eTestText::Turkish:
    case eTestText::EucJp:
        break;
    }
    return 0;
}
} // namespace

CTestLocale::CTestLocale(eTestText eText)
{
    const int nCodePage = CodePageOf(eText);
    if (eText == eTestText::Latin1 && std::setlocale(LC_ALL, "German_Germany.1252") == nullptr)
        m_sWhyNot = "this runtime library does not take the locale German_Germany.1252";
    else if (nCodePage == 0)
        m_sWhyNot = "Windows has no such multi-byte code page";
    else if (_setmbcp(nCodePage) != 0)
        m_sWhyNot = "this runtime library does not take the multi-byte code page " + std::to_string(nCodePage);
}

CTestLocale::~CTestLocale()
{
    std::setlocale(LC_ALL, "C");
    _setmbcp(_MB_CP_SBCS);
}

#endif
