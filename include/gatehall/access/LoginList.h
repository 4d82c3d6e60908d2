#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "gatehall/access/PreferenceSource.h"
#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// In an allow or deny list: every user.
inline constexpr std::string_view kEveryone = "*";

/// An allow or deny list, expanded: GUIDs of users, or kEveryone alone.
struct GATEHALL_EXPORT LoginList {
  Strings guids;
  PreferenceSource source;

  bool holdsEveryone() const { return holds(std::string(kEveryone)); }
  bool holds(const std::optional<std::string>& guid) const;
};

}  // namespace gatehall
