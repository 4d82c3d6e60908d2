#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/MembershipService.h"

namespace gatehall {

/// The identifier that a GUID's text stands for: 32 hexadecimal digits of either case, hyphens at
/// 8-4-4-4-12. Absent for any other text.
std::optional<Identifier> identifierOfGUID(std::string_view text);

}  // namespace gatehall
