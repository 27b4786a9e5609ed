#pragma once

// Shows: mail slots (Common/MailSlot/VQMailSlot.h) and a named mutex (Common/Platform/PlatformSync.h).
// Why: two windows of the game on one computer show each other's ship. The mutex tells the second that it is the
// second, so that each takes the slot that the other one writes to; messages may be lost, and nobody waits for one.

#include <Common/MailSlot/VQMailSlot.h>
#include <Common/Platform/PlatformSync.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

class CGhost
{
public:
    /// Where a ship is.
    struct sShip
    {
        std::int32_t m_nLevel = -1, m_nX = 0, m_nY = 0, m_nTilt = 0;
    };

    /// @param sName  windows of the same name meet
    explicit CGhost(const std::string& sName)
        : m_sName(sName), m_hMutex(SYNC_CreateMutex(false, sName.c_str())),
          m_bSecond(SYNC_IsMutexLocked(m_hMutex) != 0), // the question takes a mutex that was free
          m_pOwn(OpenSlot(m_bSecond, true))
    {
    }

    ~CGhost()
    {
        if (!m_bSecond)
            SYNC_UnlockMutex(m_hMutex);
        SYNC_DestroyMutex(m_hMutex);
    }

    /// Whether there was another window before this one.
    bool IsSecond() const { return m_bSecond; }

    /// Tells the other one where this ship is; nothing when there is none.
    void Send(const sShip& oShip)
    {
        if (m_pOther == nullptr && --m_nWait <= 0)
        {
            m_nWait = PATIENCE;
            m_pOther = OpenSlot(!m_bSecond, false);
        }
        if (m_pOther == nullptr)
            return;
        try
        {
            const Message aMessage = {MARK, oShip.m_nLevel, oShip.m_nX, oShip.m_nY, oShip.m_nTilt};
            m_pOther->BeginWrite();
            m_pOther->Write(aMessage.data(), sizeof(aMessage));
            m_pOther->EndWrite();
        }
        catch (const CMailSlotException&) // the other window has been closed
        {
            m_pOther = nullptr;
        }
    }

    /// Where the other ship is; false, and oShip as it was, when nothing new has come.
    bool Receive(sShip& oShip)
    {
        bool bReceived = false;
        for (int i = 0; i < MOST_MESSAGES && m_pOwn != nullptr && m_pOwn->AreMessagesWaiting(); ++i)
        {
            Message aMessage{};
            const bool bWhole = m_pOwn->GetMessageSize() == sizeof(aMessage);
            m_pOwn->BeginRead();
            m_pOwn->Read(aMessage.data(), sizeof(aMessage));
            m_pOwn->EndRead();
            if (!bWhole || aMessage[0] != MARK)
                continue;
            oShip = {aMessage[1], aMessage[2], aMessage[3], aMessage[4]};
            bReceived = true;
        }
        return bReceived;
    }

private:
    using Message = std::array<std::int32_t, 5>;     // the mark, then the ship
    static constexpr std::int32_t MARK = 0x31484F47; // so that nothing else is taken for a message
    static constexpr int PATIENCE = 10;              // calls of Send() until the other one is looked for again
    static constexpr int MOST_MESSAGES = 20;         // that are read at a time

    std::unique_ptr<CVQMailSlot> OpenSlot(bool bSecond, bool bServer) const
    {
        try
        {
            auto pSlot = std::make_unique<CVQMailSlot>();
            pSlot->Open(("\\\\.\\mailslot\\" + m_sName + (bSecond ? "-2" : "-1")).c_str(), bServer);
            return pSlot;
        }
        catch (const CMailSlotException&) // taken by a third window, or nobody is there
        {
            return nullptr;
        }
    }

    std::string m_sName;
    void* m_hMutex;
    bool m_bSecond;
    std::unique_ptr<CVQMailSlot> m_pOwn, m_pOther;
    int m_nWait = 0;
};
