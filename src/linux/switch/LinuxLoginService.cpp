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
#include "linux/switch/Departure.h"
#include "linux/switch/DisplayManagerCalls.h"
#include "linux/switch/Login1.h"
#include "linux/switch/SwitchDecision.h"
#include "linux/switch/SwitchSettings.h"

namespace gatehall {

namespace {

using switchDecision::DisplayManager;
using switchDecision::Step;
using switchDecision::Target;

constexpr std::chrono::seconds kLongestOperation{5};

/// One switch, from its first question to what comes to the front.
class Switch {
 public:
  Switch(SystemBus& bus, const HostOptions& options, Log& log, const Target& target)
      : mBus(bus),
        mOptions(options),
        mLog(log),
        mTarget(target),
        mLogin1(bus),
        mMoment(options.callTimeout / 3),
        mDeparture(mLogin1, mMoment) {}

  /// A session whose owner wants to leave stays locked even when there is no login screen to be
  /// had.
  void toLoginScreen() { showLoginScreen(displayManagerCalls::find(mBus)); }

  /// A session that is not left after all is unlocked again.
  void toUser() {
    try {
      leaveForUser();
    } catch (const PlatformException&) {
      if (!mIsUnderWay) orElse(false, [this] { return mDeparture.undo(), true; });
      throw;
    }
  }

 private:
  /// Answers what the operation does, or the alternative when a service refuses, which the log then
  /// says: there is another way.
  template <class Operation, class Alternative>
  Alternative orElse(Alternative alternative, Operation operation) {
    try {
      return operation();
    } catch (const BusError& error) {
      mLog.error(error.what());
      return alternative;
    }
  }

  /// False also when a service refuses.
  template <class Question>
  static bool isHad(Question question) {
    try {
      return question();
    } catch (const BusError&) {
      return false;
    }
  }

  void leaveForUser() {
    if (switchDecision::mayActivate(mTarget) && mTarget.userID && activateRunningSession()) return;
    const auto displayManager = displayManagerCalls::find(mBus);
    const auto step = switchDecision::userSwitch(displayManager, mTarget);
    const bool isScreen = step == switchDecision::loginScreen(displayManager);
    if (isScreen || (switchDecision::opensUnasked(step, mTarget) && !mayLeaveUnasked())) {
      showLoginScreen(displayManager);
    } else {
      ask(step);
    }
  }

  /// Brings a running session of the user to the front, which asks nobody for a password. False
  /// when there is none, or that is better left to the display manager.
  bool activateRunningSession() {
    const auto running = orElse(std::optional<Login1::Session>(),
                                [this] { return mLogin1.runningSession(*mTarget.userID); });
    if (!running) return false;
    requireOnlyAccount();
    requireOwner(running->owner, running->name);
    if (running->isActive) return !running->isLocked || unlock(*running);
    if (!mayLeaveUnasked()) return false;
    if (running->isLocked && !unlock(*running)) return false;
    return orElse(false, [&] {
      requireOwner(mLogin1.owner(*running), running->name);
      activate(*running);
      return true;
    });
  }

  void activate(const Login1::Session& session) {
    try {
      mLogin1.activate(session, mMoment);
    } catch (const BusError& error) {
      mIsUnderWay = mIsUnderWay || error.isLate();
      throw;
    }
  }

  /// Sessions know no nodes: one of a network account must not be taken for the session of a local
  /// account that shares its name or user id. Raises PlatformException then.
  void requireOnlyAccount() {
    if (mTarget.node == local::kLocalNodeName) return;
    FaultLog faults(mLog);
    if (!isOwnAccount(mOptions, faults, mTarget.name, *mTarget.userID)) return;
    throw PlatformException("No session of " + printable(mTarget.name) + ", " +
                            std::to_string(*mTarget.userID) +
                            ", is brought to the front: a local account has the name or the id.");
  }

  /// Raises PlatformException unless the owner is the target. The user id alone could be another
  /// account's.
  void requireOwner(const std::optional<Login1::Owner>& owner, const std::string& session) {
    if (owner && owner->userID == mTarget.userID && owner->userName == mTarget.name) return;
    const auto whose = owner ? "it is of " + printable(owner->userName) : "it says no owner";
    throw PlatformException("The session " + printable(session) + " is not brought to the front: " +
                            whose + ", not of " + printable(mTarget.name) + ".");
  }

  /// Takes the lock away with which a session greets its user that was left by a switch. False when
  /// that is better left to LightDM, which may do it where others than root can't.
  bool unlock(const Login1::Session& session) {
    try {
      mLogin1.unlock(session);
    } catch (const BusError& refusal) {
      const auto displayManager =
          orElse(DisplayManager::None, [this] { return displayManagerCalls::find(mBus); });
      if (displayManager == DisplayManager::LightDM) return false;
      mLog.error(refusal.what());
    }
    return true;
  }

  /// Whether the session in front may be left for the user's desktop, which asks for no password:
  /// an unlocked one would be open to whoever sits there then.
  bool mayLeaveUnasked() {
    if (!mMayLeaveUnasked) {
      mMayLeaveUnasked = mDeparture.isOf(mTarget) || mDeparture.isLocked() || isUnlockedEnough();
    }
    return *mMayLeaveUnasked;
  }

  bool isUnlockedEnough() {
    const bool isEnough = !SwitchSettings::read(mOptions, mLog).requiresLock;
    sayUnlocked(isEnough ? "is left unlocked, as " + std::string(SwitchSettings::kPath) + " says."
                         : "is not left for the desktop of " + printable(mTarget.name) +
                               ", which asks for no password.");
    return isEnough;
  }

  void sayUnlocked(const std::string& consequence) {
    mLog.error(mDeparture.why() + "; the session in front " + consequence);
  }

  void showLoginScreen(DisplayManager displayManager) {
    const auto step = switchDecision::loginScreen(displayManager);
    if (step == Step::Impossible) {
      throw PlatformException("Unable to switch: there is no display manager on the system bus.");
    }
    // A session that can't be locked is better left behind a login screen than in front.
    if (!mDeparture.isLocked() && !mMayLeaveUnasked) {
      sayUnlocked("is left unlocked behind the login screen.");
    }
    if (switchDecision::makesAnotherGreeter(displayManager) && activateGreeter()) return;
    ask(step);
  }

  /// Brings a login screen that runs to the front. False when there is none, or it can't be had.
  bool activateGreeter() {
    return orElse(false, [this] {
      const auto greeter = mLogin1.greeter();
      if (!greeter) return false;
      if (!greeter->isActive) activate(*greeter);
      return true;
    });
  }

  /// Asks the display manager for the step, which is done once a login screen or a session of the
  /// user comes to the front, whatever it answers and when.
  void ask(Step step) {
    // Where logind can't be looked at the display manager's answer tells.
    isHad([this] { return mLogin1.followChanges(), true; });
    const auto isDone = [this] {
      return isHad([this] {
        const auto front = mLogin1.front();
        return front && (front->isGreeter || front->isOf(mTarget.name, mTarget.userID));
      });
    };
    try {
      mBus.extend(3 * mOptions.callTimeout);
      displayManagerCalls::perform(mBus, step, mTarget, isDone);
    } catch (const BusError& error) {
      mIsUnderWay = mIsUnderWay || error.isLate();
      throw;
    }
  }

  SystemBus& mBus;
  const HostOptions& mOptions;
  Log& mLog;
  const Target& mTarget;
  Login1 mLogin1;
  const std::chrono::milliseconds mMoment;  ///< for what follows an answer of logind
  Departure mDeparture;
  std::optional<bool> mMayLeaveUnasked;
  bool mIsUnderWay = false;  ///< what was asked for and not answered may still come to the front
};

}  // namespace

LinuxLoginService::LinuxLoginService(HostOptions options, Log& log)
    : mOptions(std::move(options)), mLog(log) {}

std::int32_t LinuxLoginService::switchToLoginScreen() {
  return perform([this](SystemBus& bus) { Switch(bus, mOptions, mLog, {}).toLoginScreen(); });
}

std::int32_t LinuxLoginService::switchToUser(const Dictionary& attributes) {
  const auto target = switchDecision::target(attributes);
  return perform([this, &target](SystemBus& bus) {
    if (target.name.empty()) throw PlatformException("Unable to switch to a user without a name.");
    Switch(bus, mOptions, mLog, target).toUser();
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
