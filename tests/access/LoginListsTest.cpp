#include <gtest/gtest.h>

#include "tests/access/LoginWorld.h"

namespace gatehall {
namespace {

/// The two lists follow the same rules.
struct List {
  const char* key;
  std::shared_ptr<const LoginList> (UserAccess::*accessor)();
};

class LoginLists : public LoginWorld, public ::testing::WithParamInterface<List> {
 protected:
  std::optional<Strings> guids() {
    const auto list = ((*UserAccess::sharedUserAccess()).*GetParam().accessor)();
    return list ? std::optional(list->guids) : std::nullopt;
  }
  void setList(Value value) { set(GetParam().key, std::move(value)); }
};

INSTANTIATE_TEST_SUITE_P(, LoginLists,
                         ::testing::Values(List{"AllowList", &UserAccess::allowList},
                                           List{"DenyList", &UserAccess::denyList}),
                         [](const auto& test) { return test.param.key; });

TEST_P(LoginLists, IsNoneWithoutThePreference) { EXPECT_EQ(guids(), std::nullopt); }

TEST_P(LoginLists, IsNoneWhenThePreferenceIsEmpty) {
  setList(Array{});
  EXPECT_EQ(guids(), std::nullopt);
}

TEST_P(LoginLists, AsksTheDirectoryNothingAboutAnEmptyList) {
  setList(Array{});
  EXPECT_EQ(guids(), std::nullopt);
  EXPECT_TRUE(calls("query").empty());
}

TEST_P(LoginLists, IsNoneWhenThePreferenceIsNoList) {
  setList("*");
  EXPECT_EQ(guids(), std::nullopt);
}

TEST_P(LoginLists, KeepsOnlyTheStarOfAListThatHoldsIt) {
  setList(Array{kDana, "*", kDay});
  EXPECT_EQ(guids(), Strings{"*"});
}

TEST_P(LoginLists, AsksTheDirectoryNothingAboutAListWithAStar) {
  setList(Array{kDana, "*"});
  EXPECT_EQ(guids(), Strings{"*"});
  EXPECT_TRUE(calls("query").empty());
}

TEST_P(LoginLists, KeepsUsersAndReplacesGroupsByTheirUsersNestedOnesIncluded) {
  setList(Array{kDay, kHana});
  // In the order in which the directory answers.
  EXPECT_EQ(guids(), (Strings{kHana, kDana, kFinn}));
}

TEST_P(LoginLists, KeepsAUserWhoIsInItTwiceTwice) {
  setList(Array{kDay, kDana});
  EXPECT_EQ(guids(), (Strings{kDana, kDana, kFinn}));
}

TEST_P(LoginLists, DropsWhatNamesNobody) {
  setList(Array{kNobody, kDana, "no GUID"});
  EXPECT_EQ(guids(), Strings{kDana});
}

TEST_P(LoginLists, DropsWhatIsNoText) {
  setList(Array{7, kDana, Array{kHana}});
  EXPECT_EQ(guids(), Strings{kDana});
}

TEST_P(LoginLists, IsNoneWhenItNamesOnlyNobody) {
  setList(Array{kNobody});
  EXPECT_EQ(guids(), std::nullopt);
}

TEST_P(LoginLists, IsEmptyWhenItNamesOnlyAnEmptyGroup) {
  setList(Array{kEmpty});
  EXPECT_EQ(guids(), Strings{});
}

TEST_P(LoginLists, IsKeptOnceItIsThere) {
  setList(Array{kDana});
  EXPECT_EQ(guids(), Strings{kDana});
  setList(Array{kHana});
  forgetCalls();
  EXPECT_EQ(guids(), Strings{kDana});
  EXPECT_TRUE(calls().empty());
}

TEST_P(LoginLists, IsKeptWhenItIsEmpty) {
  setList(Array{kEmpty});
  EXPECT_EQ(guids(), Strings{});
  setList(Array{kHana});
  EXPECT_EQ(guids(), Strings{});
}

TEST_P(LoginLists, IsReadAgainOnEveryCallWhileThereIsNone) {
  EXPECT_EQ(guids(), std::nullopt);
  setList(Array{});
  EXPECT_EQ(guids(), std::nullopt);
  setList(Array{kNobody});
  EXPECT_EQ(guids(), std::nullopt);
  EXPECT_EQ(calls("copyApplicationValue").size(), 3U);
  setList(Array{kDana});
  EXPECT_EQ(guids(), Strings{kDana});
}

TEST_P(LoginLists, IsLoggedEachTimeItNamesNobodyWithWhatItNames) {
  const std::string key = GetParam().key;
  setList(Array{kNobody, "no GUID", 7});
  for (int time = 1; time <= 2; ++time) {
    guids();
    EXPECT_EQ(diagnostics(), Strings(static_cast<std::size_t>(time),
                                     key + " names nobody: " + kNobody + ", no GUID"));
  }
  EXPECT_TRUE(errors().empty());
}

TEST_P(LoginLists, IsLoggedWhenItNamesOnlyAnEmptyGroup) {
  setList(Array{kEmpty});
  guids();
  EXPECT_EQ(diagnostics(), Strings{std::string(GetParam().key) + " names nobody: " + kEmpty});
}

TEST_P(LoginLists, IsLoggedWithItsFirstEntriesWhenItIsLong) {
  Array entries;
  for (int index = 0; index < 23; ++index) entries.emplace_back("x" + std::to_string(index));
  setList(entries);
  guids();
  ASSERT_EQ(diagnostics().size(), 1U);
  EXPECT_TRUE(diagnostics().front().ends_with(", x19 and 3 more")) << diagnostics().front();
}

TEST_P(LoginLists, IsNotLoggedWhenItIsEmptyOrNamesSomebody) {
  setList(Array{});
  guids();
  setList(Array{kNobody, kDana});
  guids();
  EXPECT_TRUE(diagnostics().empty());
}

TEST_P(LoginLists, MeansEveryoneWhereverTheStarCameFrom) {
  network()->addRecord(user("star", "2012", "*"));
  network()->record("Groups", "empty")->setValues("GroupMembership", {"dana", "star"});
  setList(Array{kEmpty});
  const auto list = ((*UserAccess::sharedUserAccess()).*GetParam().accessor)();
  EXPECT_EQ(list->guids, (Strings{kDana, "*"}));
  EXPECT_TRUE(list->holdsEveryone());
}

TEST_P(LoginLists, IsTheManagedOneWhereThereIsOne) {
  setList(Array{kDana});
  mWorld->propertyLists().setFile(WorldPropertyLists::managedPath("com.orvane.gatehall"),
                                  Dictionary{{GetParam().key, Array{kHana}}});
  EXPECT_EQ(guids(), Strings{kHana});
}

TEST_P(LoginLists, AFailureOfTheDirectoryReachesTheCallerAndTheNextCallTriesAgain) {
  setList(Array{kDana});
  fail({{"queryResults", Fault::Kind::PlatformException, 1, {}}});
  EXPECT_THROW(guids(), PlatformException);
  EXPECT_EQ(guids(), Strings{kDana});
}

TEST_P(LoginLists, IsNoneWhenTheDirectoryDoesNotAnswerAndTheNextCallTriesAgain) {
  setList(Array{kDana});
  fail({{"queryResults", Fault::Kind::Absent, 1, {}}});
  EXPECT_EQ(guids(), std::nullopt);
  EXPECT_EQ(guids(), Strings{kDana});
}

TEST_P(LoginLists, AMemberWithoutAGUIDIsAFailure) {
  network()->addRecord(userWithoutGUID("ivo", "2012"));
  network()->record(record::Groups, "empty")->setValues("GroupMembership", {"ivo"});
  setList(Array{kEmpty});
  EXPECT_THROW(guids(), PlatformException);
}

}  // namespace
}  // namespace gatehall
