#pragma once

#include <cstdint>
#include <string>

namespace gatehall::ctl {

/// The user id that the text is in decimal, 0 to 4294967295, in the form in which lookups take it.
/// Raises UsageError for any other text.
std::int32_t userIDOperand(const std::string& text);

}  // namespace gatehall::ctl
