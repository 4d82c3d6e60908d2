#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "gatehall/base/Export.h"
#include "gatehall/platform/DirectoryService.h"
#include "gatehall/users/CachedUserList.h"

namespace gatehall {

/// How a name is matched, by index: 0 equal ignoring case, 1 equal, 2 contained ignoring case, 3
/// contained. Any other index is 0.
using MatchKindIndex = std::uint32_t;

/// The node's users with a matching name, filtered by user id (kNoUserID: any), sorted by long
/// name. nullptr without a name or a node, and when the query can't be made; after a failure of the
/// directory, which is logged, an empty list.
GATEHALL_EXPORT std::shared_ptr<CachedUserList> cachedUserListForName(
    const std::optional<std::string>& name, std::int32_t userIDFilter,
    const std::shared_ptr<DirectoryNode>& node, MatchKindIndex matchKindIndex);

/// The same on the search node; nullptr after a failure to get at that node, which is logged.
GATEHALL_EXPORT std::shared_ptr<CachedUserList> searchNodeUsersForName(
    const std::optional<std::string>& name, std::int32_t userIDFilter,
    MatchKindIndex matchKindIndex);

/// searchNodeUsersForName for any user id.
GATEHALL_EXPORT std::shared_ptr<CachedUserList> searchNodeUsersMatchingName(
    const std::optional<std::string>& name, MatchKindIndex matchKindIndex);

/// All users of the local node, sorted by long name; nullptr without that node and after a failure
/// to get at it, which is logged.
GATEHALL_EXPORT std::shared_ptr<CachedUserList> localNodeUsers();

/// All users of the network nodes, which are the nodes that the search node covers from the third
/// on, in the order of the nodes, not sorted. A node that can't be opened contributes none; after a
/// failure of the directory, which is logged, nullptr.
GATEHALL_EXPORT std::shared_ptr<CachedUserList> networkUsers();

}  // namespace gatehall
