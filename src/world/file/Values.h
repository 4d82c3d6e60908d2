#pragma once

#include <cstdint>

#include "gatehall/base/Value.h"
#include "world/json/JsonCursor.h"

namespace gatehall {

/// A preference's or property list's value; {"$date": …} is a date, {"$data": …} bytes.
Value readValue(const JsonCursor& at);

/// An object of such values.
Dictionary readDictionary(const JsonCursor& at);

Date readDate(const JsonCursor& at);

/// A user or group id, as a number.
std::uint32_t readID(const JsonCursor& at);

/// The same from its decimal text; absent for any other text.
std::optional<std::uint32_t> idFromText(std::string_view text);

Strings readStrings(const JsonCursor& at);

}  // namespace gatehall
