#include "platform/linux/LinuxLoginService.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "platform/PlatformException.h"
#include "platform/linux/DisplayManagerCalls.h"
#include "platform/linux/Login1.h"
#include "platform/linux/SwitchDecision.h"
#include "platform/linux/SystemBus.h"

namespace gatehall {

namespace {

using switchDecision::Step;
using switchDecision::Target;

constexpr std::chrono::seconds kLongestOperation{5};

/// The user's running session; also absent when logind can't tell, which the log then says: a
/// display manager has its own way.
std::optional<std::string> runningSession(SystemBus& bus, Log& log, const Target& target) {
  if (!target.userID) return std::nullopt;
  try {
    return Login1(bus).runningSession(*target.userID);
  } catch (const BusError& error) {
    log.error(error.what());
    return std::nullopt;
  }
}

/// Brings the session to the front, which asks nobody for a password.
void activate(SystemBus& bus, const std::string& session) {
  Login1 login1(bus);
  if (login1.activeSession() == session) return;
  login1.lockActiveSession();
  login1.activate(session);
}

/// LightDM locks the session that it leaves behind when it switches to a user; what only brings up
/// a login screen leaves that to the caller.
bool locksByItself(Step step) { return step == Step::SwitchToUser || step == Step::SwitchToGuest; }

void performStep(SystemBus& bus, Log& log, Step step, const Target& target) {
  if (step == Step::Impossible) {
    throw PlatformException("Unable to switch: there is no display manager on the system bus.");
  }
  if (!locksByItself(step)) {
    // A session that can't be locked is better left behind a login screen than in front.
    try {
      Login1(bus).lockActiveSession();
    } catch (const BusError& error) {
      log.error(error.what());
    }
  }
  displayManagerCalls::perform(bus, step, target);
}

}  // namespace

LinuxLoginService::LinuxLoginService(HostOptions options, Log& log)
    : mOptions(std::move(options)), mLog(log) {}

std::int32_t LinuxLoginService::switchToLoginScreen() {
  return perform([this](SystemBus& bus) {
    performStep(bus, mLog, switchDecision::loginScreen(displayManagerCalls::find(bus)), {});
  });
}

std::int32_t LinuxLoginService::switchToUser(const Dictionary& attributes) {
  const auto target = switchDecision::target(attributes);
  return perform([this, &target](SystemBus& bus) {
    if (target.name.empty()) throw PlatformException("Unable to switch to a user without a name.");
    if (switchDecision::mayActivate(target)) {
      if (const auto session = runningSession(bus, mLog, target)) return activate(bus, *session);
    }
    const auto step = switchDecision::userSwitch(displayManagerCalls::find(bus), target);
    performStep(bus, mLog, step, target);
  });
}

std::int32_t LinuxLoginService::perform(const std::function<void(SystemBus&)>& operation) {
  try {
    SystemBus bus(mOptions, std::chrono::steady_clock::now() + kLongestOperation);
    operation(bus);
    return 0;
  } catch (const PlatformException& error) {
    mLog.error(error.what());
    return 1;
  }
}

}  // namespace gatehall
