#pragma once

#include <cstdint>

namespace System
{
class NamedObject
{
public:
    void AbandonMutex() {}

    static void BeforeFork() {}

    static void AfterForkInParent() {}

    static void AfterForkInChild() {}
};
} // namespace System
