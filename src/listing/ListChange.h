#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "listing/ListedUser.h"

namespace gatehall {

/// A difference between two states of a list of users.
struct ListChange {
  /// Of a user who moved nothing but the position is different.
  enum class Kind { Removed, Added, Changed, Moved };

  Kind kind;
  std::size_t position;  ///< in the list afterwards, of a removed user before; from 1
  std::shared_ptr<const ListedUser> user;  ///< as it is afterwards, a removed one as it was
  std::shared_ptr<const ListedUser> was;   ///< of one who changed or moved, as it was; else nullptr
  /// Where a user stood who stands elsewhere now among those who stayed.
  std::optional<std::size_t> formerPosition;
};

/// Whether the two are states of one user, as the list knows users: by the GUID, else by id and
/// short name.
bool isSameUser(const ListedUser& one, const ListedUser& other);

/// For each place of the list after the changes, from 0, the place before of whoever stands there;
/// absent: they are new. Absent as a whole: the changes are for no list of so many users.
std::optional<std::vector<std::optional<std::size_t>>> placesBefore(
    const std::vector<ListChange>& changes, std::size_t count);

/// What changed between two lists: first who is gone, in the order before, then who is new or
/// different, in the order afterwards. A user is known by the GUID, else by id and short name. As
/// few users as possible count as moved.
std::vector<ListChange> changesBetween(const ListedUsers& before, const ListedUsers& after);

}  // namespace gatehall
