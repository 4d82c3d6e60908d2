#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/platform/DirectoryService.h"
#include "linux/ldap/Directory.h"

namespace gatehall::ldap {

/// The entries of the types that have any of the values, which are compared as they stand (GUIDs in
/// either case), in the order of sort. What is known from a moment ago is not asked for again.
/// Raises as Directory::search.
Entries findByValues(Directory& directory, std::span<const Schema::Type> types, Slot slot,
                     const Strings& values);

/// All entries of the types, in that order.
Entries findAll(Directory& directory, std::span<const Schema::Type> types);

/// Entries that a query may mean: all that it does mean, and others where the directory can't
/// compare as the query wants.
struct Candidates {
  Entries entries;
  bool areExact;
};
Candidates findCandidates(Directory& directory, const QueryDescription& description);

/// The users with that value of one of the kinds RecordName, UniqueID and GUID that are no accounts
/// on this machine. Raises as Directory::search.
std::vector<Directory::LeftOut> findLeftOut(Directory& directory, std::string_view kind,
                                            const std::string& value);

/// The entries that the servers find by the DNs, in no order; none for a DN of neither a user nor a
/// group. Raises as Directory::search, for what is no DN, and where it can't be told whose a DN is.
Entries findByNames(Directory& directory, const Strings& names);

}  // namespace gatehall::ldap
