#include <stdexcept>

namespace VQBitArrayDetail
{
// In a source of its own: beside an exported class the compiler for Windows exports the type information of every
// exception that is thrown there too.
[[noreturn]] void ThrowTooLarge()
{
    throw std::length_error("CVQBitArray: more than 2^31 - 1 bits");
}
} // namespace VQBitArrayDetail
