#pragma once

#include <string>
#include <vector>

/// The fenced blocks of a page whose fence has one of these languages: each its lines, with a line end behind every
/// one.
std::vector<std::string> BlocksOfGuide(const std::string& sPage, const std::vector<std::string>& oLanguages);

/// Whether a source holds all lines of a block, one behind another. How far they are indented does not count.
bool HoldsBlock(const std::string& sSource, const std::string& sBlock);

/// The blocks of C++ and of output that a page shows and the source that runs them does not hold; says so when the page
/// has none at all. Empty when all is well.
///
/// @param pPage    the page, "strings-and-paths.md"
/// @param pSource  the test, "House/StringsGuide_test.cpp"
std::string WhatIsNotRun(const char* pPage, const char* pSource);
