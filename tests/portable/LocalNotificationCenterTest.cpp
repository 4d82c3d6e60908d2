#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "portable/LocalNotificationCenter.h"

namespace gatehall {
namespace {

using testing::ElementsAre;

class LocalNotificationCenterTest : public testing::Test {
 protected:
  NotificationCenter::Handler note(std::string word) {
    return [this, word](const Notification& notification) {
      heard.push_back(word + ' ' + notification.name);
    };
  }

  LocalNotificationCenter center;
  std::vector<std::string> heard;
  int first = 0;
  int second = 0;
};

TEST_F(LocalNotificationCenterTest, CallsTheObserversOfTheNameInTheirOrder) {
  center.addObserver(&first, "news", note("first"));
  center.addObserver(&second, "news", note("second"));
  center.addObserver(&second, "other", note("second"));
  center.post({"news", {}});
  EXPECT_THAT(heard, ElementsAre("first news", "second news"));
}

TEST_F(LocalNotificationCenterTest, HandsOverWhatThePosterSaid) {
  Dictionary info;
  center.addObserver(&first, "news", [&](const Notification& notification) {
    info = notification.userInfo.value_or(Dictionary());
  });
  center.post({"news", Dictionary{{"userName", "ann"}}});
  EXPECT_EQ(info, (Dictionary{{"userName", "ann"}}));
}

TEST_F(LocalNotificationCenterTest, EndsOnlyTheObserversObservationsOfThatName) {
  center.addObserver(&first, "news", note("first"));
  center.addObserver(&first, "news", note("again"));
  center.addObserver(&first, "other", note("first"));
  center.addObserver(&second, "news", note("second"));
  center.removeObserver(&first, "news");
  center.removeObserver(&first, "never added");
  center.post({"news", {}});
  center.post({"other", {}});
  EXPECT_THAT(heard, ElementsAre("second news", "first other"));
}

TEST_F(LocalNotificationCenterTest, LetsHandlersAddAndRemoveObservers) {
  center.addObserver(&first, "news", [this](const Notification&) {
    center.removeObserver(&second, "news");
    center.addObserver(&first, "news", note("added"));
  });
  center.addObserver(&second, "news", note("second"));
  center.post({"news", {}});
  EXPECT_THAT(heard, testing::IsEmpty());
  center.post({"news", {}});
  EXPECT_THAT(heard, ElementsAre("added news"));
}

}  // namespace
}  // namespace gatehall
