#include <Common/Platform/System/SystemMailSlotName.h>

#include <string_view>

namespace System
{
namespace
{
constexpr std::string_view SERVICE = "mailslot";
constexpr std::size_t MAX_HOST_NAME_SIZE = 255;

// The names are the same under every locale: letters beyond ASCII are told apart by case.
std::string Fold(std::string_view sText)
{
    std::string sResult(sText);
    for (char& c : sResult)
    {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
        else if (c == '/')
            c = '\\';
    }
    return sResult;
}

// Takes what stands before the next separator, and the separator.
bool TakeComponent(std::string_view& sRest, std::string_view& sComponent)
{
    const std::size_t nEnd = sRest.find_first_of("\\/");
    if (nEnd == std::string_view::npos)
        return false;

    sComponent = sRest.substr(0, nEnd);
    sRest.remove_prefix(nEnd + 1);
    return true;
}
} // namespace

bool ParseMailSlotName(const char* pName, sMailSlotName& oName)
{
    std::string_view sRest = pName != nullptr ? pName : "";
    std::string_view sEmpty;
    std::string_view sHost;
    std::string_view sService;
    for (int i = 0; i < 2; ++i)
    {
        if (!TakeComponent(sRest, sEmpty) || !sEmpty.empty())
            return false;
    }
    if (!TakeComponent(sRest, sHost) || !TakeComponent(sRest, sService) || Fold(sService) != SERVICE)
        return false;
    if (sHost.empty() || sHost.size() > MAX_HOST_NAME_SIZE || sRest.empty() || sRest.size() > MAX_SLOT_NAME_SIZE)
        return false;

    oName.sSlot = Fold(sRest);
    if (oName.sSlot.front() == '\\' || oName.sSlot.back() == '\\' || oName.sSlot.find("\\\\") != std::string::npos)
        return false;

    oName.nScope = sHost == "." ? eMailSlotScope::Local : sHost == "*" ? eMailSlotScope::All : eMailSlotScope::Host;
    oName.sHost = oName.nScope == eMailSlotScope::Host ? std::string(sHost) : std::string();
    return true;
}

std::string MakeMailSlotName(const sMailSlotName& oName)
{
    const std::string sHost = oName.nScope == eMailSlotScope::Local ? "."
                              : oName.nScope == eMailSlotScope::All ? "*"
                                                                    : oName.sHost;
    return "\\\\" + sHost + "\\" + std::string(SERVICE) + "\\" + oName.sSlot;
}
} // namespace System
