#include <tests/support/OrdinaryUser.h>

#if defined(_WIN32)

COrdinaryUser::COrdinaryUser() = default;

COrdinaryUser::~COrdinaryUser() = default;

#else

#    include <sys/fsuid.h>
#    include <unistd.h>

namespace
{
constexpr unsigned NOBODY = 65534;
}

// The user for files is the thread's own: no other test or thread notices.

COrdinaryUser::COrdinaryUser()
{
    if (::geteuid() != 0)
        return;
    ::setfsgid(NOBODY);
    ::setfsuid(NOBODY);
    m_bChanged = true;
}

COrdinaryUser::~COrdinaryUser()
{
    if (!m_bChanged)
        return;
    ::setfsuid(0);
    ::setfsgid(0);
}

#endif
