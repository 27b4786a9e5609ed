#include <stdexcept>

namespace VQStringDetail
{
// In a source of its own: beside an exported class the compiler for Windows exports the type information of every
// exception that is thrown there too.
[[noreturn]] void ThrowTooLong()
{
    throw std::length_error("CVQString: text of 2 GiB or more");
}
} // namespace VQStringDetail
