#pragma once

#include "PropertyTree.h"

#include <functional>
#include <string>
#include <string_view>

/// Texts for people, and paths.
///
/// A path names a property from the root: names with dots between them, an element of a list by its index
/// ("corners[0].x"), an attribute of one behind "@". Names may hold dots themselves; "." is the root.

/// A text between quotes; what is no printable UTF-8 is escaped.
std::string Quote(const sText& oText);

/// A float in the fewest digits that read back as the same.
std::string FloatText(float fValue);

/// The type and, for what is no container, the value: `int = 5`.
std::string Describe(const sNode& oNode);

/// The document as an indented tree.
std::string ShowDocument(const sDocument& oDocument);

/// What is inside of a container, indented.
std::string ShowChildren(const sNode& oNode);

/// A value alone, without quotes.
std::string PlainValue(const sNode& oNode);

/// Calls Visit(path, node) for each property below the root, parents first.
void VisitAll(const sNode& oRoot, const std::function<void(const std::string&, const sNode&)>& Visit);

/// The property of a path, null when there is none.
sNode* FindNode(sNode& oRoot, std::string_view sPath);

/// The property of a path, which is added, undefined, when there is none but something that it can be added to.
///
/// @param sWhy  is told when there is not
sNode* DemandNode(sNode& oRoot, std::string_view sPath, std::string& sWhy);

/// Removes the property of a path.
bool RemoveNode(sNode& oRoot, std::string_view sPath);

/// Finds the first element of a list that is not of its type; its path is told.
///
/// @return "" when there is none
std::string FindMisfit(const sDocument& oDocument);
