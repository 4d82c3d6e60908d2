#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "gatehall/platform/Log.h"
#include "linux/bus/BusWatch.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/EventLoop.h"
#include "linux/loop/MainLoop.h"

namespace gatehall::greeter {

/// Whose sessions logind has, org.freedesktop.login1(5): at any seat and at none, but for those
/// that are closing. Never waits. On the main thread, while its loop runs.
class LoggedIn {
 public:
  using UserIDs = std::set<std::uint32_t>;

  /// Asks at once, and whenever a session comes or goes. "changed" is called whenever others are
  /// logged in, or it is known no more.
  LoggedIn(MainLoop& runLoop, EventLoop& events, const HostOptions& options, Log& log,
           std::function<void()> changed);
  LoggedIn(const LoggedIn&) = delete;
  LoggedIn& operator=(const LoggedIn&) = delete;

  /// Absent while it isn't known.
  const std::optional<UserIDs>& users() const { return mUsers; }

  /// Asks logind anew: that a session is closing is nothing it tells.
  void ask();

 private:
  void listed(const BusAnswer& answer);
  void askNext();
  void told(const BusAnswer& answer);
  void know(std::optional<UserIDs> users);

  BusWatch mBus;
  const std::chrono::milliseconds mLimit;
  const std::function<void()> mChanged;
  std::optional<UserIDs> mUsers{};
  std::uint64_t mQuestion = 0;          ///< what comes of an earlier one is stale
  std::deque<std::string> mSessions{};  ///< not asked about yet
  UserIDs mFound{};
};

}  // namespace gatehall::greeter
