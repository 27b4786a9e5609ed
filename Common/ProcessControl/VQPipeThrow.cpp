#include <Common/Debug/VQPipeException.h>

namespace VQPipeDetail
{
// In a source of its own: beside an exported class the compiler for Windows exports the type information of every
// exception that is thrown there too.
[[noreturn]] void Throw(unsigned long nCode, unsigned long nLine, const char* pFileName, const char* pMessage)
{
    throw CVQPipeException(nCode, nLine, pFileName, pMessage);
}
} // namespace VQPipeDetail
