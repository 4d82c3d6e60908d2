#include <condition_variable>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>
#include <utility>

#include "gatehall/platform/NotificationNames.h"
#include "tests/Patience.h"
#include "tests/access/VisibleListWorld.h"

// What may happen while the list is rebuilt on a thread of its own, in every order that threads can
// take. A gate holds the rebuild in its middle: the local users are in the new list, who is logged
// in is not known yet.

namespace gatehall {
namespace {

using namespace cast;

/// Holds every thread but the main one that lists the sessions, until it is opened.
class Gate final : public SessionService {
 public:
  explicit Gate(SessionService& behind) : mBehind(behind) {}

  std::optional<Dictionary> copyCurrentSession() override { return mBehind.copyCurrentSession(); }

  std::optional<std::vector<std::optional<Dictionary>>> copySessionList() override {
    if (std::this_thread::get_id() != mMainThread) pass();
    return mBehind.copySessionList();
  }

  /// Waits until so many threads have come.
  void awaitArrivals(int count) {
    std::unique_lock lock(mMutex);
    const auto arrived = [&] { return mArrivals >= count; };
    EXPECT_TRUE(mChanged.wait_for(lock, kPatience, arrived));
  }

  int arrivals() {
    const std::scoped_lock lock(mMutex);
    return mArrivals;
  }

  /// Lets those who wait and all who come through; or fail.
  void open(bool failing = false) {
    const std::scoped_lock lock(mMutex);
    mIsOpen = true;
    mIsFailing = failing;
    mChanged.notify_all();
  }

  void close() {
    const std::scoped_lock lock(mMutex);
    mIsOpen = false;
  }

 private:
  void pass() {
    std::unique_lock lock(mMutex);
    ++mArrivals;
    mChanged.notify_all();
    mChanged.wait(lock, [this] { return mIsOpen; });
    if (mIsFailing) throw PlatformException("the sessions can't be listed");
  }

  SessionService& mBehind;
  const std::thread::id mMainThread = std::this_thread::get_id();
  std::mutex mMutex;
  std::condition_variable mChanged;
  int mArrivals = 0;
  bool mIsOpen = false;
  bool mIsFailing = false;
};

class GatedHost final : public InstrumentedPlatform {
 public:
  explicit GatedHost(const std::shared_ptr<World>& world)
      : InstrumentedPlatform(world), gate(world->sessions()) {}
  SessionService& sessions() override { return gate; }

  Gate gate;
};

/// Does something when it is told.
class ActingTarget final : public UserAccessTarget {
 public:
  explicit ActingTarget(std::function<void()> act) : mAct(std::move(act)) {}
  void visibleUsersListChanged() override { mAct(); }

 private:
  const std::function<void()> mAct;
};

class RebuildThreads : public VisibleListWorld {
 protected:
  RebuildThreads() {
    install(machineOfAll());
    mWorld->sessions().bringToFront(1000, "ann");
    mWorld->runLoop().setThreads(WorldRunLoop::Threads::Free);
    Platform::install(mHost = std::make_shared<GatedHost>(mWorld));
    access()->addTarget(mTarget);
  }

  // A case that failed may have left a thread behind.
  ~RebuildThreads() override { gate().open(); }

  Gate& gate() { return mHost->gate; }

  void post(std::string_view name, std::optional<Dictionary> userInfo = std::nullopt) {
    mWorld->distributedNotificationCenter().post(name, std::move(userInfo));
    mWorld->runLoop().pump();
  }

  /// A rebuild begins, and stands at the gate.
  void beginRebuild() {
    access()->buildVisibleUsersList();
    gate().awaitArrivals(1);
  }

  void finishRebuild(bool failing = false) {
    gate().open(failing);
    settle();
  }

  std::shared_ptr<GatedHost> mHost;
  std::shared_ptr<CountingTarget> mTarget = std::make_shared<CountingTarget>();
};

constexpr auto kEverybody = "gus ann bob carol erin";
constexpr auto kEverybodyAndZoe = "gus ann bob carol erin zoe";

TEST_F(RebuildThreads, AListStaysUntilTheNewOneIsThere) {
  const auto list = access()->visibleUsersList();
  beginRebuild();
  EXPECT_EQ(access()->visibleUsersList(), list);
  EXPECT_EQ(mTarget->told, 0);
  finishRebuild();
  EXPECT_NE(access()->visibleUsersList(), list);
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(RebuildThreads, AChangeDuringARebuildIsInTheNextOneASecondLater) {
  access()->visibleUsersList();
  beginRebuild();
  addUser("zoe", "1005");
  post(kUserWasAddedNotification);
  // Asked for in between, the list is built at once; what the rebuild has takes its place.
  EXPECT_EQ(shown(), kEverybodyAndZoe);
  finishRebuild();
  EXPECT_EQ(shown(), kEverybody);
  EXPECT_EQ(mTarget->told, 1);
  advance(1.0);
  EXPECT_EQ(shown(), kEverybodyAndZoe);
  EXPECT_EQ(mTarget->told, 2);
}

TEST_F(RebuildThreads, ARequestThatFallsDueDuringARebuildIsDropped) {
  access()->visibleUsersList();
  beginRebuild();
  addUser("zoe", "1005");
  post(kUserWasAddedNotification);
  mWorld->runLoop().advance(1.0);
  finishRebuild();
  advance(5.0);
  EXPECT_EQ(gate().arrivals(), 1);
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_EQ(shown(), kEverybody);
}

TEST_F(RebuildThreads, RequestsDuringARebuildAreDropped) {
  beginRebuild();
  access()->buildVisibleUsersList();
  access()->buildVisibleUsersList();
  finishRebuild();
  EXPECT_EQ(gate().arrivals(), 1);
  EXPECT_EQ(mTarget->told, 1);
  access()->buildVisibleUsersList();
  settle();
  EXPECT_EQ(gate().arrivals(), 2);
  EXPECT_EQ(mTarget->told, 2);
}

TEST_F(RebuildThreads, RequestsFromSeveralThreadsAtOnceAreOneRebuild) {
  std::vector<std::thread> threads;
  for (int count = 0; count < 4; ++count) {
    threads.emplace_back([access = access()] { access->buildVisibleUsersList(); });
  }
  for (auto& each : threads) each.join();
  gate().awaitArrivals(1);
  finishRebuild();
  EXPECT_EQ(gate().arrivals(), 1);
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(RebuildThreads, ParentalControlsReachTheUsersOfAListThatIsBeingFilled) {
  mWorld->directory()
      .node(kLocalNode)
      ->record("Users", "bob")
      ->setValues("TavloSettings", {"limits"});
  beginRebuild();
  mWorld->parentalControls().setLimit(1001, {.allowed = false, .result = 3, .nextCurfew = {}});
  post(kKinwatchLoginStatusChangedNotification,
       Dictionary{{std::string(kKinwatchUserNameKey), "bob"}});
  finishRebuild();
  const auto list = access()->visibleUsersList();
  EXPECT_FALSE(list->findUserByShortName("bob")->kinwatchAllowsLogin());
  EXPECT_TRUE(list->findUserByShortName("carol")->kinwatchAllowsLogin());
}

TEST_F(RebuildThreads, AFailedRebuildKeepsTheListSaysSoAndTellsTheTargetsAllTheSame) {
  const auto list = access()->visibleUsersList();
  beginRebuild();
  finishRebuild(true);
  EXPECT_EQ(access()->visibleUsersList(), list);
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_EQ(errors(), Strings{"Unable to create user list: the sessions can't be listed"});
}

TEST_F(RebuildThreads, AFailedRebuildOfADroppedListLeavesItToTheNextQuestion) {
  access()->visibleUsersList();
  addUser("zoe", "1005");
  post(kUserWasAddedNotification);
  mWorld->runLoop().advance(1.0);
  gate().awaitArrivals(1);
  finishRebuild(true);
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_EQ(shown(), kEverybodyAndZoe);
}

TEST_F(RebuildThreads, AFailedRebuildIsFollowedByTheNextOneThatIsAskedFor) {
  beginRebuild();
  finishRebuild(true);
  gate().open();
  access()->buildVisibleUsersList();
  settle();
  EXPECT_EQ(mTarget->told, 2);
  EXPECT_EQ(errors().size(), 1U);
}

TEST_F(RebuildThreads, TargetsAreToldOnTheMainThreadAndSeeTheNewList) {
  std::thread::id toldOn;
  std::string seen;
  access()->addTarget(std::make_shared<ActingTarget>([&] {
    toldOn = std::this_thread::get_id();
    seen = shown();
  }));
  access()->visibleUsersList();
  addUser("zoe", "1005");
  beginRebuild();
  finishRebuild();
  EXPECT_EQ(toldOn, std::this_thread::get_id());
  EXPECT_EQ(seen, kEverybodyAndZoe);
}

TEST_F(RebuildThreads, ARequestFromATargetThatIsBeingToldIsDroppedForTheRebuildIsNotOver) {
  access()->addTarget(
      std::make_shared<ActingTarget>([this] { access()->buildVisibleUsersList(); }));
  beginRebuild();
  finishRebuild();
  EXPECT_EQ(gate().arrivals(), 1);
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(RebuildThreads, AChangeThatATargetHearsOfWhileItIsToldIsInTheNextRebuild) {
  bool isFirst = true;
  access()->addTarget(std::make_shared<ActingTarget>([&] {
    if (!std::exchange(isFirst, false)) return;
    addUser("zoe", "1005");
    post(kUserWasAddedNotification);
  }));
  beginRebuild();
  finishRebuild();
  EXPECT_EQ(mTarget->told, 1);
  advance(1.0);
  EXPECT_EQ(mTarget->told, 2);
  EXPECT_EQ(shown(), kEverybodyAndZoe);
}

TEST_F(RebuildThreads, TargetsMayComeAndGoWhileARebuildTellsThem) {
  const auto late = std::make_shared<CountingTarget>();
  const auto leaving = std::make_shared<CountingTarget>();
  access()->addTarget(std::make_shared<ActingTarget>([&] {
    access()->removeTarget(leaving);
    access()->addTarget(late);
  }));
  access()->addTarget(leaving);
  gate().open();
  access()->buildVisibleUsersList();
  settle();
  EXPECT_EQ(leaving->told, 1) << "the ones that are told are those who were there";
  EXPECT_EQ(late->told, 0);
  access()->buildVisibleUsersList();
  settle();
  EXPECT_EQ(leaving->told, 1);
  EXPECT_EQ(late->told, 1);
  EXPECT_EQ(mTarget->told, 2);
}

TEST_F(RebuildThreads, TargetsMayComeAndGoOnTheMainThreadWhileRebuildsRun) {
  gate().open();
  for (int round = 0; round < 50; ++round) {
    const auto passing = std::make_shared<CountingTarget>();
    access()->buildVisibleUsersList();
    access()->addTarget(passing);
    mWorld->runLoop().pump();
    access()->removeTarget(passing);
  }
  settle();
  EXPECT_GE(mTarget->told, 1);
}

TEST_F(RebuildThreads, AHostThatGoesDuringARebuildWaitsForItAndTellsNobody) {
  const std::weak_ptr<UserAccess> expiring = access();
  beginRebuild();
  gate().open();
  Platform::install(nullptr);
  EXPECT_EQ(mTarget->told, 0);
  EXPECT_TRUE(expiring.expired());
}

TEST_F(RebuildThreads, AHostThatGoesWhileARebuildWaitsToTellEndsItThere) {
  gate().open();
  access()->buildVisibleUsersList();
  gate().awaitArrivals(1);
  const auto world = mWorld;
  install(std::make_shared<World>());
  EXPECT_EQ(mTarget->told, 0);
  world->runLoop().pump();
  EXPECT_EQ(mTarget->told, 0);
}

TEST_F(RebuildThreads, AHostMayComeBackAfterARebuildThatItsEndCutShort) {
  beginRebuild();
  gate().open();
  install(mWorld);
  access()->addTarget(mTarget);
  access()->buildVisibleUsersList();
  settle();
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_EQ(shown(), kEverybody);
}

TEST_F(RebuildThreads, EveryNotificationMayComeAtAnyTime) {
  gate().open();
  mWorld->directory()
      .node(kLocalNode)
      ->record("Users", "bob")
      ->setValues("TavloSettings", {"limits"});
  const std::vector<std::function<void()>> changes = {
      [this] { post(kUserWasAddedNotification); },
      [this] {
        post(kKinwatchLoginStatusChangedNotification,
             Dictionary{{std::string(kKinwatchUserNameKey), "bob"}});
      },
      [this] { mWorld->notificationCenter().post(kCurrentLocaleDidChangeNotification); },
      [this] {
        post(kFullUserNameDidChangeNotification,
             Dictionary{{std::string(kGeneratedUIDKey), std::string(kBobGUID)}});
      },
      [this] { mWorld->systemNotifications().post(kConsoleSessionChangedNotification); },
      [this] { mWorld->systemNotifications().post(kLocalGroupsChangedNotification); },
      [this] { post(kRefreshUserListNotification); },
      [this] { access()->networkStatusChanged(); },
      [this] { access()->buildVisibleUsersList(); },
      [this] { shown(); },
  };
  for (std::size_t round = 0; round < 300; ++round) {
    changes[round * 7 % changes.size()]();
    mWorld->runLoop().advance(0.3);
    const auto list = access()->visibleUsersList();
    for (const auto& user : *list) user->longName();
  }
  addUser("zoe", "1005");
  settle();
  post(kUserWasAddedNotification);
  advance(1.0);
  EXPECT_EQ(shown(), kEverybodyAndZoe);
}

}  // namespace
}  // namespace gatehall
