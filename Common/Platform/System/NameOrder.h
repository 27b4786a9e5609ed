#pragma once

/// @file
/// The order and the matching of file names, shared by the ports: the same on every system and in every locale.
///
/// Only the letters A to Z have case here, so that a list of names is in the same order on every machine.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace System
{
/// A byte with small letters folded to capitals.
constexpr unsigned char FoldByte(char cByte) noexcept
{
    return static_cast<unsigned char>(cByte >= 'a' && cByte <= 'z' ? cByte - ('a' - 'A') : cByte);
}

/// Whether two names differ in case at most.
constexpr bool IsSameFolded(std::string_view sFirst, std::string_view sSecond) noexcept
{
    return std::equal(sFirst.begin(), sFirst.end(), sSecond.begin(), sSecond.end(),
                      [](char cFirst, char cSecond) { return FoldByte(cFirst) == FoldByte(cSecond); });
}

/// Whether a name comes before another: by its folded bytes, then by its bytes.
inline bool IsNameBefore(const char* pFirst, const char* pSecond) noexcept
{
    std::size_t i = 0;
    while (pFirst[i] != '\0' && FoldByte(pFirst[i]) == FoldByte(pSecond[i]))
        ++i;
    if (FoldByte(pFirst[i]) != FoldByte(pSecond[i]))
        return FoldByte(pFirst[i]) < FoldByte(pSecond[i]);
    return std::strcmp(pFirst, pSecond) < 0;
}

/// A pattern of names: '*' stands for any bytes, '?' for one, the case of letters does not count, and "*.*" matches
/// every name.
class CNamePattern
{
public:
    explicit CNamePattern(std::string_view sPattern) noexcept : m_sPattern(sPattern == "*.*" ? "*" : sPattern) {}

    bool Matches(std::string_view sName) const noexcept
    {
        // On a mismatch the last '*' takes one byte more; earlier ones need no second look.
        std::size_t nPattern = 0;
        std::size_t nName = 0;
        std::size_t nStar = std::string_view::npos;
        std::size_t nTaken = 0;
        while (nName < sName.size())
        {
            if (nPattern < m_sPattern.size() && m_sPattern[nPattern] == '*')
            {
                nStar = nPattern++;
                nTaken = nName;
            }
            else if (nPattern < m_sPattern.size() &&
                     (m_sPattern[nPattern] == '?' || FoldByte(m_sPattern[nPattern]) == FoldByte(sName[nName])))
            {
                ++nPattern;
                ++nName;
            }
            else if (nStar != std::string_view::npos)
            {
                nPattern = nStar + 1;
                nName = ++nTaken;
            }
            else
                return false;
        }
        return m_sPattern.find_first_not_of('*', nPattern) == std::string_view::npos;
    }

private:
    std::string_view m_sPattern;
};

/// The names that a directory search found, with what came along with them.
class CFoundNames
{
public:
    void Add(std::string_view sName, unsigned char nType, std::uint64_t nSize)
    {
        m_aNames.push_back({m_sBytes.size(), nSize, nType});
        m_sBytes.append(sName);
        m_sBytes.push_back('\0');
    }

    /// Brings them in order: "." and ".." first.
    void Sort()
    {
        const char* const pBytes = m_sBytes.data();
        const auto fnDots = [](const char* pName) {
            return std::strcmp(pName, ".") == 0 ? 0 : std::strcmp(pName, "..") == 0 ? 1 : 2;
        };
        std::sort(m_aNames.begin(), m_aNames.end(),
                  [&](const sFoundName& oFirst, const sFoundName& oSecond)
                  {
                      const char* const pFirst = pBytes + oFirst.nOffset;
                      const char* const pSecond = pBytes + oSecond.nOffset;
                      const int nFirstDots = fnDots(pFirst);
                      const int nSecondDots = fnDots(pSecond);
                      return nFirstDots != nSecondDots ? nFirstDots < nSecondDots : IsNameBefore(pFirst, pSecond);
                  });
    }

    std::size_t GetCount() const noexcept { return m_aNames.size(); }

    const char* GetName(std::size_t nIndex) const noexcept { return m_sBytes.data() + m_aNames[nIndex].nOffset; }

    unsigned char GetType(std::size_t nIndex) const noexcept { return m_aNames[nIndex].nType; }

    std::uint64_t GetSize(std::size_t nIndex) const noexcept { return m_aNames[nIndex].nSize; }

private:
    struct sFoundName
    {
        std::size_t nOffset;
        std::uint64_t nSize;
        unsigned char nType;
    };

    std::string m_sBytes;
    std::vector<sFoundName> m_aNames;
};
} // namespace System
