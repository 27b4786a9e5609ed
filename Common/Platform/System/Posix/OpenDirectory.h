#pragma once

// Not for users.

namespace System
{
/// Opens a directory for reading, by the rules for paths of SystemFile.h.
///
/// @return its descriptor, to be closed; -1 on failure, ENAMETOOLONG for a path that the system does not take at once
int OpenDirectory(const char* pPath) noexcept;
} // namespace System
