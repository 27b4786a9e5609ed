#include <Common/MailSlot/VQMailSlot.h>

#include <Common/Platform/System/SystemMailSlot.h>

#include <algorithm>
#include <cstring>

static_assert(CVQMailSlot::MAX_MESSAGE_SIZE == System::MAX_MAIL_SIZE);
static_assert(CVQMailSlot::NO_MESSAGE == System::NO_MAIL);

namespace
{
constexpr const char* SOURCE_FILE = "Common/MailSlot/VQMailSlot";

constexpr unsigned long ERROR_OPEN = 5000;
constexpr unsigned long ERROR_NOT_OPENED = 5001;
constexpr unsigned long ERROR_READ = 5002;
constexpr unsigned long ERROR_WRITE = 5003;

constexpr const char* TEXT_OPEN = "Mailslot could not be opened.";
constexpr const char* TEXT_NOT_OPENED = "There is no mailslot opened.";
constexpr const char* TEXT_READ = "Could not read data to mailslot.";
constexpr const char* TEXT_WRITE = "Could not write data to mailslot.";

constexpr std::uint32_t LENGTH_SIZE = 4;

System::MailSlotHandle ToSlot(const void* hSlot)
{
    return static_cast<System::MailSlotHandle>(reinterpret_cast<std::uintptr_t>(hSlot));
}

void* FromSlot(System::MailSlotHandle nSlot)
{
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(nSlot));
}

bool Fits(std::uint32_t nPosition, unsigned long nSize)
{
    return nPosition <= System::MAX_MAIL_SIZE && nSize <= System::MAX_MAIL_SIZE - nPosition;
}
} // namespace

CVQMailSlot::CVQMailSlot() noexcept
    : m_hSlot(nullptr), m_bServer(false), m_nTotalBytesWritten(0), m_nTotalBytesRead(0), m_aMessage(), m_nPosition(0)
{
}

CVQMailSlot::~CVQMailSlot()
{
    Close();
}

bool CVQMailSlot::Open(const char* pName, bool bServer)
{
    const System::MailSlotHandle nSlot =
        bServer ? System::OpenMailSlotServer(pName) : System::OpenMailSlotClient(pName);
    if (nSlot == 0)
        ThrowException(ERROR_OPEN, __LINE__, SOURCE_FILE, TEXT_OPEN);

    m_hSlot = FromSlot(nSlot);
    m_bServer = bServer;
    (bServer ? m_nTotalBytesRead : m_nTotalBytesWritten) = 0;
    return true;
}

bool CVQMailSlot::Close()
{
    if (!IsOpened())
        return false;

    System::CloseMailSlot(ToSlot(m_hSlot));
    return true;
}

bool CVQMailSlot::IsOpened() const noexcept
{
    return m_hSlot != nullptr;
}

void CVQMailSlot::BeginWrite()
{
    if (!IsOpened())
        ThrowException(ERROR_NOT_OPENED, __LINE__, SOURCE_FILE, TEXT_NOT_OPENED);

    m_aMessage.fill('\0');
    m_nPosition = 0;
}

bool CVQMailSlot::Write(const void* pData, unsigned long nSize)
{
    if (!Fits(m_nPosition, nSize))
        ThrowException(ERROR_WRITE, __LINE__, SOURCE_FILE, TEXT_WRITE);

    if (nSize != 0)
        std::memcpy(m_aMessage.data() + m_nPosition, pData, nSize);
    m_nPosition += static_cast<std::uint32_t>(nSize);
    return true;
}

bool CVQMailSlot::Write(const CVQString& sText)
{
    // Both parts or none: a length without its text would be a message that nobody can read.
    const auto nLength = static_cast<std::int32_t>(sText.GetLength());
    const auto nSize = static_cast<std::uint32_t>(std::max(nLength, 0));
    if (!Fits(m_nPosition, nSize) || !Fits(m_nPosition + nSize, LENGTH_SIZE))
        ThrowException(ERROR_WRITE, __LINE__, SOURCE_FILE, TEXT_WRITE);

    return Write(&nLength, LENGTH_SIZE) && Write(sText.GetString(), nSize);
}

void CVQMailSlot::EndWrite()
{
    const std::uint32_t nSize = std::min(m_nPosition, static_cast<std::uint32_t>(MAX_MESSAGE_SIZE));
    if (!System::WriteMailSlot(ToSlot(m_hSlot), m_aMessage.data(), nSize))
        ThrowException(ERROR_WRITE, __LINE__, SOURCE_FILE, TEXT_WRITE);

    m_nTotalBytesWritten += nSize;
}

void CVQMailSlot::BeginRead()
{
    if (!IsOpened())
        ThrowException(ERROR_NOT_OPENED, __LINE__, SOURCE_FILE, TEXT_NOT_OPENED);

    m_nPosition = 0;
    m_aMessage.fill('\0');
    unsigned long nSize = 0;
    if (System::ReadMailSlot(ToSlot(m_hSlot), m_aMessage.data(), nSize))
        m_nTotalBytesRead += static_cast<std::uint32_t>(nSize);
}

bool CVQMailSlot::Read(void* pData, unsigned long nSize)
{
    if (!Fits(m_nPosition, nSize))
        ThrowException(ERROR_READ, __LINE__, SOURCE_FILE, TEXT_READ);

    if (nSize != 0)
        std::memcpy(pData, m_aMessage.data() + m_nPosition, nSize);
    m_nPosition += static_cast<std::uint32_t>(nSize);
    return true;
}

bool CVQMailSlot::Read(CVQString& sText)
{
    const std::uint32_t nStart = m_nPosition;
    std::int32_t nLength = 0;
    Read(&nLength, LENGTH_SIZE);
    if (nLength < 1)
        return true;

    // The length comes from outside: it is held against the message before memory is taken for it.
    if (!Fits(m_nPosition, static_cast<std::uint32_t>(nLength)))
    {
        m_nPosition = nStart;
        ThrowException(ERROR_READ, __LINE__, SOURCE_FILE, TEXT_READ);
    }

    Read(sText.GetBuffer(nLength), static_cast<std::uint32_t>(nLength));
    sText.ReleaseBuffer(nLength);
    return true;
}

bool CVQMailSlot::AreMessagesWaiting() const
{
    System::sMailSlotInfo oInfo;
    return m_bServer && System::QueryMailSlot(ToSlot(m_hSlot), oInfo) && oInfo.nCount > 0;
}

unsigned long CVQMailSlot::GetMaxMessageSize() const
{
    System::sMailSlotInfo oInfo;
    return System::QueryMailSlot(ToSlot(m_hSlot), oInfo) ? oInfo.nMaxSize : 0;
}

unsigned long CVQMailSlot::GetMessageSize() const
{
    System::sMailSlotInfo oInfo;
    return System::QueryMailSlot(ToSlot(m_hSlot), oInfo) ? oInfo.nNextSize : 0;
}

bool CVQMailSlot::SetInterface(const char* pInterface)
{
    return System::SetMailSlotInterface(pInterface);
}

void CVQMailSlot::ThrowException(unsigned long nCode, unsigned long nLine, const char* pFileName,
                                 const char* pMessage) const
{
    throw CMailSlotException(nCode, nLine, pFileName, pMessage);
}
