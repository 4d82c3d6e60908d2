#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "gatehall/linux/LinuxPlatform.h"
#include "gatehall/platform/NotificationNames.h"
#include "tests/Patience.h"
#include "tests/linux/Driving.h"
#include "tests/linux/Machine.h"
#include "tests/linux/OwnRun.h"
#include "tests/linux/bus/fixture/BusPeer.h"
#include "tests/linux/bus/fixture/PrivateBus.h"
#include "tests/platform/contracts/NotificationContract.h"

namespace gatehall {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kAccounts = "org.freedesktop.Accounts";
constexpr const char* kAccountsPath = "/org/freedesktop/Accounts";
constexpr const char* kBobPath = "/org/freedesktop/Accounts/User1001";
constexpr const char* kUser = "org.freedesktop.Accounts.User";
constexpr const char* kLogind = "org.freedesktop.login1";
constexpr const char* kLogindPath = "/org/freedesktop/login1";
constexpr const char* kManager = "org.freedesktop.login1.Manager";
constexpr const char* kSeatPath = "/org/freedesktop/login1/seat/seat0";

const std::string kAdded(kUserWasAddedNotification);
const std::string kRemoved(kUserWasRemovedNotification);
const std::string kRefresh(kRefreshUserListNotification);
const std::string kSessions(kSessionUserChangedNotification);
const std::string kConsole(kConsoleSessionChangedNotification);
const std::string kGroups(kLocalGroupsChangedNotification);

/// A machine with ann and bob, whose events are heard through its platform.
class ListeningMachine {
 public:
  ListeningMachine() {
    machine.options.systemBusAddress = bus.address();
    machine.options.callTimeout = kPatience;
    machine.write("/etc/passwd",
                  "ann:x:1000:1000:Ann:/home/ann:/bin/sh\n"
                  "bob:x:1001:1001:Bob:/home/bob:/bin/sh\n");
    platform = std::make_unique<LinuxPlatform>(machine.linuxOptions(), log);
    platform->distributedNotificationCenter().addObserver(
        this, kFence, [this](const Notification& notification) {
          mFence = *notification.userInfo->at(kNumber).string();
        });
  }

  LinuxRunLoop& loop() { return platform->runLoop(); }

  /// Drives the loop until what the peer has sent so far has come, and it is connected.
  bool settle(BusPeer& peer) {
    const auto fence = std::to_string(++mFences);
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    for (double wait = 0.05; std::chrono::steady_clock::now() < limit; wait = 0.01) {
      peer.post(kFence, {{kNumber, fence}});
      auto isLate = std::make_shared<bool>(false);
      loop().performAfterDelay(wait, [isLate] { *isLate = true; });
      driveUntil(loop(), [&] { return mFence == fence || *isLate; });
      if (mFence == fence) return true;
    }
    return false;
  }

  PrivateBus bus;
  Machine machine;
  std::shared_ptr<KeptLog> log = std::make_shared<KeptLog>();
  std::unique_ptr<LinuxPlatform> platform;

 private:
  static constexpr const char* kFence = "everything so far";
  static constexpr const char* kNumber = "number";

  int mFences = 0;
  std::string mFence;  ///< the number of the last one that came
};

class MachineEventsTest : public testing::Test, protected ListeningMachine {
 protected:
  MachineEventsTest() {
    for (const auto name :
         {kUserWasAddedNotification, kUserWasRemovedNotification, kUserWasEnabledNotification,
          kUserWasDisabledNotification, kFullUserNameDidChangeNotification,
          kRefreshUserListNotification, kSessionUserChangedNotification,
          kKinwatchLoginStatusChangedNotification}) {
      platform->distributedNotificationCenter().addObserver(this, name, keep());
    }
    platform->notificationCenter().addObserver(this, kCurrentLocaleDidChangeNotification, keep());
    for (const auto name : {kConsoleSessionChangedNotification, kLocalGroupsChangedNotification}) {
      mSources.push_back(platform->systemNotifications().registerName(
          name, [this, name] { heard.emplace_back(name); }));
      loop().addSource(mSources.back(), RunLoopMode::Common);
    }
  }

  NotificationCenter::Handler keep() {
    return [this](const Notification& notification) {
      heard.push_back(notification.name +
                      (notification.userInfo ? description(*notification.userInfo) : ""));
    };
  }

  /// Services that are there from the beginning.
  void begin(std::initializer_list<const char*> services) {
    for (const auto* each : services) peer->own(each);
    ASSERT_TRUE(settle(*peer));
    ASSERT_THAT(heard, IsEmpty());
  }

  bool isHeard(const std::string& text) {
    return driveUntil(loop(), [&] { return std::ranges::find(heard, text) != heard.end(); });
  }

  void replace(const char* file, const std::string& content) {
    machine.write(std::string(file) + "+", content);
    std::filesystem::rename(machine.path(std::string(file) + "+"), machine.path(file));
  }

  std::string guidOfBob() { return values(machine.user("bob"), "GUID").at(0); }

  std::unique_ptr<BusPeer> peer = std::make_unique<BusPeer>(bus.address());
  Strings heard;

 private:
  std::vector<std::shared_ptr<RunLoopSource>> mSources;
};

TEST_F(MachineEventsTest, TellOfUsersWhoAreAddedAndDeleted) {
  begin({kAccounts});
  peer->emit(kAccountsPath, kAccounts, "UserAdded", "o", {kBobPath});
  peer->emit(kAccountsPath, kAccounts, "UserDeleted", "o", {kBobPath});
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kAdded, kRemoved));
}

TEST_F(MachineEventsTest, TellOfAUserWhoIsShownOtherwise) {
  begin({kAccounts});
  const auto bobChanged =
      std::string(kFullUserNameDidChangeNotification) + "{generatedUID = " + guidOfBob() + "; }";
  peer->change(kBobPath, kUser, "RealName", "Robert");
  EXPECT_TRUE(isHeard(bobChanged));
  heard.clear();
  peer->invalidate(kBobPath, kUser, "IconFile");
  EXPECT_TRUE(isHeard(bobChanged));
}

TEST_F(MachineEventsTest, TellOfAUserWhoIsLockedOrUnlocked) {
  begin({kAccounts});
  peer->change(kBobPath, kUser, "Locked", true);
  peer->change(kBobPath, kUser, "Locked", false);
  peer->invalidate(kBobPath, kUser, "Locked");
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(std::string(kUserWasDisabledNotification),
                                 std::string(kUserWasEnabledNotification), kRefresh));
}

TEST_F(MachineEventsTest, TellOfAUserWhoseSessionsAreLimitedOtherwise) {
  begin({kAccounts});
  peer->invalidate(kBobPath, "com.endlessm.ParentalControls.SessionLimits", "DailySchedule");
  EXPECT_TRUE(isHeard(std::string(kKinwatchLoginStatusChangedNotification) + "{userName = bob; }"));
  EXPECT_EQ(heard.size(), 1U);
}

TEST_F(MachineEventsTest, RefreshForAUserWhoIsPerhapsLimitedForTheFirstTime) {
  begin({kAccounts});
  peer->invalidate(kBobPath, "com.endlessm.ParentalControls.SessionLimits", "LimitType");
  EXPECT_TRUE(isHeard(std::string(kKinwatchLoginStatusChangedNotification) + "{userName = bob; }"));
  EXPECT_TRUE(isHeard(kRefresh));
  EXPECT_EQ(heard.size(), 2U);
}

TEST_F(MachineEventsTest, KeepSilentAboutWhatNobodyShows) {
  begin({kAccounts});
  peer->change(kBobPath, kUser, "XSession", "stay");
  peer->change(kBobPath, "org.freedesktop.DisplayManager.AccountsService", "RealName", "x");
  peer->change("/org/freedesktop/Accounts/User1001x", kUser, "RealName", "x");
  peer->emit(kBobPath, kUser, "Changed", "", {});
  peer->emit(kBobPath, "org.freedesktop.DBus.Properties", "PropertiesChanged", "s", {kUser});
  peer->emit(kBobPath, "org.freedesktop.DBus.Properties", "PropertiesChanged", "sss",
             {kUser, "Locked", "Locked"});
  ASSERT_TRUE(settle(*peer));
  driveFor(loop(), 0.05);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(MachineEventsTest, TellOfSessionsThatBeginAndEnd) {
  begin({kLogind});
  const std::string session = std::string(kLogindPath) + "/session/gatehall1";
  peer->emit(kLogindPath, kManager, "SessionNew", "so", {"gatehall1", session});
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kSessions));
  peer->emit(kLogindPath, kManager, "SessionRemoved", "so", {"gatehall1", session});
  peer->emit(kLogindPath, kManager, "SessionRemoved", "so", {"gatehall2", session});
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kSessions, kSessions));
}

TEST_F(MachineEventsTest, KeepSilentAboutSessionsThatAreNotGraphical) {
  if (!OwnRun::obstacle().empty()) GTEST_SKIP() << OwnRun::obstacle();
  const OwnRun run;
  OwnRun::write("sessions/g1", "UID=1001\nACTIVE=1\nSTATE=active\nTYPE=tty\nCLASS=user\n");
  OwnRun::write("sessions/g2",
                "UID=1001\nACTIVE=1\nSTATE=active\nTYPE=x11\nCLASS=greeter\nSEAT=seat0\n");
  OwnRun::write("sessions/g3",
                "UID=1001\nACTIVE=1\nSTATE=active\nTYPE=x11\nCLASS=user\nSEAT=seat0\n");
  begin({kLogind});
  for (const auto* name : {"g1", "g2"}) {
    peer->emit(kLogindPath, kManager, "SessionNew", "so", {name, "/"});
    peer->emit(kLogindPath, kManager, "SessionRemoved", "so", {name, "/"});
  }
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, IsEmpty());
  peer->emit(kLogindPath, kManager, "SessionRemoved", "so", {"g3", "/"});
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kSessions)) << "of a session that was there before";
}

TEST_F(MachineEventsTest, TellOfALoginOnceItIsDoneAndOfASessionAsSoonAsItEnds) {
  if (!OwnRun::obstacle().empty()) GTEST_SKIP() << OwnRun::obstacle();
  const OwnRun run;
  const auto write = [](const char* state) {
    OwnRun::write("sessions/g1", std::string("UID=1001\nACTIVE=1\nTYPE=x11\nCLASS=user\n") +
                                     "SEAT=seat0\nSTATE=" + state + "\n");
  };
  begin({kLogind});
  write("opening");
  peer->emit(kLogindPath, kManager, "SessionNew", "so", {"g1", "/"});
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, IsEmpty());
  write("active");
  EXPECT_TRUE(isHeard(kSessions));
  write("online");
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kSessions));
  heard.clear();
  write("closing");
  EXPECT_TRUE(isHeard(kSessions));
  peer->emit(kLogindPath, kManager, "SessionRemoved", "so", {"g1", "/"});
  OwnRun::write("sessions/.#g2", "STATE=active\n");
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kSessions));
}

TEST_F(MachineEventsTest, TellThatAnotherSessionOwnsTheConsole) {
  begin({kLogind});
  peer->change(kSeatPath, "org.freedesktop.login1.Seat", "IdleHint", true);
  peer->change(kSeatPath, "org.freedesktop.login1.Seat", "ActiveSession", "c2");
  peer->change(std::string(kLogindPath) + "/seat/seat1", "org.freedesktop.login1.Seat",
               "ActiveSession", "c3");
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kConsole));
}

TEST_F(MachineEventsTest, TellOfAConsoleThatChangedBeforeItCouldBeHeard) {
  if (!OwnRun::obstacle().empty()) GTEST_SKIP() << OwnRun::obstacle();
  const OwnRun run;
  OwnRun::write("seats/seat0", "ACTIVE=g1\nACTIVE_UID=1000\n");
  loop().descriptor();
  OwnRun::write("seats/seat0", "ACTIVE=g2\nACTIVE_UID=1001\n");
  EXPECT_TRUE(isHeard(kConsole));
  EXPECT_EQ(heard.size(), 1U);
}

TEST(MachineEventsUnderAFolder, ReadNoSessionOfThisMachine) {
  if (!OwnRun::obstacle().empty()) GTEST_SKIP() << OwnRun::obstacle();
  const OwnRun run;
  // Whoever reads what stands there logs that it can't be read.
  std::filesystem::create_symlink("seat0", "/run/systemd/seats/seat0");
  const Machine machine;
  for (const bool isRunning : {true, false}) {
    const auto log = std::make_shared<KeptLog>();
    auto options = machine.linuxOptions();
    options.setSystemBusAddress("unix:path=" + machine.path("/none"));
    options.setRunning(isRunning);
    LinuxPlatform platform(options, log);
    platform.runLoop().descriptor();
    EXPECT_EQ(std::ranges::any_of(
                  log->lines(), [](const auto& line) { return line.find("logind") < line.size(); }),
              isRunning);
  }
}

TEST_F(MachineEventsTest, TellOfGroupsThatChange) {
  begin({});
  replace("/etc/group", "staff:x:50:ann\n");
  EXPECT_TRUE(isHeard(kGroups));
  heard.clear();
  machine.write("/etc/group", "staff:x:50:bob\n");
  EXPECT_TRUE(isHeard(kGroups));
  EXPECT_THAT(heard, Not(Contains(kRefresh)));
}

TEST_F(MachineEventsTest, RefreshForAccountFilesWhereAccountsServiceIsAbsent) {
  begin({});
  replace("/etc/passwd", "ann:x:1000:1000:Ann Lee:/home/ann:/bin/sh\n");
  EXPECT_TRUE(isHeard(kRefresh));
  heard.clear();
  replace("/etc/shadow", "ann:!:1::::::\n");
  EXPECT_TRUE(isHeard(kRefresh));
  heard.clear();
  machine.write("/etc/hosts", "127.0.0.1 localhost\n");
  driveFor(loop(), 0.05);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(MachineEventsTest, RefreshForAccountFilesOfWhichAccountsServiceSaysNothing) {
  begin({kAccounts});
  const auto start = std::chrono::steady_clock::now();
  replace("/etc/passwd", "ann:x:1000:1000:Ann Lee:/home/ann:/bin/sh\n");
  EXPECT_TRUE(isHeard(kRefresh));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500))
      << "it had no time to read them";
}

TEST_F(MachineEventsTest, TellOfAccountFilesBeforeItIsKnownWhatThatMeans) {
  begin({kAccounts});
  int told = 0;
  const auto source =
      platform->systemNotifications().registerName(kAccountFilesChangedNotification, [&] {
        EXPECT_THAT(heard, Not(Contains(kRefresh)));
        ++told;
      });
  loop().addSource(source, RunLoopMode::Default);
  replace("/etc/passwd", "ann:x:1000:1000:Ann Lee:/home/ann:/bin/sh\n");
  EXPECT_TRUE(driveUntil(loop(), [&] { return told == 1; }));
  EXPECT_TRUE(isHeard(kRefresh));
  heard.clear();
  replace("/etc/shadow", "ann:!:1::::::\n");
  EXPECT_TRUE(driveUntil(loop(), [&] { return told == 2; }));
  EXPECT_TRUE(isHeard(kRefresh));
  machine.write("/etc/hosts", "127.0.0.1 localhost\n");
  driveFor(loop(), 0.05);
  EXPECT_EQ(told, 2);
  loop().removeSource(source, RunLoopMode::Default);
}

TEST_F(MachineEventsTest, LeaveAccountFilesToAccountsServiceThatTells) {
  begin({kAccounts});
  // What it tells comes too late now and then on a busy machine, but not each time.
  for (int time = 0; time < 30 && heard != Strings{kRemoved}; ++time) {
    heard.clear();
    replace("/etc/passwd", "ann:x:1000:1000:Ann:/home/ann:/bin/sh\n");
    driveFor(loop(), 0.05);
    peer->emit(kAccountsPath, kAccounts, "UserDeleted", "o", {kBobPath});
    driveFor(loop(), 1.2);
  }
  EXPECT_THAT(heard, ElementsAre(kRemoved));
}

TEST_F(MachineEventsTest, RefreshForSettingsThatChange) {
  std::filesystem::create_directories(machine.path("/etc/gatehall"));
  begin({});
  machine.write("/etc/gatehall/com.orvane.gatehall.plist", "<plist/>");
  EXPECT_TRUE(isHeard(kRefresh));
}

TEST_F(MachineEventsTest, RefreshForSettingsWhoseFolderComesLaterOrGoesAndComesAgain) {
  begin({});
  for (int time = 0; time < 2; ++time) {
    std::filesystem::create_directories(machine.path("/Library/Managed Preferences"));
    EXPECT_TRUE(isHeard(kRefresh));
    heard.clear();
    machine.write("/Library/Managed Preferences/com.orvane.gatehall.plist", "<plist/>");
    EXPECT_TRUE(isHeard(kRefresh));
    heard.clear();
    std::filesystem::remove_all(machine.path("/Library"));
    EXPECT_TRUE(isHeard(kRefresh));
    driveFor(loop(), 0.05);
    heard.clear();
  }
  std::filesystem::create_directories(machine.path("/Library/Other Preferences"));
  machine.write("/Library/Other Preferences/com.orvane.gatehall.plist", "<plist/>");
  driveFor(loop(), 0.05);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(MachineEventsTest, TellOfTheLocaleAndOrderNamesByIt) {
  begin({"org.freedesktop.locale1"});
  const auto& swedish = "\u00e5sa";
  EXPECT_LT(platform->collation().compare(swedish, "zoe"), 0);
  machine.write("/etc/default/locale", "LANG=sv_SE.UTF-8\n");
  peer->invalidate("/org/freedesktop/locale1", "org.freedesktop.locale1", "X11Layout");
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, IsEmpty());
  peer->invalidate("/org/freedesktop/locale1", "org.freedesktop.locale1", "Locale");
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(std::string(kCurrentLocaleDidChangeNotification)));
  EXPECT_GT(platform->collation().compare(swedish, "zoe"), 0);
}

TEST_F(MachineEventsTest, BelieveAServicesSignalsOnlyItself) {
  begin({kAccounts, kLogind});
  BusPeer other(bus.address());
  const auto pretend = [&](auto emit) {
    (other.*emit)(kAccountsPath, kAccounts, "UserAdded", "o", Strings{kBobPath});
    (other.*emit)(kLogindPath, kManager, "SessionNew", "so", Strings{"gatehall1", "/"});
    (other.*emit)("/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged", "sss",
                  Strings{kAccounts, "", ":1.999"});
  };
  pretend(&BusPeer::emit);
  pretend(&BusPeer::emitToEach);
  ASSERT_TRUE(settle(other));
  EXPECT_THAT(heard, IsEmpty());
  peer->emit(kAccountsPath, kAccounts, "UserAdded", "o", {kBobPath});
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kAdded)) << "the service's owner was mistaken";
}

TEST_F(MachineEventsTest, TakeAnyonesNotificationsButNoOthersOfTheInterface) {
  begin({});
  peer->emit("/", "com.orvane.Notifications1", "Posted", "ss", {kAdded, "half of one"});
  peer->emit("/", "com.orvane.Notifications1", "Removed", "s", {kAdded});
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, IsEmpty());
  peer->post(kAdded, {{"userName", "bob"}});
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kAdded + "{userName = bob; }"));
}

TEST_F(MachineEventsTest, RefreshWhenAServiceWasAway) {
  begin({kAccounts, kLogind});
  peer->giveUp(kAccounts);
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, IsEmpty());
  peer->own(kAccounts);
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kRefresh));
  peer->giveUp(kLogind);
  BusPeer next(bus.address());
  next.own(kLogind);
  ASSERT_TRUE(settle(next));
  EXPECT_THAT(heard, ElementsAre(kRefresh, kRefresh));
  heard.clear();
  next.change(kSeatPath, "org.freedesktop.login1.Seat", "ActiveSession", "c2");
  ASSERT_TRUE(settle(next));
  EXPECT_THAT(heard, ElementsAre(kConsole));
}

TEST_F(MachineEventsTest, TakeAccountsServiceThatComesWhenItIsAskedForNoNews) {
  begin({});
  peer->own(kAccounts);
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, IsEmpty());
  peer->emit(kAccountsPath, kAccounts, "UserAdded", "o", {kBobPath});
  ASSERT_TRUE(settle(*peer));
  EXPECT_THAT(heard, ElementsAre(kAdded));
}

TEST_F(MachineEventsTest, RefreshAndGoOnWhenTheBusWasAway) {
  begin({kAccounts});
  for (int time = 0; time < 2; ++time) {
    peer.reset();
    bus.end();
    driveFor(loop(), 0.05);
    EXPECT_THAT(heard, IsEmpty());
    bus.begin();
    EXPECT_TRUE(isHeard(kRefresh));
    peer = std::make_unique<BusPeer>(bus.address());
    peer->own(kAccounts);
    peer->emit(kAccountsPath, kAccounts, "UserAdded", "o", {kBobPath});
    ASSERT_TRUE(settle(*peer));
    // One for the bus, and one for AccountsService if it was seen to go.
    std::erase(heard, kRefresh);
    EXPECT_THAT(heard, ElementsAre(kAdded));
    heard.clear();
  }
}

TEST_F(MachineEventsTest, RefreshForEachAccountFileWhileTheBusIsAway) {
  begin({});
  // Behind the machine on the bus, which is the first to be left, and hears nothing of it.
  BusPeer accounts(bus.address());
  accounts.own(kAccounts);
  ASSERT_TRUE(settle(accounts));
  bus.end();
  ASSERT_TRUE(driveUntil(loop(), [&] { return !log->lines().empty(); }));
  replace("/etc/passwd", "ann:x:1000:1000:Ann Lee:/home/ann:/bin/sh\n");
  replace("/etc/shadow", "ann:!:1::::::\n");
  EXPECT_TRUE(driveUntil(loop(), [&] { return std::ranges::count(heard, kRefresh) == 2; }))
      << "AccountsService, which is out of reach, was waited for";
}

TEST_F(MachineEventsTest, RefreshWhenTheBusComesLate) {
  peer.reset();
  bus.end();
  driveFor(loop(), 0.05);
  bus.begin();
  EXPECT_TRUE(isHeard(kRefresh));
}

TEST_F(MachineEventsTest, RestWhileThereIsNoBus) {
  peer.reset();
  bus.end();
  driveFor(loop(), 0.01);
  bool isOver = false;
  loop().performAfterDelay(0.5, [&] { isOver = true; });
  int turns = 0;
  for (; !isOver && hasSomethingToDo(loop()); ++turns) loop().dispatch();
  EXPECT_LT(turns, 20);
}

class SilentBusTest : public MachineEventsTest {
 protected:
  /// A platform that has heard nothing yet, and from now on hears nothing.
  void listen(std::chrono::milliseconds callTimeout) {
    machine.options.callTimeout = callTimeout;
    platform = std::make_unique<LinuxPlatform>(machine.linuxOptions(), log);
    platform->distributedNotificationCenter().addObserver(this, kRefreshUserListNotification,
                                                          keep());
    bus.freeze();
  }
};

TEST_F(SilentBusTest, HoldsNobodyUp) {
  listen(2 * kPatience);
  const auto start = std::chrono::steady_clock::now();
  for (int turn = 0; turn < 3; ++turn) loop().dispatch();
  EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience);
  bus.thaw();
}

TEST_F(SilentBusTest, IsGivenUpAndLookedForAgain) {
  listen(std::chrono::milliseconds(500));
  ASSERT_TRUE(driveUntil(loop(), [&] {
    return holdsLine(log->lines(),
                     "Unable to listen to the system bus, which is looked for again: no answer");
  }));
  bus.thaw();
  EXPECT_TRUE(isHeard(kRefresh));
}

}  // namespace

namespace contracts {
namespace {

template <class Host>
class OnABus : public Host {
 public:
  OnABus() { mMachine.settle(mPeer); }
  Platform& platform() override { return *mMachine.platform; }
  void deliver() override { ASSERT_TRUE(mMachine.settle(mPeer)); }

 protected:
  ListeningMachine mMachine;
  BusPeer mPeer{mMachine.bus.address()};
};

class BusNotificationHost final : public OnABus<NotificationHost> {
 public:
  void postDistributed(std::string_view name, const Dictionary& userInfo) override {
    mPeer.post(std::string(name), userInfo);
  }
};

class BusSystemNotificationHost final : public OnABus<SystemNotificationHost> {
 public:
  BusSystemNotificationHost() {
    mPeer.own(kLogind);
    mMachine.settle(mPeer);
  }
  void changeConsole() override {
    mPeer.change(kSeatPath, "org.freedesktop.login1.Seat", "ActiveSession", "c2");
  }
  void changeGroups() override { mMachine.machine.write("/etc/group", "staff:x:50:ann\n"); }
};

INSTANTIATE_TEST_SUITE_P(Bus, NotificationContract, testing::Values(&make<BusNotificationHost>));
INSTANTIATE_TEST_SUITE_P(Bus, SystemNotificationContract,
                         testing::Values(&make<BusSystemNotificationHost>));

}  // namespace
}  // namespace contracts

}  // namespace gatehall
