#pragma once

#include <cstdint>
#include <string>

#include "ctl/print/Json.h"
#include "gatehall/base/Value.h"
#include "instrumented/RecordingLog.h"
#include "listing/ListChange.h"
#include "listing/ListedUser.h"

/// What gatehallctl watch tells, each in JSON with "time" and "event" first, and as a line for
/// people.
namespace gatehall::ctl::watchEvent {

Json list(Date now, const ListedUsers& users);             ///< the first list
Json change(Date now, const ListChange& change);           ///< "removed", "added", "changed"
Json unchanged(Date now, const ListedUsers& users);        ///< told, and nothing is different
Json noList(Date now, const std::string& reason);          ///< told, and there is none to be had
Json network(Date now, std::int32_t status, bool exists);  ///< how the network directories answer
Json step(Date now, const std::string& name);              ///< an event of a script
Json logged(Date now, const RecordingLog::Entry& entry);
Json serviceGone(Date now, const std::string& why);  ///< gatehalld, whose list is followed
Json serviceBack(Date now, bool hasCaughtUp);        ///< with the changes since, or with a list

/// The event on one line, without its time. Of a list only how many users it holds.
std::string text(const Json& event);

}  // namespace gatehall::ctl::watchEvent
