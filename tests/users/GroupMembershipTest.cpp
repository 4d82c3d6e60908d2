#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/GroupMembership.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

/// Users a, b and c, whose GUIDs are A, B and C; groups by their GUIDs.
class GroupMemberGUIDs : public Machine {
 protected:
  GroupMemberGUIDs() {
    for (const auto* name : {"a", "b", "c"}) {
      addUser({{"RecordName", {name}}, {"GUID", {std::string(1, static_cast<char>(*name - 32))}}});
    }
  }

  void addGroupOf(std::string guid, Strings users, Strings groups) {
    addGroup({{"RecordName", {guid}},
              {"GUID", {guid}},
              {"GroupMembership", std::move(users)},
              {"NestedGroups", std::move(groups)}});
  }

  static std::optional<Strings> membersOf(std::string_view group) {
    VisitedGroups visited;
    return groupMemberGUIDs(recordNamed(record::Groups, group), &visited);
  }
};

TEST_F(GroupMemberGUIDs, AreThoseOfTheUsersThenOfTheNestedGroupsAtAnyDepth) {
  addGroupOf("TOP", {"c"}, {"MIDDLE"});
  addGroupOf("MIDDLE", {"a"}, {"DEEP"});
  addGroupOf("DEEP", {"b"}, {});
  EXPECT_THAT(membersOf("TOP"), Optional(ElementsAre("C", "A", "B")));
}

TEST_F(GroupMemberGUIDs, WalkGroupsThatNestEachOtherOnce) {
  addGroupOf("ONE", {"a"}, {"TWO"});
  addGroupOf("TWO", {"b"}, {"ONE"});
  EXPECT_THAT(membersOf("ONE"), Optional(ElementsAre("A", "B")));
}

TEST_F(GroupMemberGUIDs, WalkAGroupThatNestsItselfOnce) {
  addGroupOf("ONE", {"a"}, {"ONE"});
  EXPECT_THAT(membersOf("ONE"), Optional(ElementsAre("A")));
}

TEST_F(GroupMemberGUIDs, ListAGroupReachedByTwoPathsOnce) {
  addGroupOf("TOP", {}, {"LEFT", "RIGHT"});
  addGroupOf("LEFT", {"a"}, {"SHARED"});
  addGroupOf("RIGHT", {"b"}, {"SHARED"});
  addGroupOf("SHARED", {"c"}, {});
  EXPECT_THAT(membersOf("TOP"), Optional(ElementsAre("A", "C", "B")));
}

TEST_F(GroupMemberGUIDs, ListAGroupNestedTwiceUnderOneParentOnce) {
  addGroupOf("TOP", {}, {"SHARED", "SHARED"});
  addGroupOf("SHARED", {"c"}, {});
  EXPECT_THAT(membersOf("TOP"), Optional(ElementsAre("C")));
}

TEST_F(GroupMemberGUIDs, ListAMemberOfTwoGroupsTwice) {
  addGroupOf("TOP", {"a"}, {"NESTED"});
  addGroupOf("NESTED", {"a"}, {});
  EXPECT_THAT(membersOf("TOP"), Optional(ElementsAre("A", "A")));
}

TEST_F(GroupMemberGUIDs, AreAnEmptyListForAGroupWithoutMembers) {
  addGroupOf("EMPTY", {}, {});
  EXPECT_THAT(membersOf("EMPTY"), Optional(IsEmpty()));
}

TEST_F(GroupMemberGUIDs, AreAbsentWithoutARecordOrADictionary) {
  addGroupOf("ONE", {"a"}, {});
  VisitedGroups visited;
  EXPECT_EQ(groupMemberGUIDs(nullptr, &visited), std::nullopt);
  EXPECT_EQ(groupMemberGUIDs(recordNamed(record::Groups, "ONE"), nullptr), std::nullopt);
}

TEST_F(GroupMemberGUIDs, AreAbsentForAUser) {
  VisitedGroups visited;
  EXPECT_EQ(groupMemberGUIDs(recordNamed(record::Users, "a"), &visited), std::nullopt);
  EXPECT_THAT(visited, IsEmpty());
}

TEST_F(GroupMemberGUIDs, AreAbsentForAGroupWithoutAGUIDOrWithAnEmptyOne) {
  addGroup({{"RecordName", {"none"}}, {"GroupMembership", {"a"}}});
  addGroup({{"RecordName", {"empty"}}, {"GUID", {""}}, {"GroupMembership", {"a"}}});
  EXPECT_EQ(membersOf("none"), std::nullopt);
  EXPECT_EQ(membersOf("empty"), std::nullopt);
  EXPECT_THAT(calls("query"), IsEmpty());
}

TEST_F(GroupMemberGUIDs, AreAbsentForAGroupThatWasWalkedAlready) {
  addGroupOf("ONE", {"a"}, {});
  const auto one = recordNamed(record::Groups, "ONE");
  VisitedGroups visited;
  EXPECT_TRUE(groupMemberGUIDs(one, &visited).has_value());
  EXPECT_THAT(visited, ElementsAre(std::pair<const std::string, decltype(one)>("ONE", one)));
  forgetCalls();
  EXPECT_EQ(groupMemberGUIDs(one, &visited), std::nullopt);
  EXPECT_THAT(calls("query"), IsEmpty());
}

TEST_F(GroupMemberGUIDs, FailForAMemberWithoutAGUID) {
  addUser({{"RecordName", {"nameless"}}});
  addGroupOf("ONE", {"a", "nameless"}, {});
  EXPECT_THROW(membersOf("ONE"), PlatformException);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(GroupMemberGUIDs, LeaveOutANestedGroupWithoutAGUIDAndNamesThatNobodyHas) {
  addGroupOf("ONE", {"a", "ghost"}, {"GHOST", "TWO"});
  addGroupOf("TWO", {"b"}, {});
  EXPECT_THAT(membersOf("ONE"), Optional(ElementsAre("A", "B")));
}

TEST_F(GroupMemberGUIDs, LeaveFailuresToTheirCallers) {
  addGroupOf("ONE", {"a"}, {});
  fail({{"queryResults"}});
  EXPECT_THROW(membersOf("ONE"), PlatformException);
  EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace gatehall
