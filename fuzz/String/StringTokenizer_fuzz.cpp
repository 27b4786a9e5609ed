// Reads a text with any table and any switches, some of them changed between the tokens, and holds every token, value
// and place against the model.

#include <fuzz/String/TokenizerModel.h>

using namespace Model;

namespace
{
using Real = COpen<CStringTokenizer>;

void Step(const SStep& oStep, Real& oReal, CTokenizer& oModel)
{
    if (Do(oStep, oReal, oModel))
        return;
    if (oStep.nKind == 'u')
    {
        oReal.PushBack();
        oModel.m_bPushedBack = true;
    }
    else if (oStep.nKind == 'C')
    {
        const Real oCopy(oReal);
        oReal.GetNextToken();
        oReal.WordChars(0, 255);
        oReal = oCopy;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    CProgram oProgram({reinterpret_cast<const char*>(pData), nSize});
    Real oReal(TextOf(oProgram.Text()));
    CTokenizer oModel(oProgram.Text());
    while (oProgram.ComesFirst())
        Step(oProgram.Next(), oReal, oModel);

    for (;;)
    {
        const int nToken = oReal.GetNextToken();
        Require(nToken == oModel.GetNextToken(), "token");
        Compare(oReal, oModel);
        Require(BytesOf(oReal.GetStringValue()) == oModel.GetStringValue(oReal.GetNumValue()), "text of the token");

        if (oProgram.HasStep())
            Step(oProgram.Next(), oReal, oModel);
        else if (nToken == -1)
            break;
    }
    for (int i = 0; i < 3; ++i)
        Require(oReal.GetNextToken() == -1, "the end again");
    return 0;
}
