#include <Common/ProcessControl/VQCriticalSection.h>

#include <Common/Platform/System/SystemSync.h>

static_assert(sizeof(CVQCriticalSection) == sizeof(void*) + System::CRITICAL_SECTION_SIZE);

CVQCriticalSection::CVQCriticalSection(unsigned long)
{
    System::OpenCriticalSection(m_aStorage);
}

CVQCriticalSection::CVQCriticalSection(const CVQCriticalSection& oOther)
{
    System::CopyCriticalStorage(m_aStorage, oOther.m_aStorage);
}

CVQCriticalSection& CVQCriticalSection::operator=(const CVQCriticalSection& oOther)
{
    if (this == &oOther)
        return *this;

    System::CloseCriticalSection(m_aStorage);
    System::CopyCriticalStorage(m_aStorage, oOther.m_aStorage);
    return *this;
}

CVQCriticalSection::~CVQCriticalSection()
{
    System::CloseCriticalSection(m_aStorage);
}

void CVQCriticalSection::Enter()
{
    System::EnterCriticalStorage(m_aStorage);
}

void CVQCriticalSection::Leave()
{
    System::LeaveCriticalStorage(m_aStorage);
}
