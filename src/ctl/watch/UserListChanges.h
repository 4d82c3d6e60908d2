#pragma once

#include <cstddef>
#include <vector>

#include "ctl/print/Json.h"

namespace gatehall::ctl {

/// A difference between two states of a list of users.
struct UserListChange {
  enum class Kind { Removed, Added, Changed };

  Kind kind;
  std::size_t position;  ///< in the list afterwards, of a removed user before; from 1
  Json user;             ///< as it is afterwards, a removed one as it was
  /// Of a changed user what is different, as it was, by key; with "position" when the user stands
  /// elsewhere among those who stayed.
  Json was;
};

/// What changed between two lists of users (usersJson): first who is gone, in the order before,
/// then who is new or changed, in the order afterwards. As few users as possible count as moved.
std::vector<UserListChange> changesBetween(const Json& before, const Json& after);

}  // namespace gatehall::ctl
