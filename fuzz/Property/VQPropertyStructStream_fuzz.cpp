// Loads the stream record of a property struct from any bytes.

#include <Common/Property/VQPropertyStruct.h>

#include <fuzz/Property/PropertyFuzz.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    return PropertyFuzz::LoadStream<CVQPropertyStruct>(pData, nSize);
}
