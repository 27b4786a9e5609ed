#if !defined(_WIN32)

#    include <tests/support/TestDirectory.h>
#    include <tests/support/TestLocale.h>

#    include <clocale>
#    include <cstdlib>
#    include <cstring>

namespace
{
struct LocaleSource
{
    const char* pReadyMade; // as the system has it; null when it never has
    const char* pLanguage;
    const char* pEncoding;
    const char* pSample; // one character
};

LocaleSource SourceOf(eTestText eText)
{
    switch (eText)
    {
    case eTestText::Latin1:
        return {nullptr, "de_DE", "ISO-8859-1", "\xE4"};
    case eTestText::Utf8:
        return {"C.UTF-8", "en_US", "UTF-8", "\xC3\xA4"};
    case eTestText::Turkish:
        return {nullptr, "tr_TR", "UTF-8", "\xC3\xA4"};
    case eTestText::ShiftJis:
        return {nullptr, "ja_JP", "SHIFT_JIS", "\x82\xA0"};
    case eTestText::EucJp:
        return {nullptr, "ja_JP", "EUC-JP", "\xA4\xA2"};
    case eTestText::Gbk:
        return {nullptr, "zh_CN", "GBK", "\xD6\xD0"};
    case eTestText::EucKr:
        return {nullptr, "ko_KR", "EUC-KR", "\xB0\xA1"};
    }
    return {};
}
} // namespace

CTestLocale::CTestLocale(eTestText eText)
{
    const LocaleSource oSource = SourceOf(eText);
    if (oSource.pReadyMade == nullptr || std::setlocale(LC_ALL, oSource.pReadyMade) == nullptr)
    {
        m_pDirectory = std::make_unique<CTestDirectory>(false);
        const std::string sName = std::string(oSource.pLanguage) + "." + oSource.pEncoding;
        const std::string sCommand = std::string("localedef --no-archive -c -i ") + oSource.pLanguage + " -f " +
                                     oSource.pEncoding + " '" + m_pDirectory->PathOf(sName) + "' >/dev/null 2>&1";

        // The tool's exit code tells of warnings as well; whether the locale can be used is what counts.
        const int nExitCode = std::system(sCommand.c_str());
        ::setenv("LOCPATH", m_pDirectory->GetPath().c_str(), 1);
        if (std::setlocale(LC_ALL, sName.c_str()) == nullptr)
        {
            m_sWhyNot = "no locale " + sName + ": localedef ended with " + std::to_string(nExitCode) +
                        " (are the sources of package locales installed?)";
            return;
        }
    }

    std::mblen(nullptr, 0);
    const std::size_t nLength = std::strlen(oSource.pSample);
    if (std::mblen(oSource.pSample, nLength) != static_cast<int>(nLength))
        m_sWhyNot = std::string("this runtime library has no converter for ") + oSource.pEncoding;
}

CTestLocale::~CTestLocale()
{
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
}

#endif
