#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace System
{
// Numbers for what a port has opened, of a kind that the system's own numbers are not: a number that was closed stays
// closed, whatever is opened after it.
//
// TTraits names the content: `using Content = ...`, default-constructible at compile time, trivially copyable, and
// `static void Release(Content)`, which closes it.
//
// Any thread may call any member; nothing locks. An object that is closed while another thread works on it is released
// when the last such thread is done. The table has no destructor: static objects may close to the very end.
template <class TTraits>
class CHandleTable
{
private:
    struct sSlot;

public:
    using Content = typename TTraits::Content;

    static constexpr std::uint32_t CAPACITY = 4095;

    constexpr CHandleTable() = default;
    CHandleTable(const CHandleTable&) = delete;
    CHandleTable& operator=(const CHandleTable&) = delete;

    // Holds the content of a handle, so that it is not released meanwhile.
    class CPin
    {
    public:
        CPin(CHandleTable& oTable, std::uint32_t nHandle) : m_pSlot(oTable.Pin(nHandle)) {}

        ~CPin()
        {
            if (m_pSlot != nullptr)
                Unpin(*m_pSlot);
        }

        CPin(const CPin&) = delete;
        CPin& operator=(const CPin&) = delete;

        // False when the handle is not open.
        explicit operator bool() const { return m_pSlot != nullptr; }

        const Content& operator*() const { return m_pSlot->oContent; }

    private:
        friend class CHandleTable;
        sSlot* m_pSlot;
    };

    // Takes a content and gives it a handle above 0; 0 when the table is full, and the content is then the caller's.
    std::uint32_t Add(const Content& oContent)
    {
        // The search goes round, so that a slot rests as long as possible before it is used again.
        const std::uint32_t nStart = m_nCursor.fetch_add(1, std::memory_order_relaxed);
        for (std::uint32_t i = 0; i < CAPACITY; ++i)
        {
            const std::uint32_t nIndex = (nStart + i) % CAPACITY;
            sSlot& oSlot = m_aSlots[nIndex];

            std::uint32_t nState = oSlot.nState.load(std::memory_order_relaxed);
            if (PhaseOf(nState) != PHASE_FREE ||
                !oSlot.nState.compare_exchange_strong(nState, nState | PHASE_CLOSED, std::memory_order_acquire))
                continue;

            oSlot.oContent = oContent;
            oSlot.nState.store((nState & GENERATION_MASK) | PHASE_OPEN, std::memory_order_release);
            return MakeHandle(nState, nIndex);
        }
        return 0;
    }

    // Closes a handle. False when it is not open; nothing is touched then.
    bool Close(std::uint32_t nHandle)
    {
        sSlot* pSlot = FindSlot(nHandle);
        if (pSlot == nullptr)
            return false;

        std::uint32_t nState = pSlot->nState.load(std::memory_order_acquire);
        do
        {
            if (!IsOpenAs(nState, nHandle))
                return false;
        } while (!pSlot->nState.compare_exchange_weak(nState, (nState & ~PHASE_MASK) | PHASE_CLOSED,
                                                      std::memory_order_acq_rel, std::memory_order_acquire));

        if ((nState & COUNT_MASK) == 0)
            Release(*pSlot);
        return true;
    }

    // Calls oVisit(content) for each open handle.
    template <class TVisitor>
    void ForEach(const TVisitor& oVisit)
    {
        for (std::uint32_t i = 0; i < CAPACITY; ++i)
        {
            const std::uint32_t nState = m_aSlots[i].nState.load(std::memory_order_acquire);
            if (PhaseOf(nState) != PHASE_OPEN)
                continue;

            const CPin oPin(*this, MakeHandle(nState, i));
            if (oPin)
                oVisit(*oPin);
        }
    }

private:
    // A slot's state: generation (16 bits), phase (2), number of pins (14). A handle: generation (16), index + 1 (12).
    static constexpr std::uint32_t GENERATION_STEP = 1U << 16;
    static constexpr std::uint32_t GENERATION_MASK = 0xFFFFU << 16;
    static constexpr std::uint32_t PHASE_FREE = 0;
    static constexpr std::uint32_t PHASE_OPEN = 1U << 14;
    static constexpr std::uint32_t PHASE_CLOSED = 2U << 14; // or not yet open
    static constexpr std::uint32_t PHASE_MASK = 3U << 14;
    static constexpr std::uint32_t COUNT_MASK = (1U << 14) - 1;
    static constexpr std::uint32_t INDEX_MASK = 0xFFF;
    static constexpr int HANDLE_GENERATION_SHIFT = 12;
    static constexpr int STATE_GENERATION_SHIFT = 16;

    struct sSlot
    {
        std::atomic<std::uint32_t> nState = 0;
        Content oContent = {};
    };

    static std::uint32_t PhaseOf(std::uint32_t nState) { return nState & PHASE_MASK; }

    static std::uint32_t MakeHandle(std::uint32_t nState, std::uint32_t nIndex)
    {
        return (nState >> STATE_GENERATION_SHIFT << HANDLE_GENERATION_SHIFT) | (nIndex + 1);
    }

    static bool IsOpenAs(std::uint32_t nState, std::uint32_t nHandle)
    {
        return PhaseOf(nState) == PHASE_OPEN && nState >> STATE_GENERATION_SHIFT == nHandle >> HANDLE_GENERATION_SHIFT;
    }

    sSlot* FindSlot(std::uint32_t nHandle)
    {
        const std::uint32_t nNumber = nHandle & INDEX_MASK;
        return nNumber != 0 ? &m_aSlots[nNumber - 1] : nullptr;
    }

    sSlot* Pin(std::uint32_t nHandle)
    {
        sSlot* pSlot = FindSlot(nHandle);
        if (pSlot == nullptr)
            return nullptr;

        std::uint32_t nState = pSlot->nState.load(std::memory_order_acquire);
        do
        {
            if (!IsOpenAs(nState, nHandle))
                return nullptr;
        } while (!pSlot->nState.compare_exchange_weak(nState, nState + 1, std::memory_order_acq_rel,
                                                      std::memory_order_acquire));
        return pSlot;
    }

    static void Unpin(sSlot& oSlot)
    {
        const std::uint32_t nBefore = oSlot.nState.fetch_sub(1, std::memory_order_acq_rel);
        if (PhaseOf(nBefore) == PHASE_CLOSED && (nBefore & COUNT_MASK) == 1)
            Release(oSlot);
    }

    // Only one thread comes here for each handle: the one that closed it while nobody worked on it, or the last worker.
    static void Release(sSlot& oSlot)
    {
        TTraits::Release(oSlot.oContent);
        oSlot.oContent = Content{};

        const std::uint32_t nState = oSlot.nState.load(std::memory_order_relaxed);
        oSlot.nState.store((nState & GENERATION_MASK) + GENERATION_STEP, std::memory_order_release);
    }

    std::array<sSlot, CAPACITY> m_aSlots = {};
    std::atomic<std::uint32_t> m_nCursor = 0;
};
} // namespace System
