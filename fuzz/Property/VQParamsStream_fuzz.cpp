// Loads the stream record of a parameter list from any bytes.

#include <Common/Property/VQParams.h>

#include <fuzz/Property/PropertyFuzz.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    return PropertyFuzz::LoadStream<CVQParams>(pData, nSize);
}
