#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

// A directory value may be one string, a list of strings or a number; these make the three read
// alike.

/// A list's element at the index, absent beyond its end; a string or number itself, whatever the
/// index.
GATEHALL_EXPORT std::optional<Value> attrAtIndex(const Value& value, std::uint64_t index);

/// Whether the string, or one of the list's, is exactly equal (case-sensitive). A number never is.
GATEHALL_EXPORT bool isAttrEqualToString(const Value& value, std::string_view text);

/// Whether the text occurs (case-sensitive) in the string, or in one of the list's. In a number it
/// never does.
GATEHALL_EXPORT bool doesAttrContainString(const Value& value, std::string_view text);

}  // namespace gatehall
