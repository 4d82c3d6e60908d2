#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace gatehall {

/// A number for the name that logind gives a session, such as `2` or `c2`: different names have
/// different numbers, and a decimal name's is the one it writes. Empty for names that have none:
/// the empty one, those longer than ten characters that aren't decimal, those with other characters
/// than ASCII letters and digits.
std::optional<std::int64_t> sessionNumber(std::string_view name);

}  // namespace gatehall
