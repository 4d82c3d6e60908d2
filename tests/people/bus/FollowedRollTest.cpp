#include <algorithm>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "linux/loop/MainLoop.h"
#include "people/FollowedRoll.h"
#include "tests/Patience.h"
#include "tests/following/Sent.h"
#include "tests/following/standin/ServiceStandIn.h"
#include "tests/linux/Driving.h"
#include "tests/linux/Machine.h"
#include "tests/linux/bus/fixture/PrivateBus.h"

namespace gatehall {
namespace {

using testing::ElementsAre;

using State = Admission::State;

std::shared_ptr<const ListedUser> user(const std::string& name, std::uint32_t uid) {
  auto user = std::make_shared<ListedUser>(*userNamed(name));
  user->uid = uid;
  return user;
}

Dictionary allowed(std::int64_t uid) { return {{"uid", Value(uid)}, {"allowed", Value(true)}}; }

Dictionary refused(std::int64_t uid, const std::string& sentence) {
  return {{"uid", Value(uid)}, {"allowed", Value(false)}, {"sentence", Value(sentence)}};
}

/// A roll that follows a stand-in's list of ann (1), bob (2) and carol (3).
class FollowedRollTest : public testing::Test {
 protected:
  explicit FollowedRollTest(Roll::Refused refused = Roll::Refused::Shown) : mRoll(refused) {}

  void serve(std::map<std::string, Dictionary> answers, std::uint64_t serial = 100) {
    mService = std::make_unique<ServiceStandIn>(mBus.address(), mUsers, serial);
    mService->explain({.answers = std::move(answers)});
  }

  bool becomes(const std::function<bool()>& holds) { return driveUntil(mLoop, holds); }
  bool becomes(std::size_t row, State state) {
    return becomes([&] { return row < mRoll.size() && mRoll.at(row).admission.state == state; });
  }

  std::size_t asked() const {
    const auto calls = mService->calls();
    return static_cast<std::size_t>(std::ranges::count_if(
        calls, [](const std::string& call) { return call.starts_with("CanLogIn"); }));
  }

  Strings names() const {
    Strings names;
    for (std::size_t row = 0; row < mRoll.size(); ++row) {
      names.push_back(*mRoll.at(row).user->shortName);
    }
    return names;
  }

  PrivateBus mBus;
  ListedUsers mUsers{user("ann", 1), user("bob", 2), user("carol", 3)};
  std::unique_ptr<ServiceStandIn> mService;
  KeptLog mLog;
  Roll mRoll;
  std::vector<std::string> mNotes;
  /// Longer than any test, but for those in which it ends.
  std::chrono::duration<double> mLasts = 10 * kPatience;
  std::unique_ptr<FollowedRoll> mFollowed;
  MainLoop mLoop{
      std::this_thread::get_id(), [this](EventLoop& events) {
        mFollowed = std::make_unique<FollowedRoll>(
            mLoop, events,
            HostOptions{.root = "", .systemBusAddress = mBus.address(), .callTimeout = kPatience},
            mLog, mRoll, "de_DE.UTF-8",
            FollowedRoll::Follower{.list =
                                       [this](const ListedUsers& users) {
                                         mNotes.push_back("list of " +
                                                          std::to_string(users.size()));
                                         EXPECT_EQ(mRoll.total(), users.size());
                                       },
                                   .gone = [this](ListFault) { mNotes.emplace_back("gone"); },
                                   .back = [this] { mNotes.emplace_back("back"); },
                                   .lasts = mLasts});
      }};
};

TEST_F(FollowedRollTest, AsksAboutWhoeverIsOnTheScreen) {
  serve({{"ann", allowed(1)}, {"bob", refused(2, "Nein.")}, {"carol", allowed(3)}});
  ASSERT_TRUE(becomes(0, State::MayLogIn));
  mFollowed->onScreen(0, 1);
  ASSERT_TRUE(becomes(1, State::MayNotLogIn));
  EXPECT_EQ(mRoll.at(1).admission.sentence, "Nein.");
  EXPECT_EQ(mRoll.at(2).admission, Admission());
  EXPECT_EQ(asked(), 2U);
  mFollowed->onScreen(1, 99);
  ASSERT_TRUE(becomes(2, State::MayLogIn));
  EXPECT_EQ(asked(), 3U);
}

TEST_F(FollowedRollTest, MissesAListThatDoesNotComeButGoesOnWaitingForIt) {
  std::promise<void> missed;
  mService = std::make_unique<ServiceStandIn>(mBus.address(), mUsers, 100);
  mService->beforeAnswer = [wait = missed.get_future().share()] { wait.wait(); };
  EXPECT_TRUE(becomes([&] { return !mNotes.empty(); }));
  EXPECT_THAT(mNotes, ElementsAre("gone"));
  missed.set_value();
  ASSERT_TRUE(becomes([&] { return mRoll.hasList(); }));
  EXPECT_THAT(mNotes, ElementsAre("gone", "back", "list of 3"));
}

TEST_F(FollowedRollTest, TakesHoursForARefusal) {
  auto night = allowed(1);
  night.insert_or_assign("hours", Value(Dictionary{{"allowedNow", Value(false)}}));
  night.insert_or_assign("sentence", Value(std::string("Not before 9:00.")));
  serve({{"ann", night}});
  ASSERT_TRUE(becomes(0, State::MayNotLogIn));
  EXPECT_EQ(mRoll.at(0).admission.sentence, "Not before 9:00.");
  EXPECT_TRUE(mRoll.at(0).admission.isByHours);
}

TEST_F(FollowedRollTest, TakesNoRefusalForOneByHours) {
  auto excluded = refused(1, "Excluded.");
  excluded.insert_or_assign("hours", Value(Dictionary{{"allowedNow", Value(false)}}));
  serve({{"ann", excluded}});
  ASSERT_TRUE(becomes(0, State::MayNotLogIn));
  EXPECT_FALSE(mRoll.at(0).admission.isByHours);
}

TEST_F(FollowedRollTest, TakesWhatCanNotBeToldForNoRefusal) {
  auto unknown = refused(1, "It can't be told now.");
  unknown.insert_or_assign("rule", Value(std::string("undecidable")));
  serve({{"ann", unknown}});
  ASSERT_TRUE(becomes([&] { return mRoll.size() > 0 && !mRoll.at(0).admission.sentence.empty(); }));
  EXPECT_EQ(mRoll.at(0).admission.state, State::Unknown);
}

TEST_F(FollowedRollTest, TakesAnAnswerAboutSomebodyElseForNone) {
  serve({{"ann", refused(4711, "No.")}, {"bob", refused(2, "No.")}});
  ASSERT_TRUE(becomes([&] { return mRoll.hasList(); }));
  mFollowed->onScreen(0, 1);
  ASSERT_TRUE(becomes(1, State::MayNotLogIn));
  EXPECT_EQ(mRoll.at(0).admission, Admission());
}

TEST_F(FollowedRollTest, AsksAnewAboutWhomTheListTellsOtherwise) {
  serve({{"ann", allowed(1)}, {"bob", allowed(2)}});
  ASSERT_TRUE(becomes([&] { return mRoll.hasList(); }));
  mFollowed->onScreen(0, 1);
  ASSERT_TRUE(becomes(1, State::MayLogIn));
  const auto before = asked();
  mService->explain({.answers = {{"ann", refused(1, "No.")}, {"bob", refused(2, "No.")}}});
  auto ann = *mUsers[0];
  ann.suspended = true;
  mUsers[0] = std::make_shared<ListedUser>(ann);
  mUsers.pop_back();
  mService->publish(mUsers);
  ASSERT_TRUE(becomes(0, State::MayNotLogIn));
  EXPECT_EQ(mRoll.at(1).admission.state, State::MayLogIn);
  EXPECT_EQ(asked(), before + 1);
  EXPECT_THAT(mNotes, ElementsAre("back", "list of 3", "list of 2"));
}

TEST_F(FollowedRollTest, AsksAnewAboutAllWhenTheNetworkChanges) {
  serve({{"ann", allowed(1)}});
  ASSERT_TRUE(becomes(0, State::MayLogIn));
  mService->explain({.answers = {{"ann", refused(1, "No.")}}});
  mService->setNetwork(true, true, 1);
  ASSERT_TRUE(becomes(0, State::MayNotLogIn));
}

TEST_F(FollowedRollTest, KnowsWhatItKnewWithoutAnAnswerAndAsksAgain) {
  serve({{"ann", refused(1, "No.")}});
  ASSERT_TRUE(becomes(0, State::MayNotLogIn));
  mService->explain({.loginError = "org.freedesktop.DBus.Error.LimitsExceeded"});
  const auto before = asked();
  mService->setNetwork(true, true, 1);
  ASSERT_TRUE(becomes([&] { return asked() > before + 1; }));
  EXPECT_EQ(mRoll.at(0).admission, (Admission{State::MayNotLogIn, "No."}));
  mService->explain({.answers = {{"ann", allowed(1)}}});
  EXPECT_TRUE(becomes(0, State::MayLogIn));
}

TEST_F(FollowedRollTest, AsksAnewWhenAnAnswerIsOld) {
  mLasts = std::chrono::milliseconds(1);
  serve({{"ann", allowed(1)}});
  ASSERT_TRUE(becomes(0, State::MayLogIn));
  mService->explain({.answers = {{"ann", refused(1, "No.")}}});
  EXPECT_TRUE(becomes(0, State::MayNotLogIn));
  mService->explain({.answers = {{"ann", allowed(1)}}});
  EXPECT_TRUE(becomes(0, State::MayLogIn));
}

TEST_F(FollowedRollTest, AsksAnewBeforeSomebodyIsChosen) {
  serve({{"ann", allowed(1)}});
  ASSERT_TRUE(becomes(0, State::MayLogIn));
  mService->explain({.answers = {{"ann", refused(1, "No.")}}});
  std::optional<Person> confirmed;
  mFollowed->confirm(mRoll.at(0), [&](const Person& person) { confirmed = person; });
  ASSERT_TRUE(becomes([&] { return confirmed.has_value(); }));
  EXPECT_EQ(confirmed->admission, (Admission{State::MayNotLogIn, "No."}));
  EXPECT_EQ(mRoll.at(0).admission, confirmed->admission);
}

TEST_F(FollowedRollTest, ConfirmsWhoeverItIsThatNothingIsKnownWithoutTheService) {
  serve({{"ann", refused(1, "No.")}});
  ASSERT_TRUE(becomes(0, State::MayNotLogIn));
  mService.reset();
  ASSERT_TRUE(becomes([&] { return mNotes.back() == "gone"; }));
  std::optional<Person> confirmed;
  mFollowed->confirm(mRoll.at(0), [&](const Person& person) { confirmed = person; });
  ASSERT_TRUE(becomes([&] { return confirmed.has_value(); }));
  EXPECT_EQ(confirmed->admission, Admission());
}

TEST_F(FollowedRollTest, AsksAnewOnceTheServiceIsBack) {
  serve({{"ann", allowed(1)}});
  ASSERT_TRUE(becomes(0, State::MayLogIn));
  mService.reset();
  ASSERT_TRUE(becomes([&] { return mNotes.back() == "gone"; }));
  EXPECT_EQ(mRoll.size(), 3U);
  serve({{"ann", refused(1, "No.")}}, 200);
  ASSERT_TRUE(becomes(0, State::MayNotLogIn));
  EXPECT_EQ(std::ranges::count(mNotes, "back"), 2);
}

class HidingRollTest : public FollowedRollTest {
 protected:
  HidingRollTest() : FollowedRollTest(Roll::Refused::Hidden) {}
};

TEST_F(HidingRollTest, HasNobodyLeftWhoMayNotLogIn) {
  std::map<std::string, Dictionary> answers;
  mUsers.clear();
  for (std::uint32_t number = 0; number < 100; ++number) {
    const auto name = "u" + std::to_string(number);
    mUsers.push_back(user(name, number));
    answers[name] = number % 10 == 0 ? allowed(number) : refused(number, "No.");
  }
  serve(answers);
  ASSERT_TRUE(becomes([&] { return mRoll.size() == 10 && mRoll.total() == 100; }));
  EXPECT_THAT(names(),
              ElementsAre("u0", "u10", "u20", "u30", "u40", "u50", "u60", "u70", "u80", "u90"));
  EXPECT_EQ(asked(), 100U);
  // Whoever may log in later is asked about, too, though not on the screen.
  answers["u15"] = allowed(15);
  mService->explain({.answers = answers});
  mService->setNetwork(true, true, 1);
  EXPECT_TRUE(becomes([&] { return mRoll.size() == 11; }));
}

TEST_F(HidingRollTest, NeverHasARowForTheRefusedAndAsksOnceAboutEachOfMany) {
  constexpr std::uint32_t kMany = 2000;
  std::map<std::string, Dictionary> answers;
  mUsers.clear();
  for (std::uint32_t number = 0; number < kMany; ++number) {
    const auto name = "u" + std::to_string(number);
    mUsers.push_back(user(name, number));
    answers[name] = number % 2 == 0 ? allowed(number) : refused(number, "No.");
  }
  mRoll.follow({.spliced =
                    [this](std::size_t position, std::size_t, std::size_t added) {
                      for (auto row = position; row < position + added; ++row) {
                        EXPECT_EQ(mRoll.at(row).user->uid % 2, 0U);
                      }
                    },
                .updated = {}});
  serve(answers);
  ASSERT_TRUE(becomes([&] { return mRoll.size() == kMany / 2 && !mRoll.awaitsAnswers(); }));
  EXPECT_EQ(asked(), kMany);
  auto changed = *mUsers[7];
  changed.suspended = true;
  mUsers[7] = std::make_shared<ListedUser>(changed);
  mService->publish(mUsers);
  ASSERT_TRUE(becomes([&] { return asked() == kMany + 1; }));
  EXPECT_EQ(mRoll.size(), kMany / 2);
}

TEST_F(HidingRollTest, ShowsWhoeverThereIsNoAnswerAbout) {
  serve({});
  mService->explain({.loginError = "org.freedesktop.DBus.Error.LimitsExceeded"});
  EXPECT_TRUE(becomes([&] { return mRoll.size() == 3; }));
}

TEST_F(HidingRollTest, AsksAboutTheHiddenTooWhenTheScreenIsThereAnew) {
  serve({{"ann", allowed(1)}, {"bob", refused(2, "No.")}, {"carol", refused(3, "No.")}});
  ASSERT_TRUE(becomes([&] { return mRoll.size() == 1 && !mRoll.awaitsAnswers(); }));
  mService->explain(
      {.answers = {{"ann", refused(1, "No.")}, {"bob", refused(2, "No.")}, {"carol", allowed(3)}}});
  mFollowed->askAboutAll();
  EXPECT_TRUE(becomes([&] { return names() == Strings{"carol"}; }));
}

TEST_F(HidingRollTest, ShowsInTimeWhoeverMayLogInByAnotherPolicy) {
  mLasts = std::chrono::milliseconds(1);
  std::map<std::string, Dictionary> answers;
  mUsers.clear();
  for (std::uint32_t number = 0; number < 150; ++number) {
    const auto name = "u" + std::to_string(number);
    mUsers.push_back(user(name, number));
    answers[name] = number == 0 ? allowed(number) : refused(number, "No.");
  }
  serve(answers);
  ASSERT_TRUE(becomes([&] { return mRoll.size() == 1 && mRoll.total() == 150; }));
  answers["u149"] = allowed(149);
  mService->explain({.answers = answers});
  EXPECT_TRUE(becomes([&] { return mRoll.size() == 2; }));
}

}  // namespace
}  // namespace gatehall
