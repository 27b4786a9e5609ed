#if defined(_WIN32)

#    include <tests/support/Fork.h>

int RunInFork(const std::function<int()>&)
{
    return -1;
}

int RunTraced(const std::function<int()>&, bool&)
{
    return -1;
}

bool HasFork()
{
    return false;
}

#endif
