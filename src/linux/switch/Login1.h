#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
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

  struct Session {
    std::string name;
    std::string path;
    std::optional<Owner> owner;  ///< absent when it doesn't say
    bool isUsers = false;        ///< somebody's own, no login screen
    bool isGreeter = false;      ///< a login screen, which belongs to a system account
    bool isGraphical = false;
    bool isLoggedIn = false;  ///< neither still opening nor already closing
    bool isLocked = false;    ///< says so itself, by its LockedHint
    bool isActive = false;    ///< in front

    /// Whether it is that account's, by both.
    bool isOf(const std::string& userName, const std::optional<std::uint32_t>& userID) const {
      return owner && userID && owner->userID == *userID && owner->userName == userName;
    }
  };

  /// The seat's session that is in front. Absent when there is none.
  std::optional<Session> front();

  /// A session on the seat, graphical and logged in, that belongs to the user: the active one
  /// before others. Absent when there is none.
  std::optional<Session> runningSession(std::uint32_t userID);

  /// A login screen that runs on the seat, the active one before others. Absent when there is none.
  std::optional<Session> greeter();

  /// Whose the session is now. Absent when it went away, or doesn't say.
  std::optional<Owner> owner(const Session& session);

  /// Has waits on the bus look again whenever a session or the seat changes.
  void followChanges();

  /// Has a session locked, and waits until it says that it is. False when it doesn't within the
  /// limit.
  bool lock(const Session& session, std::chrono::milliseconds limit);

  /// Takes a session's lock away.
  void unlock(const Session& session);

  /// Brings a session to the front, and waits until it is there, at most for the limit: logind
  /// answers before the terminal has changed.
  void activate(const Session& session, std::chrono::milliseconds limit);

 private:
  struct Reference {
    std::string name;
    std::string path;
  };

  std::optional<Reference> active();
  bool isInFront(const Session& session);
  std::optional<Session> session(const std::string& name, const std::string& path);
  std::optional<Session> onSeat(const std::function<bool(const Array& entry)>& mayBe,
                                const std::function<bool(const Session&)>& is);

  SystemBus& mBus;
  bool mFollowsChanges = false;
};

}  // namespace gatehall
