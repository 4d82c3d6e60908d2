#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// Keys of a session record.
namespace session {
/// Integer, read as signed 32-bit: numeric user id of the session's owner.
inline constexpr std::string_view UserIDKey = "kVXSSessionUserIDKey";
/// Integer, read as signed 64-bit: equal identifiers mean the same session.
inline constexpr std::string_view IDKey = "kVXSSessionIDKey";
/// String: short name of the session's owner.
inline constexpr std::string_view UserNameKey = "kVXSSessionUserNameKey";
/// Boolean: the session has finished logging in. The prefix is one letter shorter than the others';
/// session services spell it so.
inline constexpr std::string_view LoginDoneKey = "kVXSessionLoginDoneKey";
}  // namespace session

/// The window server's graphical sessions. From any thread; ends within the host's time limit.
class GATEHALL_EXPORT SessionService {
 public:
  virtual ~SessionService() = default;

  /// The session that owns the console; absent when there is none or the service can't be asked.
  /// May raise PlatformException.
  virtual std::optional<Dictionary> copyCurrentSession() = 0;

  /// One record for each graphical session, in the service's order; an entry that went away while
  /// it was read is missing (std::nullopt). Absent when the service can't be asked. May raise
  /// PlatformException.
  virtual std::optional<std::vector<std::optional<Dictionary>>> copySessionList() = 0;
};

}  // namespace gatehall
