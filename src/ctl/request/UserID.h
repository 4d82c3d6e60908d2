#pragma once

#include <cstdint>
#include <string>

namespace gatehall::ctl {

/// The user id that the text is in decimal, 0 to 4294967294, in the form in which lookups take it.
/// Raises UsageError for any other text. 4294967295 stands for no user (chown(2)).
std::int32_t userIDOperand(const std::string& text);

}  // namespace gatehall::ctl
