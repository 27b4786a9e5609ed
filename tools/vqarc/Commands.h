#pragma once

#include <string>

// The commands of vqarc. Each throws CFailure or an exception of the library when it fails.

/// Packs a directory; the archive appears under its name when it is whole.
void CreateArchive(const std::string& sArchive, const std::string& sDirectory);

/// Writes the paths of all files and directories, with bLong their sizes too.
void ListArchive(const std::string& sArchive, bool bLong);

/// Unpacks an archive into a directory of its name below sDirectory, which is made when it is missing.
void ExtractArchive(const std::string& sArchive, const std::string& sDirectory);

/// Writes the bytes of one file.
void PrintFile(const std::string& sArchive, const std::string& sPath);

/// Checks an archive, and compares it with a directory unless that is "".
void VerifyArchive(const std::string& sArchive, const std::string& sDirectory);
