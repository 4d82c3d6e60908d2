#pragma once

#include <memory>
#include <optional>
#include <span>

#include "platform/DirectoryService.h"
#include "platform/linux/LdapDirectory.h"

namespace gatehall {

/// The members that a group's entry lists, as far as they are in this directory.
struct LdapMembers {
  Strings userNames;   ///< login names, also of users that are not in this directory
  LdapEntries users;   ///< those listed by DN
  LdapEntries groups;  ///< nested groups
};

/// Raises as LdapDirectory::search.
LdapMembers membersOf(LdapDirectory& directory, const LdapEntry& group);

/// Looks the members of many groups up at once, for membersOf to find them.
void prefetchMembers(LdapDirectory& directory, const LdapEntries& groups);

/// Whether the record is a member of the group: because the group lists it, because it is the
/// user's primary group, or through groups nested in it. Asks upwards, a search for each depth, for
/// no longer than one question may take.
bool isMemberOf(LdapDirectory& directory, const LdapEntry& group, DirectoryRecord& record);

}  // namespace gatehall
