// Reads a text with any keywords, table and switches, and holds every token, its text, its values and its place against
// the model.

#include <fuzz/String/TokenizerModel.h>

using namespace Model;

namespace
{
using Real = COpen<CLexAnalyzer>;

void Step(const SStep& oStep, Real& oReal, CAnalyzer& oModel)
{
    if (Do(oStep, oReal, oModel.m_oBase))
        return;
    switch (oStep.nKind)
    {
    case 'u':
        oReal.PushBack();
        oModel.m_bPushedBack = true;
        break;
    case 'k': // the word that was read becomes a keyword, of a number that may be another token's
    {
        const std::string sWord = oModel.m_oBase.m_sValue;
        if (sWord.find('\0') == std::string::npos)
        {
            oReal.InsertKeyword(oReal.GetCharacters(), oStep.nFirst - 64);
            oModel.m_oKeywords[sWord] = oStep.nFirst - 64;
        }
        break;
    }
    case 'K': // a word of one or two letters
    {
        std::string sWord{static_cast<char>('a' + oStep.nFirst % 26)};
        if (oStep.nFirst >= 128)
            sWord += static_cast<char>('a' + oStep.nSecond % 26);
        oReal.InsertKeyword(sWord.c_str(), 100 + oStep.nSecond);
        oModel.m_oKeywords[sWord] = 100 + oStep.nSecond;
        break;
    }
    case 'C':
    {
        const Real oCopy(oReal);
        oReal.GetNextToken();
        oReal.InsertKeyword("a", -1000);
        oReal = oCopy;
        break;
    }
    default:
        break;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    CProgram oProgram({reinterpret_cast<const char*>(pData), nSize});
    Real oReal(TextOf(oProgram.Text()));
    CAnalyzer oModel(oProgram.Text());
    while (oProgram.ComesFirst())
        Step(oProgram.Next(), oReal, oModel);

    // A keyword may have any number, that of the end too: the base's own end is waited for.
    for (std::size_t nLeft = 2 * nSize + 8; nLeft > 0; --nLeft)
    {
        const int nToken = oReal.GetNextToken();
        Require(nToken == oModel.GetNextToken(), "token");
        Compare(oReal, oModel.m_oBase);
        Require(BytesOf(oReal.GetStringValue()) == oModel.GetStringValue(oReal.GetNumValue()), "text of the token");

        if (oProgram.HasStep())
            Step(oProgram.Next(), oReal, oModel);
        else if (nToken == -1 && oModel.m_oBase.IsAtEnd())
            break;
    }
    return 0;
}
