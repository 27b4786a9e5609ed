// A program with the properties as debug builds have them: it asks for an element that is not there. An assertion that
// does not hold ends it with code 42; the code is 0 where nothing was asked wrongly.

#include <Common/Common.h>

#include <cstdlib>
#include <cstring>

namespace
{
eMessageBoxAnswer EndHere(const char* pText, const char*, eMessageBoxKind)
{
    std::_Exit(std::strstr(pText, "nIndex >= 0") != nullptr ? 42 : 43);
}
} // namespace

// The properties stand twice here, in the library and in the program: no mistake for the sanitizer to tell of.
extern "C" const char* __asan_default_options();

extern "C" const char* __asan_default_options()
{
    return "detect_odr_violation=0";
}

int main(int nArguments, char** ppArguments)
{
    if (nArguments < 3)
        return 1;

    HOOK_SetMessageBox(&EndHere);
    HOOK_SetDebuggerOutput([](const char*) {});

    const char* const pCall = ppArguments[1];
    const long nIndex = std::atol(ppArguments[2]);
    CVQPropertyList oList;
    oList.SetListElementType(CVQProperty(0));
    CVQParams oParams;
    for (int i = 0; i < 3; ++i)
    {
        oList.AddListElement(CVQProperty(i));
        oParams.Add(i);
    }

    if (std::strcmp(pCall, "GetListElement") == 0)
        oList.GetListElement(nIndex);
    else if (std::strcmp(pCall, "SetListElementAt") == 0)
        oList.SetListElementAt(nIndex, CVQProperty(5));
    else if (std::strcmp(pCall, "RemoveListElement") == 0)
        oList.RemoveListElement(nIndex);
    else if (std::strcmp(pCall, "const Get") == 0)
        static_cast<const CVQParams&>(oParams).Get(nIndex);
    else if (std::strcmp(pCall, "const []") == 0)
        static_cast<const CVQParams&>(oParams)[nIndex];
    else if (std::strcmp(pCall, "ExpectParameterType") == 0)
        oParams.ExpectParameterType(nIndex, PROPTYPE_INT);
    else if (std::strcmp(pCall, "Get") == 0)
        oParams.Get(nIndex);
    else
        return 1;
    return 0;
}
