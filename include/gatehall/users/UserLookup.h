#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "gatehall/base/Export.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/users/CachedUserList.h"

namespace gatehall {

/// Stands for no user id where users are filtered by one.
inline constexpr std::int32_t kNoUserID = -1;

/// The user with that id, found on the search node; nullptr when nobody has it. Of several, the one
/// whose long name sorts first. The directory is asked for the id as an unsigned number (4294967294
/// for -2). A failure of the directory is logged.
GATEHALL_EXPORT std::shared_ptr<CachedUser> cachedUserForUID(std::int32_t userID);

/// Why the id may be somebody's whom the directory can't find now, where cachedUserForUID answered
/// nullptr: that keeps it to the log. Asks the directory again; absent when it answers.
GATEHALL_EXPORT std::optional<std::string> whyUserIsUnknown(std::int32_t userID);

/// The users of those records that have that id (kNoUserID: any) and may be used here, sorted by
/// long name. Never nullptr. May raise PlatformException.
GATEHALL_EXPORT std::shared_ptr<CachedUserList> cachedUserListForRecords(
    const std::optional<Records>& records, std::int32_t userIDFilter);

/// The user with that GUID, found on the search node; nullptr, and a line in the log, when nobody
/// has it or the directory fails.
GATEHALL_EXPORT std::shared_ptr<CachedUser> cachedUserForGUID(const std::string& guid);

/// The users with those GUIDs, in their order; nullptr for an absent list. GUIDs that name nobody
/// are left out, with a line in the log each. May raise PlatformException.
GATEHALL_EXPORT std::shared_ptr<CachedUserList> cachedUserListForGUIDs(
    const std::optional<Strings>& guids);

}  // namespace gatehall
