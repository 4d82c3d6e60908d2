#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "gatehall/base/Value.h"

/// What logind says about seats and sessions (sd-login(3)), out of the files that it keeps below
/// /run/systemd. Maps libsystemd on first use. From any thread. Raises PlatformException when
/// logind can't be asked.
namespace gatehall::sdLogin {

struct Session {
  std::uint32_t userID = 0;
  std::string seat;   ///< empty: none
  std::string type;   ///< "x11", "wayland", "mir", "tty", "unspecified"
  std::string kind;   ///< "user", "greeter", "lock-screen", "background"
  std::string state;  ///< "opening", "online", "active", "closing"
};

/// The seat's session that is in front; absent when there is no such seat or no such session.
std::optional<std::string> activeSession(const char* seat);

/// The names of all sessions.
Strings sessions();

/// Absent when there is no such session, or no longer.
std::optional<Session> session(const std::string& name);

}  // namespace gatehall::sdLogin
