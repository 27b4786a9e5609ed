#pragma once

#include <memory>
#include <string>

class CTestDirectory;

/// How a test wants text to be encoded.
enum class eTestText : int
{
    Latin1,   ///< ISO 8859-1, one byte a character
    Utf8,     ///< Unicode, language-neutral
    Turkish,  ///< UTF-8 with Turkish letters
    ShiftJis, ///< Japanese, one or two bytes; trail bytes below 0x80
    EucJp,    ///< Japanese, one to three bytes
    Gbk,      ///< Chinese, one or two bytes; trail bytes below 0x80
    EucKr,    ///< Korean, one or two bytes
};

/// The program's locale for one test; "C" comes back at the end.
///
///     CTestLocale oLocale(eTestText::ShiftJis);
///     if (!oLocale.WhyNot().empty())
///         GTEST_SKIP() << oLocale.WhyNot();
///
/// A locale belongs to the whole process: only for tests of suites whose names begin with "Isolated". Where the system
/// does not have the locale, its own tool makes it in a directory of this object. On Windows it is the multi-byte code
/// page that is set.
class CTestLocale
{
public:
    explicit CTestLocale(eTestText eText);
    ~CTestLocale();

    CTestLocale(const CTestLocale&) = delete;
    CTestLocale& operator=(const CTestLocale&) = delete;

    /// Why this machine has no such locale; empty when it is set.
    const std::string& WhyNot() const { return m_sWhyNot; }

private:
    std::unique_ptr<CTestDirectory> m_pDirectory;
    std::string m_sWhyNot;
};
