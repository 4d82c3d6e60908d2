#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "platform/DirectoryService.h"
#include "platform/linux/LdapDirectory.h"

namespace gatehall {

/// The entries of the types that have any of the values, which are compared as they stand (GUIDs in
/// either case), in the order of sort. What is known from a moment ago is not asked for
/// again. Raises as LdapDirectory::search.
LdapEntries findByValues(LdapDirectory& directory, std::span<const LdapSchema::Type> types,
                         LdapSlot slot, const Strings& values);

/// All entries of the types, in that order.
LdapEntries findAll(LdapDirectory& directory, std::span<const LdapSchema::Type> types);

/// Entries that a query may mean: all that it does mean, and others where the directory can't
/// compare as the query wants.
struct LdapCandidates {
  LdapEntries entries;
  bool areExact;
};
LdapCandidates findCandidates(LdapDirectory& directory, const QueryDescription& description);

/// The entries of the DNs, in their order, and nullptr for a DN of neither a user nor a group.
LdapEntries findByNames(LdapDirectory& directory, const Strings& names);

}  // namespace gatehall
