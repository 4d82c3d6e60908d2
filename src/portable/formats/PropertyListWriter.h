#pragma once

#include <string>
#include <string_view>

#include "gatehall/base/Value.h"

namespace gatehall {

/// The value as an XML property list, as checkPropertyListGrammar has it and parsePropertyList
/// reads it back: UTF-8, each element on a line of its own. A date is cut to the second. Raises
/// MalformedPropertyList for what such a list can't hold: text that is not UTF-8 or has control
/// characters, a key without characters, a real that is no number, a date beyond the years 0 to
/// 9999.
std::string propertyListText(const Value& value);

/// One value of it, over several lines where it has several, the first one without indentation and
/// the others indented at least as deep as that; no line end behind it.
std::string propertyListElement(const Value& value, std::string_view indentation);

/// A text as it stands between the tags of such a list.
std::string propertyListCharacters(std::string_view text);

}  // namespace gatehall
