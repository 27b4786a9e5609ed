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
    if (nCodePage == 0)
        m_sWhyNot = "Windows has no such multi-byte code page";
    else if (_setmbcp(nCodePage) != 0 || _getmbcp() != nCodePage)
        m_sWhyNot = "this runtime library does not take the multi-byte code page " + std::to_string(nCodePage);
}

CTestLocale::~CTestLocale()
{
    _setmbcp(_MB_CP_SBCS);
}

#endif
