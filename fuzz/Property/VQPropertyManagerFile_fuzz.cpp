// Loads the file record of a property manager from any bytes.

#include <Common/Property/VQPropertyManager.h>

#include <fuzz/Property/PropertyFuzz.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    return PropertyFuzz::ReadFile<CVQPropertyManager>(pData, nSize);
}
