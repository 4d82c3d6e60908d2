#pragma once

#include <set>
#include <string>

#include "platform/Log.h"
#include "platform/linux/BusWatch.h"
#include "platform/linux/LinuxSystemNotifications.h"
#include "platform/portable/LocalNotificationCenter.h"

namespace gatehall {

/// Posts what logind says: that somebody logged in to a graphical session on a seat, or out of one,
/// and that another session owns the console. When logind was away, the list of users is to be
/// refreshed. On the main thread.
class SessionEvents {
 public:
  SessionEvents(BusWatch& bus, LocalNotificationCenter& distributed,
                LinuxSystemNotifications& system, Log& log);

  /// Finds out which sessions there are, when that is not known.
  void readSessions();

 private:
  void sessionsChanged(const BusSignal& signal);
  bool counts(const std::string& session) const;
  void post(std::string_view notification);

  LocalNotificationCenter& mDistributed;
  LinuxSystemNotifications& mSystem;
  Log& mLog;
  std::set<std::string, std::less<>> mSessions;  ///< those that count
};

}  // namespace gatehall
