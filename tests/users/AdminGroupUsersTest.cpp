#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/GroupMembership.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AdminGroupUsers : public Machine {
 protected:
  AdminGroupUsers() {
    install(cast::machine({cast::kAnn, cast::kBob, cast::kCarol}, {cast::kDana}));
  }
};

TEST_F(AdminGroupUsers, AreFetchedOnDemandThoughTheQueryAsksForMembersOnly) {
  addGroup({{"RecordName", {"admin"}},
            {"GUID", {"ADMIN"}},
            {"GroupMembership", {"carol", "dana"}},
            {"NestedGroups", {"OWNERS"}}});
  addGroup({{"RecordName", {"owners"}}, {"GUID", {"OWNERS"}}, {"GroupMembership", {"ann"}}});
  const auto list = adminGroupUsers();
  ASSERT_NE(list, nullptr);
  EXPECT_THAT(shortNames(*list), ElementsAre("carol", "dana", "ann"));
  EXPECT_EQ(calls("query").front(),
            queryCall("local", {"Groups"}, "RecordName", {"admin"}, {"GroupMembers"}));
}

TEST_F(AdminGroupUsers, AreNoneWithoutALocalGroupOfThatName) {
  addGroup({{"RecordName", {"admin"}}, {"GUID", {"ADMIN"}}, {"GroupMembership", {"dana"}}},
           cast::kNetworkNode);
  addGroup({{"RecordName", {"Admin"}}, {"GUID", {"OTHER"}}, {"GroupMembership", {"ann"}}});
  EXPECT_EQ(adminGroupUsers(), nullptr);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(AdminGroupUsers, AreAnEmptyListForAnEmptyGroup) {
  addGroup({{"RecordName", {"admin"}}, {"GUID", {"ADMIN"}}});
  const auto list = adminGroupUsers();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->count(), 0U);
}

TEST_F(AdminGroupUsers, AreThoseOfEveryLocalGroupOfThatName) {
  addGroup({{"RecordName", {"admin"}}, {"GUID", {"ONE"}}, {"GroupMembership", {"bob"}}});
  addGroup({{"RecordName", {"wheel", "admin"}},
            {"GUID", {"TWO"}},
            {"GroupMembership", {"ann"}},
            {"NestedGroups", {"ONE"}}});
  EXPECT_THAT(shortNames(*adminGroupUsers()), ElementsAre("bob", "ann"));
}

TEST_F(AdminGroupUsers, AreNoneForAGroupWithoutAGUID) {
  addGroup({{"RecordName", {"admin"}}, {"GroupMembership", {"ann"}}});
  EXPECT_EQ(adminGroupUsers(), nullptr);
}

TEST_F(AdminGroupUsers, LeaveOutAMemberWhomTheSearchByGUIDDoesNotFindWithALine) {
  addGroup({{"RecordName", {"admin"}}, {"GUID", {"ADMIN"}}, {"GroupMembership", {"ann", "bob"}}});
  const std::string bob(cast::kBobGUID);
  fail({{"queryResults", Fault::Kind::PlatformException, {}, {.attribute = "GUID", .value = bob}}});
  EXPECT_THAT(shortNames(*adminGroupUsers()), ElementsAre("ann"));
  EXPECT_THAT(errors(), ElementsAre("Unable to find the user on the search node."));
}

TEST_F(AdminGroupUsers, AreNoneWithoutALocalNodeOrResults) {
  addGroup({{"RecordName", {"admin"}}, {"GUID", {"ADMIN"}}, {"GroupMembership", {"ann"}}});
  fail({{"query", Fault::Kind::Absent}});
  EXPECT_EQ(adminGroupUsers(), nullptr);
  fail({{"queryResults", Fault::Kind::Absent}});
  EXPECT_EQ(adminGroupUsers(), nullptr);
  mWorld->directory().setLocalNode(std::nullopt);
  fail({});
  EXPECT_EQ(adminGroupUsers(), nullptr);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(AdminGroupUsers, LeaveFailuresToTheirCallers) {
  addGroup({{"RecordName", {"admin"}}, {"GUID", {"ADMIN"}}, {"GroupMembership", {"ann"}}});
  for (const auto* operation : {"nodeByType", "query", "queryResults", "valuesForAttribute"}) {
    fail({{operation, Fault::Kind::PlatformException, 1}});
    EXPECT_THROW(adminGroupUsers(), PlatformException) << operation;
  }
  EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace gatehall
