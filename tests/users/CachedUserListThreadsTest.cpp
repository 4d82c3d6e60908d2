#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "gatehall/users/KinwatchMonitor.h"
#include "gatehall/users/UserLists.h"
#include "gatehall/users/UserLookup.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

/// Forty managed users, half of them on the network with the local half's names.
class CachedUserListThreads : public Machine {
 protected:
  static constexpr int kUsers = 20;
  static constexpr int kRounds = 30;

  CachedUserListThreads() {
    for (int number = 1; number <= kUsers; ++number) {
      const auto name = "u" + std::to_string(number);
      const auto uid = std::to_string(number);
      const Attributes attributes = {{"RecordName", {name, "alias-" + name}},
                                     {"UniqueID", {uid}},
                                     {"GUID", {"G" + uid}},
                                     {"FullName", {"User " + uid}},
                                     {"TavloSettings", {"<settings/>"}}};
      addUser(attributes);
      addUser(attributes, cast::kNetworkNode);
    }
  }

  /// Builds, prunes, sorts and drops lists as a rebuild of the users to show does.
  static void rebuild() {
    auto list = networkUsers();
    ASSERT_NE(list, nullptr);
    list->addCachedUserList(*localNodeUsers());
    list->addObject(CachedUser::cachedOtherUser("Jane"));
    for (int number = 1; number <= kUsers; number += 3) {
      list->removeObject(list->findUserByShortName("u" + std::to_string(number)));
    }
    for (const auto& user : *list) user->setSuspended(1);
    list->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
    ASSERT_EQ(list->count(), 14U);
    EXPECT_EQ(list->objectAtIndex(0)->longName(), "Jane");
    EXPECT_EQ(list->objectAtIndex(1)->longName(), "User 2");
    EXPECT_EQ(list->lastObject()->longName(), "User 20");
  }
};

TEST_F(CachedUserListThreads, HearOfChangedUsersWhileAnotherThreadFillsPrunesSortsAndDropsLists) {
  Platform::install(mWorld);  // no trace, which would grow with every refresh
  mWorld->parentalControls().setLimit(2, {false, 3, Date()});
  std::atomic<bool> done = false;
  std::thread builder([&] {
    for (int round = 0; round < kRounds; ++round) rebuild();
    done = true;
  });
  const auto monitor = KinwatchMonitor::sharedKWMonitor();
  for (int posted = 0; !done; ++posted) {
    mWorld->distributedNotificationCenter().post(
        kKinwatchLoginStatusChangedNotification,
        Dictionary{{std::string(kKinwatchUserNameKey), "u" + std::to_string(posted % 25)}});
    mWorld->runLoop().pump();
    monitor->notifyTargetsAboutUser("nobody");
    std::this_thread::yield();
  }
  builder.join();
}

TEST_F(CachedUserListThreads, AreReadOnOneThreadWhileParentalControlsRefreshThem) {
  Platform::install(mWorld);
  const auto list = localNodeUsers();
  ASSERT_EQ(list->count(), static_cast<std::uint64_t>(kUsers));
  const auto kim = list->findUserByShortName("u2");
  std::atomic<bool> done = false;
  std::thread refresher([&] {
    const auto monitor = KinwatchMonitor::sharedKWMonitor();
    for (int round = 0; round < kRounds; ++round) {
      mWorld->parentalControls().setLimit(
          2, {round % 2 == 0, 3, Date(std::chrono::duration<double>(round))});
      monitor->notifyTargetsAboutUser("u2");
    }
    done = true;
  });
  do {
    list->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
    kim->setCurrentUser(1);
    kim->kinwatchAllowsLogin();
    const auto curfew = kim->kinwatchNextCurfewTime();
    EXPECT_LT(curfew.value_or(Date()), Date(std::chrono::duration<double>(kRounds)));
    EXPECT_TRUE(kim->isCurrentUser());
  } while (!done);
  refresher.join();
  EXPECT_FALSE(kim->kinwatchAllowsLogin());
  EXPECT_EQ(kim->kinwatchNextCurfewTime(), Date(std::chrono::duration<double>(kRounds - 1)));
}

TEST_F(CachedUserListThreads, RegisterAndGoOnSeveralThreadsAtOnce) {
  Platform::install(mWorld);
  const auto makeAndDrop = [] {
    for (int round = 0; round < 500; ++round) CachedUserList::cachedUserList();
  };
  std::thread first(makeAndDrop);
  std::thread second(makeAndDrop);
  for (int round = 0; round < 500; ++round) {
    KinwatchMonitor::sharedKWMonitor()->notifyTargetsAboutUser("u1");
  }
  first.join();
  second.join();
}

}  // namespace
}  // namespace gatehall
