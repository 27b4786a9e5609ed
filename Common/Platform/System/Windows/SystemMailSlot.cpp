#include <Common/Platform/System/SystemMailSlot.h>

#include <Common/Platform/System/SystemHandleTable.h>
#include <Common/Platform/System/SystemMailSlotName.h>

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace System
{
namespace
{
static_assert(MAILSLOT_NO_MESSAGE == NO_MAIL);

constexpr std::size_t MAX_QUEUED_MAIL = 4096;

class CMailSlotEnd
{
public:
    CMailSlotEnd(std::string sName, bool bServer)
        : m_sName(std::move(sName)), m_bServer(bServer),
          m_hSlot(bServer ? CreateMailslotA(m_sName.c_str(), 0, 0, nullptr) : OpenClient(m_sName.c_str()))
    {
    }

    ~CMailSlotEnd()
    {
        if (IsOpen())
            CloseHandle(m_hSlot);
    }

    CMailSlotEnd(const CMailSlotEnd&) = delete;
    CMailSlotEnd& operator=(const CMailSlotEnd&) = delete;

    bool IsOpen() const { return m_hSlot != INVALID_HANDLE_VALUE; }

    bool Write(const void* pData, unsigned long nSize)
    {
        const std::lock_guard oLock(m_oMutex);
        if (m_bServer)
            return false;
        if (IsOpen() && WriteOnce(pData, nSize))
            return true;

        // The server may have been closed and opened again: the system's handle is that of the one before.
        if (IsOpen())
            CloseHandle(m_hSlot);
        m_hSlot = OpenClient(m_sName.c_str());
        return IsOpen() && WriteOnce(pData, nSize);
    }

    bool Read(void* pData, unsigned long& nSize)
    {
        const std::lock_guard oLock(m_oMutex);
        if (m_oQueue.empty())
            Collect();
        if (m_oQueue.empty())
            return false;

        const std::string& sMail = m_oQueue.front();
        nSize = static_cast<unsigned long>(sMail.size());
        std::memcpy(pData, sMail.data(), sMail.size());
        m_oQueue.pop_front();
        return true;
    }

    bool Query(sMailSlotInfo& oInfo)
    {
        const std::lock_guard oLock(m_oMutex);
        Collect();
        if (!QuerySystem(oInfo))
            return false;

        if (!m_oQueue.empty())
            oInfo.nNextSize = static_cast<unsigned long>(m_oQueue.front().size());
        oInfo.nCount += static_cast<unsigned long>(m_oQueue.size());
        return true;
    }

private:
    // Writing is shared too: without it a second client of the same slot would be refused.
    static HANDLE OpenClient(const char* pName)
    {
        return CreateFileA(pName, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    }

    bool WriteOnce(const void* pData, unsigned long nSize)
    {
        DWORD nWritten = 0;
        return WriteFile(m_hSlot, pData, nSize, &nWritten, nullptr) != FALSE && nWritten == nSize;
    }

    bool QuerySystem(sMailSlotInfo& oInfo)
    {
        DWORD nMaxSize = 0;
        DWORD nNextSize = 0;
        DWORD nCount = 0;
        if (!m_bServer || GetMailslotInfo(m_hSlot, &nMaxSize, &nNextSize, &nCount, nullptr) == FALSE)
            return false;
        oInfo = {nMaxSize, nNextSize, nCount};
        return true;
    }

    // Moves what the system holds into our queue: not every system that runs this counts its messages. One that nobody
    // would take is dropped, so that it does not stand before the others for ever.
    void Collect()
    {
        sMailSlotInfo oInfo;
        while (m_oQueue.size() < MAX_QUEUED_MAIL && QuerySystem(oInfo) && oInfo.nNextSize != NO_MAIL)
        {
            // An empty message wants room too. Not every system that runs this calls it a success: one takes it off the
            // queue and says that the other end is gone.
            std::string sMail(std::max(oInfo.nNextSize, MAX_MAIL_SIZE), '\0');
            DWORD nRead = 0;
            if (ReadFile(m_hSlot, sMail.data(), static_cast<DWORD>(sMail.size()), &nRead, nullptr) == FALSE &&
                (oInfo.nNextSize != 0 || GetLastError() != ERROR_BROKEN_PIPE))
                return;

            sMail.resize(nRead);
            if (nRead <= MAX_MAIL_SIZE)
                m_oQueue.push_back(std::move(sMail));
        }
    }

    const std::string m_sName;
    const bool m_bServer;
    std::mutex m_oMutex;
    HANDLE m_hSlot;
    std::deque<std::string> m_oQueue;
};

struct sMailSlotTraits
{
    using Content = CMailSlotEnd*;

    static void Release(CMailSlotEnd* pEnd) { delete pEnd; }
};

using MailSlotTable = CHandleTable<sMailSlotTraits>;
constinit MailSlotTable g_oSlots;

MailSlotHandle OpenEnd(const char* pName, bool bServer)
{
    sMailSlotName oName;
    if (!ParseMailSlotName(pName, oName) || (bServer && oName.nScope != eMailSlotScope::Local))
        return 0;

    auto pEnd = std::make_unique<CMailSlotEnd>(MakeMailSlotName(oName), bServer);
    const MailSlotHandle nSlot = pEnd->IsOpen() ? g_oSlots.Add(pEnd.get()) : 0;
    if (nSlot != 0)
        pEnd.release();
    return nSlot;
}
} // namespace

MailSlotHandle OpenMailSlotServer(const char* pName)
{
    return OpenEnd(pName, true);
}

MailSlotHandle OpenMailSlotClient(const char* pName)
{
    return OpenEnd(pName, false);
}

bool CloseMailSlot(MailSlotHandle nSlot)
{
    return g_oSlots.Close(nSlot);
}

bool WriteMailSlot(MailSlotHandle nClient, const void* pData, unsigned long nSize)
{
    const MailSlotTable::CPin oPin(g_oSlots, nClient);
    return oPin && nSize <= MAX_MAIL_SIZE && (*oPin)->Write(pData, nSize);
}

bool ReadMailSlot(MailSlotHandle nServer, void* pData, unsigned long& nSize)
{
    const MailSlotTable::CPin oPin(g_oSlots, nServer);
    return oPin && (*oPin)->Read(pData, nSize);
}

bool QueryMailSlot(MailSlotHandle nServer, sMailSlotInfo& oInfo)
{
    const MailSlotTable::CPin oPin(g_oSlots, nServer);
    return oPin && (*oPin)->Query(oInfo);
}

bool SetMailSlotInterface(const char*)
{
    // The system itself decides on which networks it tells all computers.
    return false;
}
} // namespace System
