#pragma once

#include "GraphPicture.h"

#include <string>

/// Writes a picture as a PNG file; it appears under its name when it is whole.
///
/// @throws CFailure  when it cannot be written, or this program was built without a library for it
void WritePng(const std::string& sFile, const CPicture& oPicture);
