#pragma once

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "gatehall/platform/NotificationNames.h"
#include "gatehall/platform/Platform.h"
#include "tests/platform/contracts/Scene.h"

namespace gatehall::contracts {

/// A machine on which others post notifications.
class NotificationHost {
 public:
  virtual ~NotificationHost() = default;
  virtual Platform& platform() = 0;

  /// Another process posts a distributed notification.
  virtual void postDistributed(std::string_view name, const Dictionary& userInfo) = 0;

  /// Runs the main run loop until everything posted so far was delivered.
  virtual void deliver() = 0;
};

class NotificationContract : public testing::TestWithParam<Factory<NotificationHost>> {
 protected:
  NotificationCenter& center() { return mHost->platform().distributedNotificationCenter(); }

  NotificationCenter::Handler keep() {
    return [this](const Notification& notification) {
      mThreads.push_back(std::this_thread::get_id());
      mReceived.push_back(notification.name +
                          description(notification.userInfo.value_or(Dictionary())));
    };
  }

  const std::unique_ptr<NotificationHost> mHost = GetParam()();
  std::vector<std::string> mReceived;
  std::vector<std::thread::id> mThreads;
  const int mObserver = 0;
  const int mOther = 0;
};

TEST_P(NotificationContract, TellsWhatWasPostedInItsOrderOnTheMainThread) {
  center().addObserver(&mObserver, "com.orvane.first", keep());
  center().addObserver(&mObserver, "com.orvane.second", keep());
  mHost->postDistributed("com.orvane.first", {{"userName", "ann"}});
  mHost->postDistributed("com.orvane.second", {});
  mHost->postDistributed("com.orvane.first", {{"userName", "bob"}});
  EXPECT_THAT(mReceived, testing::IsEmpty()) << "told before the main run loop ran";
  mHost->deliver();
  EXPECT_THAT(mReceived,
              testing::ElementsAre("com.orvane.first{userName = ann; }", "com.orvane.second{}",
                                   "com.orvane.first{userName = bob; }"));
  EXPECT_THAT(mThreads, testing::Each(std::this_thread::get_id()));
}

TEST_P(NotificationContract, TellsOnlyWhoObservesTheName) {
  center().addObserver(&mObserver, "com.orvane.first", keep());
  mHost->postDistributed("com.orvane.other", {});
  mHost->deliver();
  EXPECT_THAT(mReceived, testing::IsEmpty());
}

TEST_P(NotificationContract, TellsEveryObserverOfAName) {
  center().addObserver(&mObserver, "com.orvane.first", keep());
  center().addObserver(&mOther, "com.orvane.first", keep());
  mHost->postDistributed("com.orvane.first", {});
  mHost->deliver();
  EXPECT_EQ(mReceived.size(), 2U);
}

TEST_P(NotificationContract, TellsNobodyWhoStoppedObserving) {
  center().addObserver(&mObserver, "com.orvane.first", keep());
  center().addObserver(&mObserver, "com.orvane.second", keep());
  center().addObserver(&mOther, "com.orvane.first", keep());
  center().removeObserver(&mObserver, "com.orvane.first");
  center().removeObserver(&mObserver, "com.orvane.never observed");
  mHost->postDistributed("com.orvane.first", {});
  mHost->postDistributed("com.orvane.second", {});
  mHost->deliver();
  EXPECT_THAT(mReceived, testing::ElementsAre("com.orvane.first{}", "com.orvane.second{}"));
}

TEST_P(NotificationContract, TellsNobodyOfWhatWasPostedBeforeTheyStoppedObserving) {
  center().addObserver(&mObserver, "com.orvane.first", keep());
  mHost->postDistributed("com.orvane.first", {});
  center().removeObserver(&mObserver, "com.orvane.first");
  mHost->deliver();
  EXPECT_THAT(mReceived, testing::IsEmpty());
}

TEST_P(NotificationContract, KnowsAnObserverByItsAddressWhetherItIsStillThereOrNot) {
  auto observer = std::make_optional<std::string>("somebody");
  const void* const identity = &*observer;
  center().addObserver(identity, "com.orvane.first", keep());
  observer.reset();
  mHost->postDistributed("com.orvane.first", {});
  mHost->deliver();
  EXPECT_EQ(mReceived.size(), 1U);
  center().removeObserver(identity, "com.orvane.first");
  mHost->postDistributed("com.orvane.first", {});
  mHost->deliver();
  EXPECT_EQ(mReceived.size(), 1U);
}

TEST_P(NotificationContract, LetsAHandlerEndItsOwnAndOtherObservations) {
  center().addObserver(&mObserver, "com.orvane.first", [&](const Notification& notification) {
    center().removeObserver(&mObserver, "com.orvane.first");
    center().removeObserver(&mOther, "com.orvane.first");
    mReceived.push_back(notification.name);
  });
  center().addObserver(&mOther, "com.orvane.first", keep());
  mHost->postDistributed("com.orvane.first", {});
  mHost->postDistributed("com.orvane.first", {});
  mHost->deliver();
  EXPECT_THAT(mReceived, testing::ElementsAre("com.orvane.first"));
}

/// A machine whose console and groups change.
class SystemNotificationHost {
 public:
  virtual ~SystemNotificationHost() = default;
  virtual Platform& platform() = 0;

  virtual void changeConsole() = 0;
  virtual void changeGroups() = 0;

  /// Runs the main run loop until everything that happened so far was delivered.
  virtual void deliver() = 0;
};

class SystemNotificationContract : public testing::TestWithParam<Factory<SystemNotificationHost>> {
 protected:
  RunLoop& loop() { return mHost->platform().runLoop(); }

  std::shared_ptr<RunLoopSource> registerName(std::string_view name) {
    return mHost->platform().systemNotifications().registerName(name, [this, name] {
      mThreads.push_back(std::this_thread::get_id());
      mReceived.emplace_back(name);
    });
  }

  const std::unique_ptr<SystemNotificationHost> mHost = GetParam()();
  std::vector<std::string> mReceived;
  std::vector<std::thread::id> mThreads;
};

TEST_P(SystemNotificationContract, TellOnTheMainThreadWhatHappened) {
  const auto console = registerName(kConsoleSessionChangedNotification);
  const auto groups = registerName(kLocalGroupsChangedNotification);
  ASSERT_NE(console, nullptr);
  ASSERT_NE(groups, nullptr);
  loop().addSource(console, RunLoopMode::Common);
  loop().addSource(groups, RunLoopMode::Default);
  mHost->changeConsole();
  mHost->deliver();
  EXPECT_THAT(mReceived, testing::ElementsAre(kConsoleSessionChangedNotification));
  mHost->changeGroups();
  mHost->deliver();
  EXPECT_THAT(mReceived, testing::ElementsAre(kConsoleSessionChangedNotification,
                                              kLocalGroupsChangedNotification));
  EXPECT_THAT(mThreads, testing::Each(std::this_thread::get_id()));
}

TEST_P(SystemNotificationContract, TellNothingThroughASourceThatIsNotInTheRunLoop) {
  const auto console = registerName(kConsoleSessionChangedNotification);
  mHost->changeConsole();
  mHost->deliver();
  loop().addSource(console, RunLoopMode::Default);
  loop().removeSource(console, RunLoopMode::Default);
  mHost->changeConsole();
  mHost->deliver();
  EXPECT_THAT(mReceived, testing::IsEmpty());
}

}  // namespace gatehall::contracts
