#pragma once

#include <string>

/// What tests of files ask of the system beyond the standard library. Each has an implementation for both systems.

/// Whether the system tells "A" from "a" in names of files.
bool HasCaseSensitiveNames();

/// Whether the system can have pipes, sockets and links among the files, and devices that fail.
bool HasSpecialFiles();

/// Whether this is a Windows program under Wine, which differs from Windows in a few things.
bool RunsUnderWine();

/// Whether permissions do not bind this process.
bool IsSuperuser();

/// Lets this process have so many files open at least; false when the system does not allow it.
bool AllowOpenFiles(unsigned nCount);

/// Lets this process open no more than so many files beyond those that it has open; false where that cannot be.
bool LimitOpenFiles(unsigned nMore);

/// Makes a named pipe; false when it cannot be.
bool MakePipe(const std::string& sPath);

/// Makes a socket under a name; false when it cannot be.
bool MakeSocket(const std::string& sPath);

/// The number of files that this process has open, -1 where that is not told.
int CountOpenFiles();
