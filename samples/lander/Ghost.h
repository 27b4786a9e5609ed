#pragma once

// Shows: mail slots (Common/MailSlot/VQMailSlot.h) and a named mutex (Common/Platform/PlatformSync.h).
// Why: two windows of the game on one computer show each other's ship. The mutex tells the second that it is the
// second, so that each takes the slot that the other one writes to; messages may be lost, and nobody waits for one.

#include "Game.h"

class CGhost
{
public:
    /// @param sName  windows of the same name meet
    explicit CGhost(const std::string& sName)
        : m_sName(sName), m_hMutex(SYNC_CreateMutex(false, sName.c_str())),
          m_bSecond(SYNC_IsMutexLocked(m_hMutex) != 0), // the question takes a mutex that was free
          m_pOwn(OpenSlot(m_bSecond, true))
    {
    }

    ~CGhost()
    {
        SYNC_UnlockMutex(m_hMutex); // the second one has nothing to unlock
        SYNC_DestroyMutex(m_hMutex);
    }

    /// Whether there was another window before this one.
    bool IsSecond() const { return m_bSecond; }

    /// Tells the other one where this ship is; nothing when there is none.
    void Send(const sFlight& oFlight)
    {
        if (m_pOther == nullptr)
            m_pOther = OpenSlot(!m_bSecond, false);
        const auto Write = [&]
        {
            m_pOther->BeginWrite();
            m_pOther->Write(&oFlight, sizeof(oFlight));
            m_pOther->EndWrite();
        };
        if (m_pOther != nullptr && !GetError(Write).empty()) // the other window has been closed
            m_pOther = nullptr;
    }

    /// Where the other ship is; false, and oFlight as it was, when nothing new has come.
    bool Receive(sFlight& oFlight)
    {
        bool bReceived = false;
        for (int i = 0; i < MOST_MESSAGES && m_pOwn != nullptr && m_pOwn->AreMessagesWaiting(); ++i)
        {
            sFlight oOther;
            const bool bFlight = m_pOwn->GetMessageSize() == sizeof(oOther);
            m_pOwn->BeginRead();
            m_pOwn->Read(&oOther, sizeof(oOther));
            m_pOwn->EndRead();
            oOther.m_nThrottle = 0; // strangers may send anything: no flame is drawn of it
            oFlight = bFlight ? oOther : oFlight;
            bReceived = bReceived || bFlight;
        }
        return bReceived;
    }

private:
    static constexpr int MOST_MESSAGES = 20; // that are read at a time

    // Null when the slot is taken by a third window, or nobody is there.
    std::unique_ptr<CVQMailSlot> OpenSlot(bool bSecond, bool bServer) const
    {
        auto pSlot = std::make_unique<CVQMailSlot>();
        const std::string sSlot = "\\\\.\\mailslot\\" + m_sName + (bSecond ? "-2" : "-1");
        return GetError([&] { pSlot->Open(sSlot.c_str(), bServer); }).empty() ? std::move(pSlot) : nullptr;
    }

    std::string m_sName;
    void* m_hMutex;
    bool m_bSecond;
    std::unique_ptr<CVQMailSlot> m_pOwn, m_pOther;
};
