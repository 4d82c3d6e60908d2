#pragma once

#include <string>

#include "accounts/AccountHost.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// Login names and aliases that come near to a text, a few, nearest first: those of the local node,
/// and those of network directories that answer at once with the few that they have alike. Raises
/// nothing of the host's.
Strings nearestLoginNames(const AccountHost& host, const std::string& text);

/// The same for groups.
Strings nearestGroupNames(const AccountHost& host, const std::string& text);

}  // namespace gatehall
