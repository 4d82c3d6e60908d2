#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "following/FollowedList.h"
#include "linux/loop/MainLoop.h"
#include "tests/Patience.h"
#include "tests/following/Sent.h"
#include "tests/following/standin/ServiceStandIn.h"
#include "tests/linux/Driving.h"
#include "tests/linux/Machine.h"
#include "tests/linux/bus/fixture/PrivateBus.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// A list of users by the letters of their names.
ListedUsers users(const std::string& letters) {
  ListedUsers list;
  for (const char letter : letters) list.push_back(userNamed(std::string(1, letter)));
  return list;
}

std::string lettersOf(const ListedUsers& list) {
  std::string letters;
  for (const auto& user : list) letters += user->shortName.value_or("?");
  return letters;
}

/// Follows the list of a stand-in, and notes what it is told: "list abc", "-b to ac", "gone",
/// "caught up", "read anew".
class FollowedListTest : public testing::Test {
 protected:
  void serve(const std::string& letters, std::uint64_t serial = 100) {
    mService = std::make_unique<ServiceStandIn>(mBus.address(), users(letters), serial);
  }

  bool isTold(const std::string& note) {
    return driveUntil(mLoop, [&] { return std::ranges::find(mNotes, note) != mNotes.end(); });
  }

  ListFollower follower() {
    return {
        .network =
            [this](const ServiceNetwork& network) {
              mNotes.push_back("network " + std::to_string(network.hasParentNetwork) +
                               std::to_string(network.parentNetworkExists) +
                               std::to_string(network.status));
            },
        .list = [this](const ListedUsers& list) { mNotes.push_back("list " + lettersOf(list)); },
        .changed =
            [this](const std::vector<ListChange>& changes, const ListedUsers& list) {
              constexpr std::string_view signs = "-+~>";
              std::string note;
              for (const auto& change : changes) {
                note += signs.at(static_cast<std::size_t>(change.kind));
                note += change.user->shortName.value_or("?");
              }
              mNotes.push_back(note + " to " + lettersOf(list));
            },
        .gone =
            [this](ListFault fault, const std::string& why) {
              mNotes.emplace_back("gone");
              mFault = fault;
              mWhy = why;
            },
        .back =
            [this](bool hasCaughtUp) {
              mNotes.emplace_back(hasCaughtUp ? "caught up" : "read anew");
            }};
  }

  PrivateBus mBus;
  std::unique_ptr<ServiceStandIn> mService;
  KeptLog mLog;
  std::vector<std::string> mNotes;
  std::optional<ListFault> mFault;
  std::string mWhy;
  MainLoop mLoop{
      std::this_thread::get_id(), [this](EventLoop& events) {
        mList = std::make_unique<FollowedList>(
            mLoop, events,
            HostOptions{.root = "", .systemBusAddress = mBus.address(), .callTimeout = kPatience},
            mLog, follower());
      }};
  std::unique_ptr<FollowedList> mList;
};

TEST_F(FollowedListTest, TellsTheListAndThenEachChange) {
  serve("abc");
  ASSERT_TRUE(isTold("list abc"));
  mService->publish(users("ac"));
  mService->publish(users("acd"));
  mService->publish(users("dac"));
  ASSERT_TRUE(isTold(">d to dac"));
  EXPECT_THAT(mNotes, ElementsAre("network 002", "list abc", "-b to ac", "+d to acd", ">d to dac"));
}

TEST_F(FollowedListTest, WatchesBeforeItReads) {
  serve("a");
  ASSERT_TRUE(isTold("list a"));
  EXPECT_THAT(mService->calls(), ElementsAre("Watch", "ListUsers"));
}

TEST_F(FollowedListTest, ReadsPageByPage) {
  serve("abcdefg");
  mService->pageLength = 3;
  ASSERT_TRUE(isTold("list abcdefg"));
  EXPECT_THAT(mService->calls(), ElementsAre("Watch", "ListUsers", "ListUsers", "ListUsers"));
}

TEST_F(FollowedListTest, BeginsAnewWhenTheListChangesBetweenPages) {
  serve("abcd");
  mService->pageLength = 2;
  int pages = 0;
  mService->beforePage = [&] {
    if (++pages == 2) mService->publish(users("xabcd"));
  };
  ASSERT_TRUE(isTold("list xabcd"));
  EXPECT_THAT(mNotes, ElementsAre("network 002", "list xabcd"));
}

TEST_F(FollowedListTest, WaitsWhileTheListIsAnotherOneWithEachPage) {
  serve("abcd");
  mService->pageLength = 2;
  std::atomic<bool> changes = true;
  mService->beforePage = [&] {
    if (changes) mService->publish(users("abcd"), ServiceStandIn::Tells::Nobody);
  };
  ASSERT_TRUE(isTold("gone"));
  EXPECT_EQ(mWhy, "the list changes while it is read");
  changes = false;
  ASSERT_TRUE(isTold("list abcd"));
}

TEST_F(FollowedListTest, HearsAfterwardsWhatIsToldWhileItReads) {
  serve("ab");
  mService->beforeAnswer = [this] {
    if (mService->calls().back() == "ListUsers") mService->publish(users("b"));
  };
  ASSERT_TRUE(isTold("-a to b"));
  EXPECT_THAT(mNotes, ElementsAre("network 002", "list ab", "-a to b"));
}

TEST_F(FollowedListTest, LeavesAloneWhatTheListHasAlready) {
  serve("ab");
  mService->beforePage = [this] { mService->publish(users("b")); };
  ASSERT_TRUE(isTold("list b"));
  mService->publish(users("bc"));
  ASSERT_TRUE(isTold("+c to bc"));
  EXPECT_THAT(mNotes, ElementsAre("network 002", "list b", "+c to bc"));
}

TEST_F(FollowedListTest, CatchesUpWhenItMissedAState) {
  serve("abc");
  ASSERT_TRUE(isTold("list abc"));
  mService->publish(users("ab"), ServiceStandIn::Tells::Nobody);
  mService->publish(users("abd"));
  ASSERT_TRUE(isTold("-c+d to abd"));
  EXPECT_THAT(mService->calls(), testing::Contains("ListChanges"));
}

TEST_F(FollowedListTest, ReadsAnewWhatIsTooMuchForASignal) {
  serve("abc");
  ASSERT_TRUE(isTold("list abc"));
  mService->publishTooMuch(users("bcd"));
  ASSERT_TRUE(isTold("-a+d to bcd"));
}

TEST_F(FollowedListTest, WatchesAgainWhenItMayHaveBeenDropped) {
  serve("abc");
  ASSERT_TRUE(isTold("list abc"));
  mService->dropWatchers(users("bc"));
  ASSERT_TRUE(isTold("-a to bc"));
  mService->publish(users("bcd"));
  ASSERT_TRUE(isTold("+d to bcd"));
  EXPECT_THAT(mService->calls(), ElementsAre("Watch", "ListUsers", "Watch", "ListUsers"));
}

TEST_F(FollowedListTest, WatchesAgainWhenItHasTheStateAlreadyThatItWasDroppedWith) {
  serve("abc");
  bool isDropped = false;
  mService->beforePage = [&] {
    if (!std::exchange(isDropped, true)) mService->dropWatchers(users("bc"));
  };
  ASSERT_TRUE(isTold("list bc"));
  ASSERT_TRUE(driveUntil(mLoop, [this] { return mService->calls().size() == 4; }));
  mService->publish(users("bcd"));
  ASSERT_TRUE(isTold("+d to bcd"));
}

TEST_F(FollowedListTest, BelievesNoChangesThatAreNotForItsList) {
  serve("abc");
  ASSERT_TRUE(isTold("list abc"));
  mService->sendNonsense();
  mService->publish(users("ab"));
  ASSERT_TRUE(isTold("-c to ab"));
  EXPECT_THAT(mNotes, ElementsAre("network 002", "list abc", "-c to ab"));
}

TEST_F(FollowedListTest, CatchesUpWithAServiceThatKnowsItsState) {
  serve("abc", 100);
  ASSERT_TRUE(isTold("list abc"));
  mService.reset();
  ASSERT_TRUE(isTold("gone"));
  EXPECT_EQ(mWhy, "it ended");
  EXPECT_EQ(mFault, ListFault::ServiceAway);
  serve("abc", 100);
  mService->publish(users("abcd"));
  ASSERT_TRUE(isTold("+d to abcd"));
  EXPECT_THAT(mNotes, ElementsAre("network 002", "list abc", "gone", "caught up", "+d to abcd"));
}

TEST_F(FollowedListTest, ReadsAnewFromAServiceThatRunsAnotherTime) {
  serve("abc", 100);
  ASSERT_TRUE(isTold("list abc"));
  mService.reset();
  ASSERT_TRUE(isTold("gone"));
  serve("ac", 5000);
  ASSERT_TRUE(isTold("-b to ac"));
  EXPECT_THAT(mNotes, ElementsAre("network 002", "list abc", "gone", "read anew", "-b to ac"));
}

TEST_F(FollowedListTest, GoesOnWhenTheBusWasAway) {
  serve("abc");
  ASSERT_TRUE(isTold("list abc"));
  mBus.end();
  ASSERT_TRUE(isTold("gone"));
  mService.reset();
  mBus.begin();
  serve("ab", 5000);
  ASSERT_TRUE(isTold("-c to ab"));
  EXPECT_THAT(mNotes, ElementsAre("network 002", "list abc", "gone", "read anew", "-c to ab"));
}

TEST_F(FollowedListTest, SaysWhyThereIsNoneAtFirstAndFollowsTheOneThatComes) {
  ASSERT_TRUE(isTold("gone"));
  EXPECT_THAT(mWhy, HasSubstr("com.orvane.Gatehall1"));
  EXPECT_EQ(mFault, ListFault::ServiceAway);
  EXPECT_THAT(mNotes, ElementsAre("gone"));
  serve("a");
  ASSERT_TRUE(isTold("list a"));
}

TEST_F(FollowedListTest, SaysThatThereIsNoBusAtFirstAndFollowsTheOneThatComes) {
  mBus.end();
  ASSERT_TRUE(isTold("gone"));
  EXPECT_THAT(mWhy, HasSubstr("the system bus is away"));
  EXPECT_EQ(mFault, ListFault::BusAway);
  mBus.begin();
  serve("a");
  ASSERT_TRUE(isTold("list a"));
}

TEST_F(FollowedListTest, AsksAgainForAListThatCannotBeHad) {
  serve("abc");
  mService->hasNoList = true;
  ASSERT_TRUE(isTold("gone"));
  EXPECT_EQ(mWhy, "no accounts");
  EXPECT_EQ(mFault, ListFault::NoAnswer);
  mService->hasNoList = false;
  ASSERT_TRUE(isTold("list abc"));
}

TEST_F(FollowedListTest, TellsHowTheNetworkAnswers) {
  serve("a");
  ASSERT_TRUE(isTold("list a"));
  mService->setNetwork(true, false, 0);
  ASSERT_TRUE(isTold("network 100"));
}

}  // namespace
}  // namespace gatehall
