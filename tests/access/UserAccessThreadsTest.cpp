#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "gatehall/access/NetworkStatus.h"
#include "gatehall/access/USPrefs.h"
#include "tests/access/LoginWorld.h"

namespace gatehall {
namespace {

constexpr int kRounds = 100;

class UserAccessThreads : public LoginWorld {
 protected:
  void setManaged(Dictionary values) {
    mWorld->propertyLists().setFile(WorldPropertyLists::managedPath("com.orvane.gatehall"),
                                    std::move(values));
  }

  /// Runs the change over and over until two threads have asked about the user often enough.
  template <class Change>
  void askWhileChanging(const std::string& guid, bool expected, Change change) {
    const auto user = found(guid);
    std::atomic<int> asking = 2;
    std::atomic<int> surprises = 0;
    const auto ask = [&] {
      for (int round = 0; round < kRounds; ++round) {
        if (UserAccess::sharedUserAccess()->canUserLogIn(*user) != expected) ++surprises;
      }
      --asking;
    };
    std::thread one(ask);
    std::thread another(ask);
    for (int round = 0; asking > 0; ++round) {
      change(round);
      std::this_thread::yield();
    }
    one.join();
    another.join();
    EXPECT_EQ(surprises, 0);
  }
};

TEST_F(UserAccessThreads, AnAnswerThatNoChangeConcernsStaysWhilePreferencesChangeAndSynchronize) {
  set("LocalUserLoginEnabled", false);
  askWhileChanging(kBob, false, [&](int round) {
    setManaged(round % 2 == 0 ? Dictionary{{"LocalUserLoginEnabled", false}} : Dictionary{});
    set("DenyList", round % 3 == 0 ? Array{"*"} : Array{kDana});
    USPrefs::hiddenUsersList();
  });
}

TEST_F(UserAccessThreads, AListThatWasTakenStaysWhileItsPreferenceChanges) {
  set("DenyList", Array{kDay});
  UserAccess::sharedUserAccess()->denyList();
  askWhileChanging(kDana, false, [&](int round) {
    set("DenyList", round % 2 == 0 ? Array{kHana} : Array{kDay});
    USPrefs::synchronize();
  });
}

TEST_F(UserAccessThreads, TheListsAreTakenOnTwoThreadsAtOnce) {
  set("DenyList", Array{kHana});
  set("AllowList", Array{kDay});
  askWhileChanging(kDana, true, [](int) { USPrefs::synchronize(); });
}

TEST_F(UserAccessThreads, TheNetworkIsMeasuredWhileItIsAskedFor) {
  set("DenyList", Array{kDana});
  askWhileChanging(kDana, false, [&](int round) {
    setNetworkReachable(round % 2 == 0);
    NetworkStatus::sharedNetworkStatus()->networkStatusUpdate();
  });
}

TEST_F(UserAccessThreads, TheSharedInstancesAreMadeOnceByThreadsThatRaceForThem) {
  constexpr std::size_t threads = 4;
  std::vector<std::shared_ptr<UserAccess>> made(threads);
  std::vector<std::thread> racers;
  for (auto& each : made) {
    racers.emplace_back([&each] { each = UserAccess::sharedUserAccess(); });
  }
  for (auto& each : racers) each.join();
  for (const auto& each : made) EXPECT_EQ(each, made.front());
}

}  // namespace
}  // namespace gatehall
