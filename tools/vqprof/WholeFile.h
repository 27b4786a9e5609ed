#pragma once

#include <string>
#include <string_view>

/// The bytes of a file.
///
/// @throws CFailure  when it cannot be read
std::string ReadWholeFile(const std::string& sFile);

/// Writes a file. The bytes go to another name beside it first: a failure leaves an older file as it was.
///
/// @throws CFailure  when it cannot be written
void WriteWholeFile(const std::string& sFile, std::string_view sBytes);
