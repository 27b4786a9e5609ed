#pragma once

// Not for users.

/// @file
/// The codes of CXfsException that the file system throws, and the source that it names.

namespace XfsError
{
inline constexpr const char* SOURCE_FILE = "Common/File/ExtendedFileSystem";

inline constexpr unsigned long TOO_MANY_FILES = 4001;
inline constexpr unsigned long NOT_FOUND = 4002;
inline constexpr unsigned long CREATE = 4005;
inline constexpr unsigned long READ = 4006;
inline constexpr unsigned long WRITE = 4007;
inline constexpr unsigned long HANDLE = 4008;
inline constexpr unsigned long SEEK = 4009;
inline constexpr unsigned long OPEN = 4010;
inline constexpr unsigned long HEADER = 4012;
inline constexpr unsigned long TABLE = 4013;
inline constexpr unsigned long VERSION = 4014;
inline constexpr unsigned long APPEND = 4015;
inline constexpr unsigned long DIRECTORY = 4016;
} // namespace XfsError
