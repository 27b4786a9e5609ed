#pragma once

#include <filesystem>
#include <string_view>

/// The absolute path of a file of this folder's parent, "tests"; on Windows on the drive that the program came from.
std::filesystem::path GetTestPath(std::string_view sName);

/// The absolute path of a file in tests/golden/.
std::filesystem::path GetGoldenPath(std::string_view sName);
