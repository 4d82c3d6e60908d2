#pragma once

#include <string_view>

#include "gatehall/base/Export.h"

/// The directory's record types and attribute kinds, by the names that records, queries and world
/// files use.
namespace gatehall::record {
inline constexpr std::string_view Users = "Users";
inline constexpr std::string_view Groups = "Groups";
}  // namespace gatehall::record

namespace gatehall::attribute {

inline constexpr std::string_view RecordName = "RecordName";
inline constexpr std::string_view UniqueID = "UniqueID";
inline constexpr std::string_view GUID = "GUID";
inline constexpr std::string_view FullName = "FullName";
inline constexpr std::string_view PrimaryGroupID = "PrimaryGroupID";
inline constexpr std::string_view UserShell = "UserShell";
inline constexpr std::string_view NFSHomeDirectory = "NFSHomeDirectory";
inline constexpr std::string_view HomeDirectory = "HomeDirectory";
inline constexpr std::string_view Picture = "Picture";
inline constexpr std::string_view JPEGPhoto = "JPEGPhoto";
inline constexpr std::string_view AuthenticationAuthority = "AuthenticationAuthority";
inline constexpr std::string_view AuthenticationHint = "AuthenticationHint";
inline constexpr std::string_view Password = "Password";
inline constexpr std::string_view TavloSettings = "TavloSettings";
inline constexpr std::string_view MetaNodeLocation = "MetaNodeLocation";
inline constexpr std::string_view OriginalNodeName = "OriginalNodeName";
inline constexpr std::string_view CopyTimestamp = "CopyTimestamp";
inline constexpr std::string_view GroupMembers = "GroupMembers";
inline constexpr std::string_view GroupMembership = "GroupMembership";
inline constexpr std::string_view NestedGroups = "NestedGroups";
inline constexpr std::string_view Guest = "lxAttrTypeNative:_guest";
inline constexpr std::string_view External = "lxAttrTypeNative:external";

/// Queried on RecordName, matches every record of the type.
inline constexpr std::string_view AllRecords = "lxRecordsAll";

/// A standard kind may be spelled by its suffix or in full; both name the same kind. Answers the
/// suffix of a fully spelled standard kind, any other kind unchanged.
constexpr std::string_view canonical(std::string_view kind) {
  constexpr std::string_view prefix = "lxAttrTypeStandard:";
  return kind.starts_with(prefix) ? kind.substr(prefix.size()) : kind;
}

}  // namespace gatehall::attribute
