// Strings beside std::string and the C library, where the rules are the same. Two rules differ by design: a CVQString
// takes memory for the shortest text too, where std::string keeps up to 15 bytes within itself, and it grows to exactly
// its text, where std::string doubles. The cases "short" and "grow" show their price; the peer "exact fit" grows by the
// same rule.

#include <Common/String/VQString.h>

#include <bench/support/Ratios.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <strings.h>

namespace
{
using Work = std::function<void(benchmark::State&)>;

void Register(const std::string& oName, const Work& oWork)
{
    benchmark::RegisterBenchmark(oName.c_str(), oWork);
}

/// Lower-case words without the letters of what is searched.
std::string Words(std::size_t nLength)
{
    const std::string oWords = "the quick brown dog jumps over a lazy cow and runs into the night ";
    std::string oText;
    while (oText.size() < nLength)
        oText += oWords;
    oText.resize(nLength);
    return oText;
}

void RegisterSearches(std::size_t nLength)
{
    const std::string oBytes = Words(nLength) + "/File.TXT";
    const std::string oSize = std::to_string(nLength);
    const auto pOurs = std::make_shared<CVQString>(oBytes.c_str());
    const auto pPeer = std::make_shared<std::string>(oBytes);

    Register("find/char/" + oSize + "/ours",
             [pOurs](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pOurs->Find('/'));
             });
    Register("find/char/" + oSize + "/std::string",
             [pPeer](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pPeer->find('/'));
             });
    Register("find/last char/" + oSize + "/ours",
             [pOurs](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pOurs->ReverseFind('#'));
             });
    Register("find/last char/" + oSize + "/std::string",
             [pPeer](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pPeer->rfind('#'));
             });
    Register("find/text/" + oSize + "/ours",
             [pOurs](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pOurs->Find("/File"));
             });
    Register("find/text/" + oSize + "/std::string",
             [pPeer](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pPeer->find("/File"));
             });
    Register("find/common start/" + oSize + "/ours",
             [pOurs](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pOurs->Find("the night sky"));
             });
    Register("find/common start/" + oSize + "/std::string",
             [pPeer](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pPeer->find("the night sky"));
             });
    Register("find/one of/" + oSize + "/ours",
             [pOurs](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pOurs->FindOneOf("/\\."));
             });
    Register("find/one of/" + oSize + "/std::string",
             [pPeer](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pPeer->find_first_of("/\\."));
             });
}

void RegisterComparisons(std::size_t nLength)
{
    const std::string oBytes = Words(nLength);
    const std::string oSize = std::to_string(nLength);
    const auto pOurs = std::make_shared<CVQString>(oBytes.c_str());
    const auto pPeer = std::make_shared<std::string>(oBytes);
    const auto pOther = std::make_shared<std::string>(oBytes);

    Register("compare/exact/" + oSize + "/ours",
             [pOurs, pOther](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pOurs->Compare(pOther->c_str()));
             });
    Register("compare/exact/" + oSize + "/std::string",
             [pPeer, pOther](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pPeer->compare(pOther->c_str()));
             });
    Register("compare/no case/" + oSize + "/ours",
             [pOurs, pOther](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(pOurs->CompareNoCase(pOther->c_str()));
             });
    Register("compare/no case/" + oSize + "/strcasecmp",
             [pPeer, pOther](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(strcasecmp(pPeer->c_str(), pOther->c_str()));
             });
    Register("compare/operator/" + oSize + "/ours",
             [pOurs](benchmark::State& oState)
             {
                 const CVQString oSame(*pOurs);
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(*pOurs == oSame);
             });
    Register("compare/operator/" + oSize + "/std::string",
             [pPeer, pOther](benchmark::State& oState)
             {
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(*pPeer == *pOther);
             });
}

template <class String>
void RegisterCopies(std::size_t nLength, const std::string& oWho)
{
    const std::string oBytes = Words(nLength);
    const std::string oSize = (nLength < 16 ? "short " : "") + std::to_string(nLength);

    Register("assign/string/" + oSize + "/" + oWho,
             [oBytes](benchmark::State& oState)
             {
                 const String oSource(oBytes.c_str());
                 String oTarget(oBytes.c_str());
                 for (auto _ : oState)
                 {
                     oTarget = oSource;
                     benchmark::DoNotOptimize(oTarget);
                 }
             });
    Register("assign/text/" + oSize + "/" + oWho,
             [oBytes](benchmark::State& oState)
             {
                 String oTarget(oBytes.c_str());
                 for (auto _ : oState)
                 {
                     oTarget = oBytes.c_str();
                     benchmark::DoNotOptimize(oTarget);
                 }
             });
    Register("copy and destroy/" + oSize + "/" + oWho,
             [oBytes](benchmark::State& oState)
             {
                 const String oSource(oBytes.c_str());
                 for (auto _ : oState)
                 {
                     const String oCopy(oSource);
                     benchmark::DoNotOptimize(oCopy);
                 }
             });
    Register("construct from text/" + oSize + "/" + oWho,
             [oBytes](benchmark::State& oState)
             {
                 for (auto _ : oState)
                 {
                     const String oCopy(oBytes.c_str());
                     benchmark::DoNotOptimize(oCopy);
                 }
             });
}

CVQString Part(const CVQString& oText, int nStart, int nCount)
{
    return oText.Mid(nStart, nCount);
}

std::string Part(const std::string& oText, int nStart, int nCount)
{
    return oText.substr(static_cast<std::size_t>(nStart), static_cast<std::size_t>(nCount));
}

template <class String>
void RegisterParts(const std::string& oWho)
{
    Register("part/64 of 1024/" + oWho,
             [](benchmark::State& oState)
             {
                 const String oText(Words(1024).c_str());
                 for (auto _ : oState)
                     benchmark::DoNotOptimize(Part(oText, 100, 64));
             });
}

/// Room for the whole result is there before: no rule differs.
void Reserve(CVQString& oText, int nSize)
{
    oText = CVQString('x', nSize);
    oText.Empty();
}

void Reserve(std::string& oText, int nSize)
{
    oText.reserve(static_cast<std::size_t>(nSize));
}

void Clear(CVQString& oText)
{
    oText.Empty();
}

void Clear(std::string& oText)
{
    oText.clear();
}

template <class String>
void RegisterAppends(const std::string& oWho)
{
    Register("append/64 chars, room/" + oWho,
             [](benchmark::State& oState)
             {
                 String oText;
                 Reserve(oText, 64);
                 for (auto _ : oState)
                 {
                     Clear(oText);
                     for (int i = 0; i < 64; ++i)
                         oText += 'c';
                     benchmark::DoNotOptimize(oText);
                 }
             });
    Register("append/64 texts of 16, room/" + oWho,
             [](benchmark::State& oState)
             {
                 String oText;
                 Reserve(oText, 1024);
                 for (auto _ : oState)
                 {
                     Clear(oText);
                     for (int i = 0; i < 64; ++i)
                         oText += "sixteen letters.";
                     benchmark::DoNotOptimize(oText);
                 }
             });
    Register("append/64 texts of 16, grow/" + oWho,
             [](benchmark::State& oState)
             {
                 for (auto _ : oState)
                 {
                     String oText;
                     for (int i = 0; i < 64; ++i)
                         oText += "sixteen letters.";
                     benchmark::DoNotOptimize(oText);
                 }
             });
}

/// The least that growing to exactly the text takes: new memory, two copies, the old memory given back.
void RegisterExactFit()
{
    Register("append/64 texts of 16, grow/exact fit",
             [](benchmark::State& oState)
             {
                 const char* pTail = "sixteen letters.";
                 for (auto _ : oState)
                 {
                     std::unique_ptr<char[]> pText(new char[1]{});
                     std::size_t nLength = 0;
                     for (int i = 0; i < 64; ++i)
                     {
                         benchmark::DoNotOptimize(pTail);
                         const std::size_t nTail = std::strlen(pTail);
                         std::unique_ptr<char[]> pNew(new char[nLength + nTail + 1]);
                         std::memcpy(pNew.get(), pText.get(), nLength);
                         std::memcpy(pNew.get() + nLength, pTail, nTail + 1);
                         nLength += nTail;
                         pText = std::move(pNew);
                     }
                     benchmark::DoNotOptimize(pText.get());
                 }
             });
}

int ReplaceAll(CVQString& oText, const char* pOld, const char* pNew)
{
    return oText.Replace(pOld, pNew);
}

/// As programs write it.
int ReplaceAll(std::string& oText, const char* pOld, const char* pNew)
{
    const std::size_t nOld = std::strlen(pOld);
    const std::size_t nNew = std::strlen(pNew);
    int nCount = 0;
    for (std::size_t n = 0; (n = oText.find(pOld, n)) != std::string::npos; n += nNew)
    {
        oText.replace(n, nOld, pNew);
        ++nCount;
    }
    return nCount;
}

template <class String>
void RegisterReplacements(const std::string& oWho)
{
    const struct
    {
        const char* pName;
        const char* pOld;
        const char* pNew;
    } aCases[] = {
        {"same length", "the", "THE"},
        {"shorter", "the", "a"},
        {"longer", "the", "whatever"},
        {"absent", "#", "+"},
    };

    for (const std::size_t nLength : {64U, 1024U, 65536U})
    {
        for (const auto& oCase : aCases)
        {
            Register("replace/" + std::string(oCase.pName) + "/" + std::to_string(nLength) + "/" + oWho,
                     [oCase, nLength](benchmark::State& oState)
                     {
                         const String oSource(Words(nLength).c_str());
                         String oText;
                         for (auto _ : oState)
                         {
                             oText = oSource; // the same work for both
                             benchmark::DoNotOptimize(ReplaceAll(oText, oCase.pOld, oCase.pNew));
                         }
                     });
        }
    }
}

void RegisterCharacters(std::size_t nLength)
{
    const std::string oSize = std::to_string(nLength);
    const std::string oBytes = Words(nLength);

    Register("replace char/" + oSize + "/ours",
             [oBytes](benchmark::State& oState)
             {
                 CVQString oText(oBytes.c_str());
                 for (auto _ : oState)
                 {
                     oText.Replace('e', 'E');
                     oText.Replace('E', 'e');
                     benchmark::DoNotOptimize(oText);
                 }
             });
    Register("replace char/" + oSize + "/std::replace",
             [oBytes](benchmark::State& oState)
             {
                 std::string oText(oBytes);
                 for (auto _ : oState)
                 {
                     std::replace(oText.begin(), oText.end(), 'e', 'E');
                     benchmark::DoNotOptimize(oText);
                     std::replace(oText.begin(), oText.end(), 'E', 'e');
                     benchmark::DoNotOptimize(oText);
                 }
             });
    Register("make upper/" + oSize + "/ours",
             [oBytes](benchmark::State& oState)
             {
                 CVQString oText(oBytes.c_str());
                 for (auto _ : oState)
                 {
                     oText.MakeUpper();
                     benchmark::DoNotOptimize(oText);
                 }
             });
    Register("make upper/" + oSize + "/toupper",
             [oBytes](benchmark::State& oState)
             {
                 std::string oText(oBytes);
                 for (auto _ : oState)
                 {
                     std::transform(oText.begin(), oText.end(), oText.begin(),
                                    [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
                     benchmark::DoNotOptimize(oText);
                 }
             });
}

void RegisterFormats()
{
    Register("format/number and text/ours",
             [](benchmark::State& oState)
             {
                 CVQString oText;
                 for (auto _ : oState)
                 {
                     oText.Format("%s %d: %s", "line", 1234, "something happened here");
                     benchmark::DoNotOptimize(oText);
                 }
             });
    Register("format/number and text/snprintf",
             [](benchmark::State& oState)
             {
                 std::string oText;
                 for (auto _ : oState)
                 {
                     char aText[1024];
                     std::snprintf(aText, sizeof aText, "%s %d: %s", "line", 1234, "something happened here");
                     oText = aText;
                     benchmark::DoNotOptimize(oText);
                 }
             });
    Register("format/fraction/ours",
             [](benchmark::State& oState)
             {
                 CVQString oText;
                 for (auto _ : oState)
                 {
                     oText.Format("%.4f; ", 3.14159);
                     benchmark::DoNotOptimize(oText);
                 }
             });
    Register("format/fraction/snprintf",
             [](benchmark::State& oState)
             {
                 std::string oText;
                 for (auto _ : oState)
                 {
                     char aText[1024];
                     std::snprintf(aText, sizeof aText, "%.4f; ", 3.14159);
                     oText = aText;
                     benchmark::DoNotOptimize(oText);
                 }
             });
}
} // namespace

int main(int nArguments, char** ppArguments)
{
    for (const std::size_t nLength : {16U, 1024U, 65536U})
    {
        RegisterSearches(nLength);
        RegisterComparisons(nLength);
        RegisterCharacters(nLength);
    }
    for (const std::size_t nLength : {8U, 64U, 1024U, 65536U})
    {
        RegisterCopies<CVQString>(nLength, "ours");
        RegisterCopies<std::string>(nLength, "std::string");
    }
    RegisterParts<CVQString>("ours");
    RegisterParts<std::string>("std::string");
    RegisterAppends<CVQString>("ours");
    RegisterAppends<std::string>("std::string");
    RegisterExactFit();
    RegisterReplacements<CVQString>("ours");
    RegisterReplacements<std::string>("std::string");
    RegisterFormats();
    return RunWithRatios(nArguments, ppArguments);
}
