#pragma once

#include <string>
#include <vector>

/// The fenced blocks of a page whose fence has one of these languages: each its lines, with a line end behind every
/// one.
std::vector<std::string> BlocksOfGuide(const std::string& sPage, const std::vector<std::string>& oLanguages);

/// Whether a source holds all lines of a block, one behind another. How far they are indented does not count.
bool HoldsBlock(const std::string& sSource, const std::string& sBlock);
