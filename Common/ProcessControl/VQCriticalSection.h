#pragma once

#include <Common/Export.h>

#include <cstddef>

/// A critical section: the cheapest lock between the threads of one process.
///
///     CVQCriticalSection oSection;
///     oSection.Enter();
///     ...                     // alone
///     oSection.Leave();
///
/// It is recursive: the thread inside may enter again, and leaves as often. It is left by the thread that entered it. A
/// thread that ends inside leaves it closed for good.
///
/// A copy takes over the raw bytes, as they are at that moment: it is a lock of its own only in looks, not to be
/// entered, and its destruction does nothing. It is for members of classes that are copied as a whole.
class COMMON_API CVQCriticalSection
{
public:
    /// Opens the section, free.
    ///
    /// @param nReserved  not used
    CVQCriticalSection(unsigned long nReserved = 0);

    /// Copies the raw bytes.
    CVQCriticalSection(const CVQCriticalSection& oOther);

    /// Closes the own section and copies the raw bytes.
    CVQCriticalSection& operator=(const CVQCriticalSection& oOther);

    /// Closes the section. Nobody may be inside.
    virtual ~CVQCriticalSection();

    /// Waits until no other thread is inside, and enters.
    void Enter();

    /// Leaves, once for each time entered.
    void Leave();

private:
    static constexpr std::size_t STORAGE_SIZE = sizeof(void*) == 4 ? 24 : 40;

    alignas(void*) unsigned char m_aStorage[STORAGE_SIZE];
};
