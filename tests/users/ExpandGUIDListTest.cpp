#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/GroupMembership.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

/// Users a and b with the GUIDs A and B; group TEAM of a and b; group ALL, in which TEAM is nested;
/// group EMPTY.
class ExpandGUIDList : public Machine {
 protected:
  ExpandGUIDList() {
    addUser({{"RecordName", {"a"}}, {"GUID", {"A"}}});
    addUser({{"RecordName", {"b"}}, {"GUID", {"B"}}}, cast::kNetworkNode);
    addGroup({{"RecordName", {"team"}}, {"GUID", {"TEAM"}}, {"GroupMembership", {"a", "b"}}});
    addGroup({{"RecordName", {"all"}}, {"GUID", {"ALL"}}, {"NestedGroups", {"TEAM"}}},
             cast::kNetworkNode);
    addGroup({{"RecordName", {"empty"}}, {"GUID", {"EMPTY"}}});
  }
};

TEST_F(ExpandGUIDList, AsksForUsersAndGroupsInOneQuery) {
  EXPECT_THAT(expandGUIDList(Strings{"B", "A"}), Optional(ElementsAre("A", "B")));
  EXPECT_THAT(calls("query"), ElementsAre(queryCall("search", {"Users", "Groups"}, "GUID",
                                                    {"B", "A"}, CachedUser::desiredAttributes())));
}

TEST_F(ExpandGUIDList, FollowsTheDirectorysOrderNotTheLists) {
  EXPECT_THAT(expandGUIDList(Strings{"ALL", "B", "TEAM", "A"}),
              Optional(ElementsAre("A", "A", "B", "B")));
}

TEST_F(ExpandGUIDList, ListsAUserTwiceWhoIsNamedAndInANamedGroup) {
  EXPECT_THAT(expandGUIDList(Strings{"A", "TEAM"}), Optional(ElementsAre("A", "A", "B")));
}

TEST_F(ExpandGUIDList, WalksAGroupOnceForTheWholeList) {
  EXPECT_THAT(expandGUIDList(Strings{"TEAM", "ALL"}), Optional(ElementsAre("A", "B")));
}

TEST_F(ExpandGUIDList, LeavesOutGUIDsThatNameNothing) {
  EXPECT_THAT(expandGUIDList(Strings{"GHOST", "A"}), Optional(ElementsAre("A")));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(ExpandGUIDList, IsAbsentWhenNothingMatches) {
  EXPECT_EQ(expandGUIDList(Strings{"GHOST"}), std::nullopt);
  EXPECT_EQ(expandGUIDList(Strings{}), std::nullopt);
}

TEST_F(ExpandGUIDList, IsEmptyForAnEmptyGroup) {
  EXPECT_THAT(expandGUIDList(Strings{"EMPTY"}), Optional(IsEmpty()));
}

TEST_F(ExpandGUIDList, IsAbsentWhenNoGroupGivesAnything) {
  addGroup({{"RecordName", {"blank"}}, {"GUID", {""}}, {"GroupMembership", {"a"}}});
  EXPECT_EQ(expandGUIDList(Strings{""}), std::nullopt);
}

TEST_F(ExpandGUIDList, IsAbsentForAnAbsentListWithoutAsking) {
  EXPECT_EQ(expandGUIDList(std::nullopt), std::nullopt);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(ExpandGUIDList, IsAbsentWithoutASearchNodeOrResults) {
  fail({{"queryResults", Fault::Kind::Absent}});
  EXPECT_EQ(expandGUIDList(Strings{"A"}), std::nullopt);
  fail({{"query", Fault::Kind::Absent}});
  EXPECT_EQ(expandGUIDList(Strings{"A"}), std::nullopt);
  mWorld->directory().removeSearchNode();
  fail({});
  EXPECT_EQ(expandGUIDList(Strings{"A"}), std::nullopt);
}

TEST_F(ExpandGUIDList, LeavesFailuresToItsCallers) {
  for (const auto* operation : {"nodeByType", "query", "queryResults", "recordType"}) {
    fail({{operation}});
    EXPECT_THROW(expandGUIDList(Strings{"A", "TEAM"}), PlatformException) << operation;
  }
  EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace gatehall
