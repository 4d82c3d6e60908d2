#include "linux/switch/LinuxLoginService.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/accounts/OwnAccount.h"
#include "linux/bus/SystemBus.h"
#include "linux/files/FaultLog.h"
#include "linux/local/Context.h"
#include "linux/switch/DisplayManagerCalls.h"
#include "linux/switch/Login1.h"
#include "linux/switch/SwitchDecision.h"

namespace gatehall {

namespace {

using switchDecision::Step;
using switchDecision::Target;

constexpr std::chrono::seconds kLongestOperation{5};

/// Answers what the operation does, or the alternative when a service refuses, which the log then
/// says: there is another way.
template <class Operation, class Alternative>
Alternative orElse(Log& log, Alternative alternative, Operation operation) {
  try {
    return operation();
  } catch (const BusError& error) {
    log.error(error.what());
    return alternative;
  }
}

/// Takes the lock away with which a session greets its user that was left by a switch. False when
/// that is better left to LightDM, which may do it where others than root can't.
bool unlock(SystemBus& bus, Log& log, const std::string& session) {
  try {
    Login1(bus).unlock(session);
  } catch (const BusError& refusal) {
    using switchDecision::DisplayManager;
    const auto displayManager =
        orElse(log, DisplayManager::None, [&] { return displayManagerCalls::find(bus); });
    if (displayManager == DisplayManager::LightDM) return false;
    log.error(refusal.what());
  }
  return true;
}

/// Raises PlatformException unless the owner is the target. The user id alone could be another
/// account's.
void requireOwner(const std::optional<Login1::Owner>& owner, const std::string& session,
                  const Target& target) {
  if (owner && owner->userID == target.userID && owner->userName == target.name) return;
  const auto whose = owner ? "it is of " + printable(owner->userName) : "it says no owner";
  throw PlatformException("The session " + printable(session) + " is not brought to the front: " +
                          whose + ", not of " + printable(target.name) + ".");
}

/// Sessions know no nodes: one of a network account must not be taken for the session of a local
/// account that shares its name or user id. Raises PlatformException then.
void requireOnlyAccount(const HostOptions& options, Log& log, const Target& target) {
  if (target.node == local::kLocalNodeName) return;
  FaultLog faults(log);
  if (!isOwnAccount(options, faults, target.name, *target.userID)) return;
  throw PlatformException("No session of " + printable(target.name) + ", " +
                          std::to_string(*target.userID) +
                          ", is brought to the front: a local account has the name or the id.");
}

/// Brings a running session of the user to the front, which asks nobody for a password. False when
/// there is none, or that is better left to the display manager.
bool activateRunningSession(SystemBus& bus, const HostOptions& options, Log& log,
                            const Target& target) {
  Login1 login1(bus);
  const auto running = orElse(log, std::optional<Login1::RunningSession>(),
                              [&] { return login1.runningSession(*target.userID); });
  if (!running) return false;
  requireOnlyAccount(options, log, target);
  requireOwner(running->owner, running->name, target);
  if (running->isLocked && !unlock(bus, log, running->name)) return false;
  if (running->isActive) return true;
  return orElse(log, false, [&] {
    login1.lockActiveSession();
    requireOwner(login1.owner(*running), running->name, target);
    login1.activate(running->name);
    return true;
  });
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
    orElse(log, false, [&] { return Login1(bus).lockActiveSession(), true; });
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
    if (switchDecision::mayActivate(target) && target.userID &&
        activateRunningSession(bus, mOptions, mLog, target)) {
      return;
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
