#pragma once

#include <cstdint>

// Datagram channels by name: a server reads the whole messages that clients send.
//
//     \\.\mailslot\NAME        on this computer
//     \\*\mailslot\NAME        on every computer that is reached, this one included; for clients
//     \\HOST\mailslot\NAME     on one computer; for clients
//
// Both separators and every case are the same in all parts of a name. There is one server of a name on a computer; the
// name is free again when the server is closed or its process is gone, however it went.
//
// Handles are the library's own, above 0: one that was closed stays closed, and using or closing it again touches
// nothing. Any thread may call. A client outlives the servers that it speaks to: it finds the next one by itself.
namespace System
{
using MailSlotHandle = std::uint32_t;

inline constexpr unsigned long MAX_MAIL_SIZE = 400;
inline constexpr unsigned long NO_MAIL = 0xFFFFFFFF;

// Opens the server of a name on this computer; 0 when the name is wrong or taken.
MailSlotHandle OpenMailSlotServer(const char* pName);

// Opens a client. On this computer the server must be there; 0 when it is not, or when the name is wrong or unknown.
MailSlotHandle OpenMailSlotClient(const char* pName);

// Closes either end. False when the handle is not open.
bool CloseMailSlot(MailSlotHandle nSlot);

// Sends one message of at most MAX_MAIL_SIZE bytes. False when it is larger, the server on this computer is gone or its
// queue is full and stays so for a tenth of a second; the next message does not wait that long for the same queue.
// A message to all is sent also when nobody listens.
bool WriteMailSlot(MailSlotHandle nClient, const void* pData, unsigned long nSize);

// Takes the next message; pData has MAX_MAIL_SIZE bytes. False when there is none.
// Larger messages, and what is no message of ours, never get so far: they are dropped.
bool ReadMailSlot(MailSlotHandle nServer, void* pData, unsigned long& nSize);

struct sMailSlotInfo
{
    unsigned long nMaxSize;  // 0: no limit was set
    unsigned long nNextSize; // size of the next message, NO_MAIL when there is none
    unsigned long nCount;    // messages that are waiting
};

// Tells what is waiting. False when the handle is not that of a server.
bool QueryMailSlot(MailSlotHandle nServer, sMailSlotInfo& oInfo);

// Names the network interface on which messages to all leave this computer and on which servers hear other computers.
// Null, an empty name and the loopback interface take that back, which is the state at the start. False when there is
// no such interface, when it cannot be used, or when this is the system's own affair.
bool SetMailSlotInterface(const char* pInterface);
} // namespace System
