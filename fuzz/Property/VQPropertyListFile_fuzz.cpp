// Loads the file record of a property list from any bytes.

#include <Common/Property/VQPropertyList.h>

#include <fuzz/Property/PropertyFuzz.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    return PropertyFuzz::ReadFile<CVQPropertyList>(pData, nSize);
}
