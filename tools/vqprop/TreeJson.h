#pragma once

#include "PropertyTree.h"

#include <string>
#include <string_view>

/// A document as JSON. Reading it back gives the same document, to the bit.
///
/// Properties are objects with "type", "value" and, where there is one, "format"; elements of structs and attributes of
/// lists have a "name" too. A text is a string, or {"hex": "..."} where its bytes are no UTF-8, or {"id": 5} for a
/// localised text. A float that is no number is "nan", "inf", "-inf" or "nan:0x7FC00001".
std::string ToJson(const sDocument& oDocument);

/// @throws std::runtime_error  tells what is wrong
sDocument FromJson(std::string_view sJson);

/// A single property.
///
/// @throws std::runtime_error  tells what is wrong
sNode NodeFromJson(std::string_view sJson);
