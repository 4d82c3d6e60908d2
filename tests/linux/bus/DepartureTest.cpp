// What becomes of the session that a switch leaves, and what comes to the front.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/switch/LinuxLoginService.h"
#include "tests/linux/Machine.h"
#include "tests/linux/bus/fixture/PrivateBus.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kAnn = "session=2,1000,ann,seat0,x11,user,active";
constexpr const char* kAnnLocked = "session=2,1000,ann,seat0,x11,user,active,locked";
constexpr const char* kBob = "session=c3,1001,bob,seat0,wayland,user,online";
constexpr const char* kGreeter = "session=c5,112,sddm,seat0,x11,greeter,online";

const std::string kLogin1 = "/org/freedesktop/login1 ";
const std::string kSeat = "/org/freedesktop/DisplayManager/Seat0 ";
const std::string kLockAnn = kLogin1 + "LockSession '2'\n";
const std::string kUnlockAnn = kLogin1 + "UnlockSession '2'\n";
const std::string kActivateBob = kLogin1 + "ActivateSessionOnSeat 'c3' 'seat0'\n";
const std::string kActivateGreeter = kLogin1 + "ActivateSessionOnSeat 'c5' 'seat0'\n";
const std::string kShowGreeter = kSeat + "SwitchToGreeter\n";
const std::string kTransient =
    "/org/gnome/DisplayManager/LocalDisplayFactory CreateTransientDisplay\n";

constexpr const char* kNobodyLocks =
    "Nobody locks session 2: no screen locker listens, or none that says so (LockedHint); the "
    "session in front is not left for the desktop of bob, which asks for no password.";

Dictionary user(const char* name, const char* userID) {
  return {{std::string(attribute::RecordName), Strings{name}},
          {std::string(attribute::UniqueID), Strings{userID}},
          {std::string(attribute::MetaNodeLocation), Strings{"local"}}};
}

Dictionary bob() {
  auto attributes = user("bob", "1001");
  attributes.insert_or_assign(std::string(kUserPasswordKey), "");
  return attributes;
}

/// With a limit for calls that lets those answer who do, of which a lock has a third and what a
/// display manager does three times as much.
class DepartureTest : public testing::Test {
 protected:
  /// The machine's services, with that session in front.
  void start(std::vector<std::string> words, const char* front = kAnn) {
    words.emplace_back(front);
    const std::string session(front);
    const auto name = session.find('=') + 1;
    words.push_back("active=" + session.substr(name, session.find(',') - name));
    bus.start(std::move(words));
  }
  std::int32_t switchTo(const Dictionary& attributes) { return service().switchToUser(attributes); }
  std::int32_t suspend() { return service().switchToLoginScreen(); }

  LinuxLoginService service() {
    return {{.root = machine.options.root,
             .systemBusAddress = bus.address(),
             .callTimeout = std::chrono::seconds(2)},
            log};
  }

  Machine machine;
  PrivateBus bus;
  KeptLog log;
};

TEST_F(DepartureTest, BringsARunningGreeterOfSDDMAndGDMToTheFrontInsteadOfAskingForAnother) {
  for (const auto* displayManager : {"sddm", "gdm"}) {
    start({displayManager, "logind", kGreeter});
    EXPECT_EQ(suspend(), 0);
    EXPECT_EQ(bus.calls(), kLockAnn + kActivateGreeter) << displayManager;
    start({displayManager, "logind", kGreeter});
    EXPECT_EQ(switchTo(user("carol", "1002")), 0);
    EXPECT_EQ(bus.calls(), kLockAnn + kActivateGreeter) << displayManager;
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DepartureTest, LetsLightDMUseItsGreeterAgainByItself) {
  start({"lightdm", "logind", kGreeter});
  EXPECT_EQ(suspend(), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kShowGreeter);
}

TEST_F(DepartureTest, AsksForNoGreeterWhileOneIsInFront) {
  start({"sddm", "logind"}, "session=c5,112,sddm,seat0,x11,greeter,active");
  EXPECT_EQ(suspend(), 0);
  EXPECT_EQ(bus.calls(), "");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DepartureTest, TakesForAGreeterOnlyOneOfTheSystemsThatRunsOnTheSeat) {
  start({"sddm", "logind", "session=c5,112,sddm,seat0,x11,greeter,closing",
         "session=c6,112,sddm,seat1,x11,greeter,online",
         "session=c7,112,sddm,seat0,x11,user,online",
         "session=c8,1001,bob,seat0,x11,greeter,online", "gone=c9,112,sddm,seat0"});
  EXPECT_EQ(suspend(), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kShowGreeter);
}

TEST_F(DepartureTest, AsksForAnotherGreeterWhenItMayNotActivateTheOneThatRuns) {
  start({"gdm", "logind=ActivateSessionOnSeat", kGreeter});
  EXPECT_EQ(suspend(), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kActivateGreeter + kTransient);
}

TEST_F(DepartureTest, LeavesNoSessionUnlockedForADesktopThatItCantTellAnythingOf) {
  start({"lightdm", "logind=nonsense", "locker=none"});
  EXPECT_EQ(switchTo(bob()), 0);
  EXPECT_EQ(bus.calls(), kShowGreeter);
  EXPECT_THAT(log.lines(), testing::Contains(HasSubstr("a type that was not expected")));
}

TEST_F(DepartureTest, LeavesASessionOfAnyKindOnlyLockedForAnothersDesktop) {
  start({"lightdm", "logind", "locker=none"}, "session=2,0,root,seat0,x11,user-early,active");
  EXPECT_EQ(switchTo(bob()), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kShowGreeter);
}

TEST_F(DepartureTest, WaitsForWhatALateDisplayManagerDoesNotForItsAnswer) {
  for (const auto* displayManager : {"lightdm=late", "sddm=late"}) {
    start({displayManager, "logind", "session=c5,112,sddm,seat0,x11,greeter,opening", "brings=c5"});
    EXPECT_EQ(suspend(), 0);
    EXPECT_EQ(bus.calls(), kLockAnn + kShowGreeter) << displayManager;
  }
  start({"gdm=late", "logind", "session=c5,112,gdm,seat0,x11,greeter,opening", "brings=c5"});
  EXPECT_EQ(suspend(), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kTransient);
  start({"lightdm=late", "logind", "session=c3,1001,bob,seat0,x11,user,opening", "brings=c3"});
  EXPECT_EQ(switchTo(bob()), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kSeat + "SwitchToUser 'bob' ''\n");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DepartureTest, TakesNobodyElsesSessionForWhatALateDisplayManagerDoesAndStaysLocked) {
  start({"lightdm=late", "logind", "session=c4,1003,dora,seat0,x11,user,opening", "brings=c4"});
  EXPECT_EQ(switchTo(bob()), 1);
  EXPECT_EQ(bus.calls(), kLockAnn + kSeat + "SwitchToUser 'bob' ''\n");
  EXPECT_THAT(log.lines(), ElementsAre("Unable to ask org.freedesktop.DisplayManager for "
                                       "SwitchToUser: Connection timed out"));
}

TEST_F(DepartureTest, LeavesASessionForADesktopOnceItIsSeenToBeLocked) {
  start({"lightdm", "logind", "locker=late", kBob});
  EXPECT_EQ(switchTo(bob()), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kActivateBob);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DepartureTest, LeavesASessionThatNobodyLocksForALoginScreenAndNoDesktop) {
  for (const std::string locker : {"none", "lying"}) {
    for (const auto* running : {kBob, "session=c9,1003,dora,seat0,x11,user,online"}) {
      start({"lightdm", "logind", "locker=" + locker, running});
      EXPECT_EQ(switchTo(bob()), 0);
      EXPECT_EQ(bus.calls(), kLockAnn + kShowGreeter) << locker << ' ' << running;
    }
  }
  start({"gdm", "logind", "locker=none", kBob});
  EXPECT_EQ(switchTo(bob()), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kTransient);
  EXPECT_THAT(log.lines(), testing::Each(kNobodyLocks));
  EXPECT_EQ(log.lines().size(), 5U);
}

TEST_F(DepartureTest, DoesNotLeaveASessionThatNobodyLocksForAGuest) {
  auto gus = user("gus", "1009");
  gus.insert_or_assign(std::string(attribute::Guest), Strings{"1"});
  start({"lightdm", "logind", "locker=none"});
  EXPECT_EQ(switchTo(gus), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kShowGreeter);
}

TEST_F(DepartureTest, StaysInASessionThatNobodyLocksWithoutADisplayManager) {
  start({"logind", "locker=none", kBob});
  EXPECT_EQ(switchTo(bob()), 1);
  EXPECT_EQ(bus.calls(), kLockAnn);
  EXPECT_THAT(log.lines(), ElementsAre(kNobodyLocks,
                                       HasSubstr("there is no display manager on the system bus")));
}

TEST_F(DepartureTest, LeavesASessionThatNobodyLocksForTheLoginScreenAndSaysSo) {
  start({"lightdm", "logind", "locker=none"});
  EXPECT_EQ(suspend(), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kShowGreeter);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("Nobody locks session 2: ")));
}

TEST_F(DepartureTest, LeavesASessionThatNobodyLocksForAUserWhomLightDMAsksForThePassword) {
  start({"lightdm", "logind", "locker=none"});
  EXPECT_EQ(switchTo(user("carol", "1002")), 0);
  EXPECT_EQ(bus.calls(), kSeat + "SwitchToUser 'carol' ''\n");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DepartureTest, LeavesASessionThatNobodyLocksForAnotherOfTheSameUser) {
  start({"lightdm", "logind", "locker=none", kBob}, "session=7,1001,bob,seat0,tty,user,active");
  EXPECT_EQ(switchTo(bob()), 0);
  EXPECT_EQ(bus.calls(), kActivateBob);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DepartureTest, LeavesASessionThatNobodyLocksWhenTheConfigurationSaysSo) {
  machine.write("/etc/gatehall/switch.toml", "lock = \"try\"\n");
  start({"lightdm", "logind", "locker=none", kBob});
  EXPECT_EQ(switchTo(bob()), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kActivateBob);
  EXPECT_THAT(log.lines(),
              ElementsAre(HasSubstr("is left unlocked, as /etc/gatehall/switch.toml")));
}

TEST_F(DepartureTest, WaitsUntilASessionIsInFrontSoThatTheNextSwitchLeavesThatOne) {
  start({"logind", "terminal=late", kBob, "session=c4,1003,dora,seat0,x11,user,online"});
  EXPECT_EQ(switchTo(bob()), 0);
  auto dora = user("dora", "1003");
  dora.insert_or_assign(std::string(kUserPasswordKey), "");
  EXPECT_EQ(switchTo(dora), 0);
  EXPECT_EQ(bus.calls(), kLockAnn + kActivateBob + kLogin1 + "LockSession 'c3'\n" + kLogin1 +
                             "ActivateSessionOnSeat 'c4' 'seat0'\n");
}

TEST_F(DepartureTest, LocksNoSessionTwice) {
  start({"lightdm", "logind", "locker=none", kBob}, kAnnLocked);
  EXPECT_EQ(switchTo(bob()), 0);
  EXPECT_EQ(bus.calls(), kActivateBob);
}

TEST_F(DepartureTest, UnlocksWhatItLockedWhenItLeavesTheSessionForNobody) {
  start({"logind=ActivateSessionOnSeat", kBob});
  EXPECT_EQ(switchTo(bob()), 1);
  EXPECT_EQ(bus.calls(), kLockAnn + kActivateBob + kUnlockAnn);
  start({"sddm=refusing", "logind"});
  EXPECT_EQ(switchTo(bob()), 1);
  EXPECT_EQ(bus.calls(), kLockAnn + kShowGreeter + kUnlockAnn);
}

TEST_F(DepartureTest, StaysLockedWhenAnActivationThatIsNotAnsweredMayStillCome) {
  start({"logind=late:ActivateSessionOnSeat", kBob});
  EXPECT_EQ(switchTo(bob()), 1);
  EXPECT_EQ(bus.calls(), kLockAnn + kActivateBob);
}

TEST_F(DepartureTest, UnlocksNothingThatItDidNotLock) {
  start({"logind=ActivateSessionOnSeat", kBob}, kAnnLocked);
  EXPECT_EQ(switchTo(bob()), 1);
  EXPECT_EQ(bus.calls(), kActivateBob);
  start({"logind", "locker=none", kBob});
  EXPECT_EQ(switchTo(bob()), 1);
  EXPECT_EQ(bus.calls(), kLockAnn);
}

TEST_F(DepartureTest, StaysLockedWhenTheLoginScreenThatWasAskedForDoesNotCome) {
  start({"sddm=refusing", "logind"});
  EXPECT_EQ(suspend(), 1);
  EXPECT_EQ(bus.calls(), kLockAnn + kShowGreeter);
}

}  // namespace
}  // namespace gatehall
