#pragma once

#include <optional>

#include "gatehall/base/Export.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// The group records, found on the search node, whose GUIDs the group lists in NestedGroups. Absent
/// for a record that is no group, for a group that lists none, and when the query can't be made.
/// May raise PlatformException.
GATEHALL_EXPORT std::optional<Records> nestedGroups(DirectoryRecord& group);

/// The user records, found on the search node, whose short names the group lists in
/// GroupMembership. Absent and failing as nestedGroups.
GATEHALL_EXPORT std::optional<Records> users(DirectoryRecord& group);

}  // namespace gatehall
