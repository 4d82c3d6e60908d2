#pragma once

#include <cstdint>
#include <string>

#include "ctl/print/Json.h"
#include "ctl/watch/UserListChanges.h"
#include "gatehall/base/Value.h"
#include "gatehall/users/CachedUserList.h"
#include "instrumented/RecordingLog.h"

/// What gatehallctl watch tells, each in JSON with "time" and "event" first, and as a line for
/// people.
namespace gatehall::ctl::watchEvent {

/// usersJson with what parental controls say: whether login is allowed, and the next curfew.
Json usersOf(const std::shared_ptr<CachedUserList>& list);

Json list(Date now, const Json& users);                    ///< the first list
Json change(Date now, const UserListChange& change);       ///< "removed", "added", "changed"
Json unchanged(Date now, const Json& users);               ///< told, and nothing is different
Json noList(Date now, const std::string& reason);          ///< told, and there is none to be had
Json network(Date now, std::int32_t status, bool exists);  ///< how the network directories answer
Json step(Date now, const std::string& name);              ///< an event of a script
Json logged(Date now, const RecordingLog::Entry& entry);

/// The event on one line, without its time. Of a list only how many users it holds.
std::string text(const Json& event);

}  // namespace gatehall::ctl::watchEvent
