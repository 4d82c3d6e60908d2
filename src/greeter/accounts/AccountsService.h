#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "gatehall/platform/Log.h"
#include "greeter/accounts/AccountPreferences.h"
#include "linux/bus/BusWatch.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/EventLoop.h"
#include "linux/loop/MainLoop.h"

namespace gatehall::greeter {

/// Asks AccountsService over the system bus. Never waits. On the main thread, while its loop runs.
class AccountsService {
 public:
  using Handler = std::function<void(const AccountPreferences&)>;

  AccountsService(MainLoop& runLoop, EventLoop& events, const HostOptions& options, Log& log);
  AccountsService(const AccountsService&) = delete;
  AccountsService& operator=(const AccountsService&) = delete;

  /// Calls the handler, once and not from inside this, with what is kept of the account with that
  /// login name: with nothing where there is no service or no such account, and when nothing is
  /// answered in time. What isn't of its kind, or longer than such a thing is, counts as absent.
  void ask(const std::string& name, Handler handler);

 private:
  void decide();
  void find(const std::string& name, const Handler& handler);
  void read(const std::string& path, const Handler& handler);

  BusWatch mBus;
  const std::chrono::milliseconds mLimit;
  bool mIsDecided = false;  ///< whether there is a bus
  std::vector<std::function<void()>> mWaiting;
};

}  // namespace gatehall::greeter
