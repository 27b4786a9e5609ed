#pragma once

/// @file
/// CExtendedFileSystem::CreateFile() called from sources in which a system header has made CreateFile a macro. On
/// Windows it is the system's own header, elsewhere a macro of the same kind.

/// Calls it where the system header stands before the library's.
unsigned long CreateFileAfterMacros(const char* pName);

/// Calls it where the system header stands behind the library's.
unsigned long CreateFileBeforeMacros(const char* pName);
