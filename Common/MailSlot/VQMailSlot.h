#pragma once

#include <Common/Debug/MailSlotException.h>
#include <Common/Export.h>
#include <Common/String/VQString.h>

#include <array>
#include <cstdint>

/// Small messages by name: a server reads what clients send, on the same computer or on all of them.
///
/// A message is whatever was written between BeginWrite() and EndWrite(), at most 400 bytes. It carries no types: the
/// reader reads the same items in the same order.
///
///     CVQMailSlot oServer;                              CVQMailSlot oClient;
///     oServer.Open("\\\\.\\mailslot\\news", true);      oClient.Open("\\\\*\\mailslot\\news", false);
///
///     if (oServer.AreMessagesWaiting())                 oClient.BeginWrite();
///     {                                                 oClient.Write(&nNumber, 4);
///         oServer.BeginRead();                          oClient.Write(CVQString("text"));
///         oServer.Read(&nNumber, 4);                    oClient.EndWrite();
///         oServer.Read(sText);
///         oServer.EndRead();
///     }
///
/// Names, without regard to case; there is one server of a name on a computer:
///
/// | name                     | for                                                                                |
/// |--------------------------|------------------------------------------------------------------------------------|
/// | \\\\.\\mailslot\\NAME    | a server, and clients of the server on this computer                               |
/// | \\\\*\\mailslot\\NAME    | clients of the servers on all computers, this one included; there may be none      |
/// | \\\\HOST\\mailslot\\NAME | clients of the server on one computer                                              |
///
/// On Linux nothing leaves the computer and nothing is heard from others until SetInterface() names a network, except
/// for clients that name a HOST. A message to all then goes out by UDP to one group of the local network: each server
/// gets it once, or not at all when the network loses it.
///
/// A message arrives whole or not at all. What is larger than 400 bytes is dropped by the server. When the queue of a
/// server on this computer is full a client waits for at most a tenth of a second, and then EndWrite() throws; while
/// the queue stays full, later messages are refused at once.
///
/// Failures are thrown as CMailSlotException; the object stays usable. An object belongs to one thread at a time.
class COMMON_API CVQMailSlot
{
public:
    /// Largest message in bytes.
    static constexpr unsigned long MAX_MESSAGE_SIZE = 400;

    /// What GetMessageSize() returns when no message waits.
    static constexpr unsigned long NO_MESSAGE = 0xFFFFFFFF;

    /// Makes an object that is not open.
    CVQMailSlot() noexcept;

    /// Shares the other object's slot. Whichever is destroyed first closes it for both.
    CVQMailSlot(const CVQMailSlot&) = default;

    /// Shares the other object's slot; the own one stays open.
    CVQMailSlot& operator=(const CVQMailSlot&) = default;

    /// Closes the slot.
    virtual ~CVQMailSlot();

    /// Opens a slot by name. One that is open already is not closed first: it stays as it is until the program ends.
    ///
    /// @param bServer  true for the end that reads; its total of bytes read begins at 0, that of bytes written on a
    /// client
    /// @return         true
    /// @throw CMailSlotException  5000: the name is wrong or, for a server, taken, or, for a client, unknown. The
    /// object
    ///                            is then as it was.
    bool Open(const char* pName, bool bServer);

    /// Closes the slot. The object keeps the old handle, so that IsOpened() goes on being true, and the destructor
    /// closes it once more; a closed handle is never another's. Kept: owners destroy the object, or open it again.
    ///
    /// @return false when nothing was ever opened
    bool Close();

    /// Tells whether a slot was opened.
    bool IsOpened() const noexcept;

    /// Begins an empty message.
    ///
    /// @throw CMailSlotException  5001: not open
    void BeginWrite();

    /// Adds bytes to the message.
    ///
    /// @return true
    /// @throw CMailSlotException  5003: the message would be larger than 400 bytes; it stays as it was
    bool Write(const void* pData, unsigned long nSize);

    /// Adds a text: its length in 4 bytes, then its bytes without the terminator.
    ///
    /// @return true
    /// @throw CMailSlotException  5003: the message would be larger than 400 bytes; it stays as it was
    bool Write(const CVQString& sText);

    /// Sends the message.
    ///
    /// @throw CMailSlotException  5003: it could not be sent
    void EndWrite();

    /// Takes the next message. When there is none, that is not told: Read() then finds zeros.
    ///
    /// @throw CMailSlotException  5001: not open
    void BeginRead();

    /// Reads bytes from the message; behind its end, and within 400 bytes, there are zeros.
    ///
    /// @return true
    /// @throw CMailSlotException  5002: there are not as many up to 400; the position and *pData stay as they were
    bool Read(void* pData, unsigned long nSize);

    /// Reads a text. A length below 1 leaves the string as it is.
    ///
    /// @return true
    /// @throw CMailSlotException  5002: the text would go on behind 400 bytes; the position and the string stay as they
    ///                            were
    bool Read(CVQString& sText);

    /// Ends what BeginRead() began.
    void EndRead() noexcept {}

    /// Tells whether a message waits. Always false for a client, without asking the system.
    bool AreMessagesWaiting() const;

    /// The largest message that the slot was made for: 0 says that there is no such limit. 0 also for a client.
    unsigned long GetMaxMessageSize() const;

    /// Bytes of the next message; NO_MESSAGE when none waits, 0 for a client.
    unsigned long GetMessageSize() const;

    /// Bytes that EndWrite() has sent since a client was opened.
    unsigned long GetTotalBytesWritten() const noexcept { return m_nTotalBytesWritten; }

    /// Bytes that BeginRead() has received since a server was opened.
    unsigned long GetTotalBytesRead() const noexcept { return m_nTotalBytesRead; }

    /// Names the network interface, such as "eth0", on which the messages to all of this process leave the computer,
    /// and on which its servers hear other computers. It holds for open objects at once, and for later ones.
    ///
    /// Null, an empty name and the loopback interface take it back: that is how every process begins.
    ///
    /// @return false when there is no such interface, or when an open object cannot use it. Always false on Windows,
    ///         where the system itself decides where messages to all go.
    static bool SetInterface(const char* pInterface);

private:
    [[noreturn]] void ThrowException(unsigned long nCode, unsigned long nLine, const char* pFileName,
                                     const char* pMessage) const;

    void* m_hSlot;
    bool m_bServer;
    std::uint32_t m_nTotalBytesWritten;
    std::uint32_t m_nTotalBytesRead;
    std::array<char, MAX_MESSAGE_SIZE> m_aMessage;
    std::uint32_t m_nPosition;
};

static_assert(sizeof(void*) != 4 || sizeof(CVQMailSlot) == 424, "the layout that the 32-bit callers know");
