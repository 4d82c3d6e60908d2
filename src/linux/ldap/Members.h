#pragma once

#include <memory>
#include <optional>
#include <span>

#include "gatehall/platform/DirectoryService.h"
#include "linux/ldap/Directory.h"

namespace gatehall::ldap {

/// The members of a group, as far as they are in this directory: those that its entry lists, and
/// those whose primary group it is.
struct Members {
  Strings userNames;  ///< login names, also of users that are not in this directory
  Entries users;      ///< those listed by DN, and those whose primary group it is
  Entries groups;     ///< nested groups
};

/// Raises as Directory::search.
Members membersOf(Directory& directory, const Entry& group);

/// Looks the members of many groups up at once, for membersOf to find them.
void prefetchMembers(Directory& directory, const Entries& groups);

/// Whether the record is a member of the group: because the group lists it, because it is the
/// user's primary group, or through groups nested in it. Asks upwards, a search for each depth, for
/// no longer than one question may take.
bool isMemberOf(Directory& directory, const Entry& group, DirectoryRecord& record);

}  // namespace gatehall::ldap
