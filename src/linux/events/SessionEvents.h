#pragma once

#include <optional>
#include <set>
#include <string>

#include "gatehall/platform/Log.h"
#include "linux/bus/BusWatch.h"
#include "linux/loop/LinuxSystemNotifications.h"
#include "portable/LocalNotificationCenter.h"

namespace gatehall {

/// Posts what logind says: that somebody logged in to a graphical session on a seat, or out of one,
/// and that another session owns the console. When logind was away, the list of users is to be
/// refreshed. On the main thread.
///
/// logind announces a session when its login begins. That the login is done, or that a session is
/// ending whose last programs are still there, is but in the session's file.
class SessionEvents {
 public:
  SessionEvents(BusWatch& bus, LocalNotificationCenter& distributed,
                LinuxSystemNotifications& system, Log& log);

  /// Finds out who is logged in, when that is not known.
  void readSessions();

  /// logind is heard from now on: what it said before, since this was made, is in its files.
  void listening();

  /// logind wrote the session's file, in kFolder.
  void fileChanged(const std::string& session);

  static constexpr const char* kFolder = "/run/systemd/sessions";

 private:
  enum class Login { No, Yes, Unknown };

  void sessionsChanged(const BusSignal& signal);
  std::optional<std::string> console() const;
  Login login(const std::string& session) const;
  void note(const std::string& session, bool isLoggedIn);
  void post(std::string_view notification);

  LocalNotificationCenter& mDistributed;
  LinuxSystemNotifications& mSystem;
  Log& mLog;
  const std::optional<std::string> mFirstConsole;  ///< the session that owned it at first
  std::set<std::string, std::less<>> mSessions;    ///< those with somebody logged in
};

}  // namespace gatehall
