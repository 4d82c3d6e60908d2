#pragma once

#include <chrono>
#include <functional>
#include <set>

#include "gatehall/platform/Log.h"
#include "linux/bus/BusWatch.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/EventLoop.h"
#include "linux/loop/MainLoop.h"

namespace gatehall::greeter {

enum class PowerAction { Suspend, Hibernate, Restart, PowerOff };

/// What logind lets this process do with the machine, org.freedesktop.login1(5). Never waits. On
/// the main thread, while its loop runs.
class Power {
 public:
  /// Asks at once. "changed" is called whenever other actions are offered.
  Power(MainLoop& runLoop, EventLoop& events, const HostOptions& options, Log& log,
        std::function<void()> changed);
  Power(const Power&) = delete;
  Power& operator=(const Power&) = delete;

  /// What is allowed, as far as logind answered: without a password, which nobody could be asked
  /// for here.
  const std::set<PowerAction>& offered() const { return mOffered; }

  /// Asks logind anew, as before a menu is shown: what is allowed depends on who is logged in.
  void ask();

  /// Has it done. "failed" is called when it isn't done; the log says why.
  void start(PowerAction action, std::function<void()> failed);

 private:
  void offer(PowerAction action, bool isOffered);

  BusWatch mBus;
  Log& mLog;
  const std::chrono::milliseconds mLimit;
  const std::function<void()> mChanged;
  std::set<PowerAction> mOffered;
};

}  // namespace gatehall::greeter
