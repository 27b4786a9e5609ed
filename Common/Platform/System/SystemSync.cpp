#include <Common/Platform/System/SystemSync.h>

// Not beside an exported class, where the compiler for Windows exports the type information of what stands behind the
// pointer too.
std::shared_ptr<void> System::ShareWaitable(void* hObject)
{
    return {hObject, [](void* hLast) { CloseWaitable(hLast); }};
}
