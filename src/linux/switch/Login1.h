#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "linux/bus/SystemBus.h"

namespace gatehall {

/// The session service on the bus (org.freedesktop.login1(5)), as far as a switch on seat0 needs
/// it. Raises BusError.
class Login1 {
 public:
  explicit Login1(SystemBus& bus) : mBus(bus) {}

  /// Whose a session is, as it says itself.
  struct Owner {
    std::uint32_t userID = 0;
    std::string userName;
  };

  struct RunningSession {
    std::string name;
    std::string path;
    std::optional<Owner> owner;  ///< absent when it doesn't say
    bool isLocked = false;
    bool isActive = false;
  };

  /// A session on the seat, graphical and logged in, that belongs to the user: the active one
  /// before others. Absent when there is none.
  std::optional<RunningSession> runningSession(std::uint32_t userID);

  /// Whose the session is now. Absent when it went away, or doesn't say.
  std::optional<Owner> owner(const RunningSession& session);

  /// Locks the seat's active session if it is a user's (a login screen can't be locked).
  void lockActiveSession();

  void activate(const std::string& session);

  /// Takes a session's lock away.
  void unlock(const std::string& session);

 private:
  struct Reference {
    std::string name;
    std::string path;
  };

  std::optional<Reference> active();
  std::optional<Dictionary> properties(const std::string& path);

  SystemBus& mBus;
};

}  // namespace gatehall
