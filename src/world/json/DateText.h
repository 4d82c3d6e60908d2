#pragma once

#include <optional>
#include <string_view>

#include "gatehall/base/Value.h"

namespace gatehall {

/// A moment as RFC 3339 writes it ("2026-11-21T09:00:00Z", "2026-11-21T10:00:00.5+01:00"). Absent
/// for any other text and for days and times that don't exist.
std::optional<Date> dateFromText(std::string_view text);

}  // namespace gatehall
