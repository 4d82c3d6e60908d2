#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/UserLookup.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kMessage = "Unable to find the user on the search node.";
const std::string kCarol(cast::kCarolGUID);
const std::string kDana(cast::kDanaGUID);
const std::string kAnn(cast::kAnnGUID);

class CachedUserForGUID : public Machine {
 protected:
  CachedUserForGUID() { install(cast::machineOfAll()); }
};

using CachedUserListForGUIDs = CachedUserForGUID;

TEST_F(CachedUserForGUID, FindsAUserByOneQueryOfTheSearchNode) {
  const auto carol = cachedUserForGUID(kCarol);
  ASSERT_NE(carol, nullptr);
  EXPECT_EQ(carol->shortName(), "carol");
  EXPECT_THAT(calls("query"), ElementsAre(usersQueryCall("search", "GUID", {kCarol})));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserForGUID, AnswersTheFirstOfSeveralInTheDirectorysOrder) {
  addUser({{"RecordName", {"z"}}, {"UniqueID", {"1"}}, {"GUID", {"TWICE"}}});
  addUser({{"RecordName", {"a"}}, {"UniqueID", {"2"}}, {"GUID", {"TWICE"}}});
  EXPECT_EQ(cachedUserForGUID("TWICE")->shortName(), "z");
}

TEST_F(CachedUserForGUID, FindsNobodyForAnUnknownGUIDAndLogsOneLine) {
  EXPECT_EQ(cachedUserForGUID("NOBODY'S"), nullptr);
  EXPECT_THAT(errors(), ElementsAre(kMessage));
}

TEST_F(CachedUserForGUID, FindsNobodyForAGroupsGUIDAndLogsOneLine) {
  EXPECT_EQ(cachedUserForGUID(std::string(cast::kAdminGroupGUID)), nullptr);
  EXPECT_THAT(errors(), ElementsAre(kMessage));
}

TEST_F(CachedUserForGUID, AnswersNobodySilentlyForAnAccountThatMayNotBeUsed) {
  addUser({{"RecordName", {"daemon"}}, {"GUID", {"DAEMON"}}, {"UserShell", {"/usr/bin/false"}}});
  EXPECT_EQ(cachedUserForGUID("DAEMON"), nullptr);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserForGUID, AnswersNobodySilentlyWhenTheQueryOrItsResultsAreAbsent) {
  for (const auto* operation : {"query", "queryResults"}) {
    fail({{operation, Fault::Kind::Absent}});
    EXPECT_EQ(cachedUserForGUID(kCarol), nullptr) << operation;
  }
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserForGUID, LogsAFailureOnce) {
  for (const auto* operation :
       {"defaultSession", "nodeByType", "query", "queryResults", "recordDetails"}) {
    install(cast::machineOfAll());
    fail({{operation, Fault::Kind::PlatformException, 1}});
    EXPECT_EQ(cachedUserForGUID(kCarol), nullptr) << operation;
    EXPECT_THAT(errors(), ElementsAre(kMessage)) << operation;
  }
}

TEST_F(CachedUserForGUID, LetsOtherExceptionsPass) {
  fail({{"queryResults", Fault::Kind::OtherException}});
  EXPECT_THROW(cachedUserForGUID(kCarol), InjectedFailure);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserListForGUIDs, KeepsTheOrderOfTheGUIDsAndLooksUpEach) {
  const auto list = cachedUserListForGUIDs(Strings{kDana, kCarol, kAnn});
  EXPECT_THAT(shortNames(*list), ElementsAre("dana", "carol", "ann"));
  EXPECT_THAT(calls("query"), ElementsAre(usersQueryCall("search", "GUID", {kDana}),
                                          usersQueryCall("search", "GUID", {kCarol}),
                                          usersQueryCall("search", "GUID", {kAnn})));
}

TEST_F(CachedUserListForGUIDs, LeavesOutGUIDsThatFindNobodyWithALineEach) {
  const auto list = cachedUserListForGUIDs(Strings{"X", kCarol, "Y"});
  EXPECT_THAT(shortNames(*list), ElementsAre("carol"));
  EXPECT_THAT(errors(), ElementsAre(kMessage, kMessage));
}

TEST_F(CachedUserListForGUIDs, OfThreeUnknownGUIDsIsEmptyAndLogsThreeLines) {
  const auto list = cachedUserListForGUIDs(Strings{"X", "Y", "X"});
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->count(), 0U);
  EXPECT_THAT(errors(), ElementsAre(kMessage, kMessage, kMessage));
}

TEST_F(CachedUserListForGUIDs, OfNoListIsNoneAndOfAnEmptyOneEmpty) {
  EXPECT_EQ(cachedUserListForGUIDs(std::nullopt), nullptr);
  const auto list = cachedUserListForGUIDs(Strings{});
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->count(), 0U);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(CachedUserListForGUIDs, ListsARepeatedGUIDOnce) {
  EXPECT_THAT(shortNames(*cachedUserListForGUIDs(Strings{kCarol, kCarol})), ElementsAre("carol"));
}

}  // namespace
}  // namespace gatehall
