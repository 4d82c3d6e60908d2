#include "greeter/machine/Power.h"

#include <array>
#include <chrono>
#include <string>
#include <utility>

#include "gatehall/base/Value.h"

namespace gatehall::greeter {

namespace {

constexpr const char* kService = "org.freedesktop.login1";

constexpr std::array<PowerAction, 4> kActions{PowerAction::Suspend, PowerAction::Hibernate,
                                              PowerAction::Restart, PowerAction::PowerOff};

const char* memberFor(PowerAction action) {
  switch (action) {
    case PowerAction::Suspend:
      return "Suspend";
    case PowerAction::Hibernate:
      return "Hibernate";
    case PowerAction::Restart:
      return "Reboot";
    case PowerAction::PowerOff:
      break;
  }
  return "PowerOff";
}

/// Nobody waits for it, and a machine that has just started may be busy for a while.
constexpr std::chrono::seconds kLongestAnswer{60};

BusMethod method(const std::string& member) {
  return {kService, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", member};
}

}  // namespace

Power::Power(MainLoop& runLoop, EventLoop& events, const HostOptions& options, Log& log,
             std::function<void()> changed)
    : mBus(runLoop, events, options, log),
      mLog(log),
      mLimit(options.callTimeout),
      mChanged(std::move(changed)) {
  mBus.follow(kService, [this](bool) { ask(); });
  mBus.start([this](bool) { ask(); }, [this](const std::string&) { ask(); });
}

/// Where there is no bus, or no logind, nothing is allowed.
void Power::ask() {
  for (const auto action : kActions) {
    mBus.call(method(std::string("Can") + memberFor(action)), {}, kLongestAnswer,
              [this, action](const BusAnswer& answer) {
                // "challenge": with a password, which nobody could be asked for.
                offer(action, answer.error.empty() && answer.values == Array{"yes"});
              });
  }
}

void Power::offer(PowerAction action, bool isOffered) {
  const bool wasOffered = mOffered.contains(action);
  if (isOffered == wasOffered) return;
  if (isOffered) {
    mOffered.insert(action);
  } else {
    mOffered.erase(action);
  }
  mChanged();
}

void Power::start(PowerAction action, std::function<void()> failed) {
  // Nobody is asked for a password.
  mBus.call(method(memberFor(action)), {false}, mLimit,
            [this, action, failed = std::move(failed)](const BusAnswer& answer) {
              if (answer.error.empty()) return;
              mLog.error(std::string("Unable to have logind do ") + memberFor(action) + ": " +
                         (answer.text.empty() ? answer.error : answer.text));
              failed();
            });
}

}  // namespace gatehall::greeter
