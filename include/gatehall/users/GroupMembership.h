#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "gatehall/base/Export.h"
#include "gatehall/platform/DirectoryService.h"
#include "gatehall/users/CachedUserList.h"

namespace gatehall {

/// The groups that one expansion has walked, by GUID. It keeps cycles of nested groups from being
/// walked for ever, and every group from being walked twice.
using VisitedGroups = std::unordered_map<std::string, std::shared_ptr<DirectoryRecord>>;

/// The GUIDs of the group's users, then of the users of its nested groups, in the order found;
/// somebody who is in two groups is there twice. Absent for a record that is no group or has no
/// GUID, for a group already walked, and without a record or a dictionary. May raise
/// PlatformException, also for a member without a GUID.
GATEHALL_EXPORT std::optional<Strings> groupMemberGUIDs(
    const std::shared_ptr<DirectoryRecord>& group, VisitedGroups* visited);

/// GUIDs of users and groups turned into GUIDs of users, groups by groupMemberGUIDs, in the order
/// in which the search node answers. GUIDs that name nothing contribute nothing. Absent for an
/// absent list, and when none names anything. May raise PlatformException.
GATEHALL_EXPORT std::optional<Strings> expandGUIDList(const std::optional<Strings>& guids);

/// The users of the local group "admin", nested groups included; nullptr without that group. May
/// raise PlatformException.
GATEHALL_EXPORT std::shared_ptr<CachedUserList> adminGroupUsers();

}  // namespace gatehall
