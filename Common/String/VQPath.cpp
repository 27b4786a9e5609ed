#include <Common/String/VQPath.h>

#include <Common/Platform/PlatformFile.h>

#include <algorithm>
#include <array>
#include <utility>

namespace
{
constexpr const char* SEPARATORS = "\\/";
constexpr int NUMBER_OF_DRIVES = 26;

} // namespace

CVQPath::CVQPath() noexcept = default;

CVQPath::CVQPath(const char* pText) : m_oText(pText) {}

CVQPath::CVQPath(const CVQString& oText) : m_oText(oText) {}

CVQPath::CVQPath(const CVQPath& oOther) = default;

CVQPath::CVQPath(CVQPath&& oOther) noexcept = default;

CVQPath::~CVQPath() = default;

CVQPath& CVQPath::operator=(const CVQPath& oOther) = default;

CVQPath& CVQPath::operator=(CVQPath&& oOther) = default;

CVQPath& CVQPath::operator=(const CVQString& oText)
{
    m_oText = oText;
    return *this;
}

CVQPath& CVQPath::operator=(const char* pText)
{
    m_oText = pText;
    return *this;
}

CVQPath& CVQPath::operator+=(const CVQPath& oOther)
{
    Append(oOther);
    return *this;
}

void CVQPath::Empty() noexcept
{
    m_oText.Empty();
}

int CVQPath::CompareNoCase(const char* pText) const
{
    return m_oText.CompareNoCase(pText);
}

void CVQPath::MakeLower() noexcept
{
    m_oText.MakeLower();
}

void CVQPath::MakeUpper() noexcept
{
    m_oText.MakeUpper();
}

void CVQPath::MakePretty() noexcept
{
    MakeLower();
}

int CVQPath::MakeForwardslashes() noexcept
{
    return m_oText.Replace('\\', '/');
}

int CVQPath::MakeBackwardslashes() noexcept
{
    return m_oText.Replace('/', '\\');
}

bool CVQPath::HasLeadingSlash() const noexcept
{
    return !IsEmpty() && IsSlash(View().front());
}

bool CVQPath::HasLeadingBackslash() const noexcept
{
    return View().starts_with('\\');
}

bool CVQPath::HasLeadingForwardslash() const noexcept
{
    return View().starts_with('/');
}

bool CVQPath::HasTrailingSlash() const noexcept
{
    return !IsEmpty() && IsSlash(View().back());
}

bool CVQPath::HasTrailingBackslash() const noexcept
{
    return View().ends_with('\\');
}

bool CVQPath::HasTrailingForwardslash() const noexcept
{
    return View().ends_with('/');
}

void CVQPath::AddTrailingBackslash()
{
    AddTrailing('\\');
}

void CVQPath::AddTrailingForwardslash()
{
    AddTrailing('/');
}

void CVQPath::AddLeadingBackslash()
{
    AddLeading('\\');
}

void CVQPath::AddLeadingForwardslash()
{
    AddLeading('/');
}

void CVQPath::RemoveTrailingBackslash()
{
    RemoveTrailing('\\');
}

void CVQPath::RemoveTrailingForwardslash()
{
    RemoveTrailing('/');
}

void CVQPath::RemoveLeadingBackslash()
{
    if (HasLeadingBackslash())
        m_oText = ~m_oText + 1;
}

bool CVQPath::IsUNC() const noexcept
{
    return View().starts_with("\\\\");
}

void CVQPath::Append(const CVQPath& oOther)
{
    if (&oOther == this)
    {
        Append(CVQPath(oOther));
        return;
    }

    if (!IsEmpty() && !HasTrailingSlash())
        m_oText += '\\';
    m_oText += oOther.m_oText;
}

CVQPath CVQPath::GetPath() const
{
    return m_oText.Left(m_oText.ReverseFindOneOf(SEPARATORS));
}

void CVQPath::StripPath()
{
    if (const int nSeparator = m_oText.ReverseFindOneOf(SEPARATORS); nSeparator != -1)
        m_oText = ~m_oText + nSeparator + 1;
}

CVQString CVQPath::GetFileName(bool bWithExtension) const
{
    const int nCount = GetNumPathComponents();
    std::string_view sName = ComponentView(nCount - 1, nCount);

    if (!sName.empty() && IsSlash(sName.back()))
        sName.remove_suffix(1);
    if (!bWithExtension)
        sName = sName.substr(0, sName.rfind('.')); // all of it without a dot
    return Part(sName);
}

int CVQPath::FindExtension() const
{
    const int nDot = m_oText.ReverseFind('.');
    return nDot > GetComponentPosition(GetNumPathComponents() - 1) ? nDot : -1;
}

CVQString CVQPath::GetExtension() const
{
    const int nDot = FindExtension();
    return nDot != -1 ? m_oText.Mid(nDot) : CVQString();
}

void CVQPath::AddExtension(const CVQString& oExtension)
{
    m_oText += oExtension;
}

void CVQPath::RemoveExtension()
{
    if (const int nDot = FindExtension(); nDot != -1)
        Cut(nDot);
}

int CVQPath::GetNumPathComponents() const noexcept
{
    if (IsEmpty())
        return 0;

    const std::string_view sText = View();
    const auto nSeparators = std::count_if(sText.begin() + 1, sText.end(), IsSlash);
    return static_cast<int>(nSeparators) + (HasTrailingSlash() ? 0 : 1);
}

CVQString CVQPath::GetComponent(int nStart, int nCount) const
{
    return Part(ComponentView(nStart, nCount));
}

int CVQPath::GetComponentPosition(int nIndex) const noexcept
{
    if (nIndex == 0)
        return HasLeadingSlash() ? 1 : 0;

    const std::string_view sText = View();
    int nComponent = 0;
    for (std::size_t i = 1; i < sText.size(); ++i)
        if (IsSlash(sText[i]) && ++nComponent == nIndex)
            return static_cast<int>(i) + 1;
    return 0;
}

bool CVQPath::GetFirstComponent(CVQString& oComponent, long& nPosition) const
{
    nPosition = 0;
    return GetNextComponent(oComponent, nPosition);
}

bool CVQPath::GetNextComponent(CVQString& oComponent, long& nPosition) const
{
    if (nPosition >= GetLength())
        return false;

    const std::string_view sText = View();
    auto nStart = static_cast<std::size_t>(std::max(nPosition, 0L));
    const std::size_t nEnd = std::min(sText.find_first_of(SEPARATORS, nStart + 1), sText.size());
    nPosition = static_cast<long>(nEnd);

    if (IsSlash(sText[nStart]))
        ++nStart;
    oComponent = CVQString(); // keeps its buffer
    if (nStart < nEnd)
    {
        const auto nLength = static_cast<int>(nEnd - nStart);
        sText.copy(oComponent.GetBuffer(nLength - 1), nEnd - nStart, nStart);
        oComponent.ReleaseBuffer(nLength);
    }
    return true;
}

int CVQPath::GetDriveNumber() const noexcept
{
    const std::string_view sText = View();
    if (sText.size() < 2 || sText[1] != ':' || !IsDriveLetter(sText[0]))
        return -1;

    return sText[0] - (sText[0] >= 'a' ? 'a' : 'A');
}

CVQPath CVQPath::BuildRoot(int nDrive)
{
    if (nDrive < 0 || nDrive >= NUMBER_OF_DRIVES)
        return {};

    const std::array<char, 4> aRoot{static_cast<char>('A' + nDrive), ':', '\\', '\0'};
    return aRoot.data();
}

unsigned long CVQPath::GetAttributes() const
{
    return GetPathAttributes(m_oText);
}

unsigned long CVQPath::GetPathAttributes(const CVQString& oPath)
{
    return FILE_GetFileAttributes(oPath.IsEmpty() ? "" : ~oPath);
}

void CVQPath::CompactPath(const CVQPath&, unsigned int) {}

bool CVQPath::IsSame(const CVQPath& oOther, int, bool bIgnoreLeading, bool bIgnoreTrailing) const
{
    const int nCount = GetNumPathComponents();
    if (nCount != oOther.GetNumPathComponents())
        return false;
    if (!bIgnoreTrailing && HasTrailingSlash() != oOther.HasTrailingSlash())
        return false;
    if (!bIgnoreLeading && HasLeadingSlash() != oOther.HasLeadingSlash())
        return false;

    return SharesComponents(oOther, nCount);
}

bool CVQPath::IsBelow(const CVQPath& oOther) const
{
    const int nCount = GetNumPathComponents();
    return nCount < oOther.GetNumPathComponents() && SharesComponents(oOther, nCount);
}

bool CVQPath::IsAbove(const CVQPath& oOther) const
{
    return oOther.IsBelow(*this);
}

bool CVQPath::IsBelowOrSame(const CVQPath& oOther) const
{
    return IsBelow(oOther) || IsSame(oOther, 0, true, true);
}

bool CVQPath::IsAboveOrSame(const CVQPath&) const
{
    return true;
}

std::string_view CVQPath::View() const noexcept
{
    return {~m_oText, static_cast<std::size_t>(m_oText.GetLength())};
}

/// A range of View() as a string.
CVQString CVQPath::Part(std::string_view sPart) const
{
    return m_oText.Mid(static_cast<int>(sPart.data() - ~m_oText), static_cast<int>(sPart.size()));
}

/// The range of GetComponent() within the text.
std::string_view CVQPath::ComponentView(int nStart, int nCount) const noexcept
{
    const std::string_view sText = View();
    if (nCount == 0)
        return sText.substr(0, 0);

    const long long nEnd = static_cast<long long>(nStart) + nCount;
    std::size_t nFirst = nStart == 0 && HasLeadingSlash() ? 1 : 0;
    int nSeparators = 0;

    for (std::size_t i = 1; i < sText.size(); ++i)
    {
        if (!IsSlash(sText[i]))
            continue;

        ++nSeparators;
        if (nSeparators == nStart)
            nFirst = i + 1;
        if (nSeparators == nEnd)
            return sText.substr(nFirst, i - nFirst);
    }
    return sText.substr(nFirst);
}

void CVQPath::Cut(int nLength) noexcept
{
    m_oText.GetBuffer(0);
    m_oText.ReleaseBuffer(nLength);
}

void CVQPath::AddTrailing(char cSeparator)
{
    if (!View().ends_with(cSeparator))
        m_oText += cSeparator;
}

void CVQPath::AddLeading(char cSeparator)
{
    if (View().starts_with(cSeparator))
        return;

    CVQString oText(cSeparator, 1);
    oText += m_oText;
    m_oText = std::move(oText);
}

void CVQPath::RemoveTrailing(char cSeparator) noexcept
{
    if (View().ends_with(cSeparator))
        Cut(static_cast<int>(m_oText.GetLength()) - 1);
}

/// Tells whether the first components of both paths are the same text but for the case of letters. Where the longest
/// run of them agrees, every shorter one does.
bool CVQPath::SharesComponents(const CVQPath& oOther, int nCount) const
{
    const std::string_view sFirst = ComponentView(0, nCount);
    const std::string_view sSecond = oOther.ComponentView(0, nCount);
    if (sFirst.size() != sSecond.size() || sFirst == sSecond)
        return sFirst.size() == sSecond.size(); // a change of case keeps the length

    CVQString oFirst = Part(sFirst);
    CVQString oSecond = oOther.Part(sSecond);
    oFirst.MakeLower();
    oSecond.MakeLower();
    return oFirst == oSecond;
}
