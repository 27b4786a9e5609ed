#pragma once

#include <string>
#include <string_view>

/// A name for a mail slot on this computer that no other test uses.
///
/// @param pServer  "." for the server's own name, "*" for that of all computers, or a computer
std::string MailSlotName(const char* pServer, std::string_view sSlot);

/// Sends bytes to a slot as a program would that knows nothing of our rules: of any size, and, where messages travel
/// with a head of the system layer, without it.
///
/// @param sSlot  the last part of the name, in small letters
/// @return       false when the system did not take it
bool SendRawMail(std::string_view sSlot, std::string_view sBytes);

/// Tells whether this system can address all computers. The one under which the foreign programs run here cannot.
bool CanMailToAll();

/// Tells whether a client hears from the system that the server of its slot was closed. Under the foreign programs'
/// system here it does not: what is written is lost, and the name stays taken until the client is closed.
bool DoClientsNoticeClosedServers();

/// Tells whether a full queue is told to the client. Where it is not, the queue takes what memory there is, or the
/// write waits.
bool AreFullMailQueuesTold();

/// Tells whether a network interface can be named on this system.
bool CanNameMailInterface();
