#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "ctl/request/Verb.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// The options that were given, by name, with their values in their order; a flag has none.
using GivenOptions = std::map<std::string, Strings, std::less<>>;

/// Reads "--name value", "--name=value" and flags; -h is --help. Returns what is none of these, in
/// order. After "--" no word is an option; with untilOperand, none after the first that is no
/// option. What was read before a mistake is given all the same. Raises UsageError for an option
/// that isn't known, with the nearest one, and for a value that is missing or too many.
Strings readOptions(std::span<const std::string> words, std::span<const Verb::Option> known,
                    bool untilOperand, GivenOptions& given);

/// "; did you mean 'NAME'?" for the one of the names that is near to the text, else nothing.
std::string whatWasMeant(std::string_view text, std::span<const std::string_view> names);

}  // namespace gatehall::ctl
