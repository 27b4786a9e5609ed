#pragma once

#include <cstddef>
#include <string>

namespace System
{
enum class eMailSlotScope : int
{
    Local, // this computer
    All,   // every computer
    Host,  // the computer that is named
};

// The parts of a mail slot's name.
struct sMailSlotName
{
    eMailSlotScope nScope = eMailSlotScope::Local;
    std::string sHost; // as given; empty but for Host
    std::string sSlot; // small letters, back slashes between its components; 1 to MAX_SLOT_NAME_SIZE bytes
};

// What every system takes; the home's paths end at 260.
inline constexpr std::size_t MAX_SLOT_NAME_SIZE = 200;

// Takes a name like "\\.\mailslot\debug" apart. False, and the result unspecified, when it is none.
bool ParseMailSlotName(const char* pName, sMailSlotName& oName);

// Puts the parts together again, in the form of which the home knows every name.
std::string MakeMailSlotName(const sMailSlotName& oName);
} // namespace System
