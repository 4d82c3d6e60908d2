#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/directory/GroupConvenience.h"
#include "gatehall/directory/RecordConvenience.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class GroupConvenience : public Machine {
 protected:
  std::shared_ptr<DirectoryRecord> groupWith(std::string_view kind, Strings values) {
    addGroup({{"RecordName", {"team"}}, {std::string(kind), std::move(values)}});
    const auto group = recordNamed(record::Groups, "team");
    forgetCalls();
    return group;
  }

  static Strings names(const std::optional<Records>& records) {
    if (!records) return {"absent"};
    Strings names;
    for (const auto& each : *records) names.push_back(description(*each));
    return names;
  }
};

TEST_F(GroupConvenience, FindsTheUsersThatTheGroupListsByName) {
  addUser({{"RecordName", {"ann"}}});
  addUser({{"RecordName", {"dana"}}}, cast::kNetworkNode);
  addUser({{"RecordName", {"bob"}}});
  const auto team = groupWith("GroupMembership", {"dana", "nobody", "ann"});
  const auto members = users(*team);
  EXPECT_THAT(names(members), ElementsAre("(ann)", "(dana)"));
  EXPECT_THAT(calls("query"), ElementsAre(queryCall("search", {"Users"}, "RecordName",
                                                    {"dana", "nobody", "ann"}, {"GUID"})));
  ASSERT_EQ(calls("queryResults").size(), 1U);
  EXPECT_EQ(calls("queryResults").front().arguments.at("allowPartial"), Value(false));
}

TEST_F(GroupConvenience, FindsTheNestedGroupsByGUID) {
  addGroup({{"RecordName", {"near"}}, {"GUID", {"G-NEAR"}}});
  addGroup({{"RecordName", {"far"}}, {"GUID", {"G-FAR"}}}, cast::kNetworkNode);
  const auto team = groupWith("NestedGroups", {"G-FAR", "G-NEAR", "G-NONE"});
  const auto nested = nestedGroups(*team);
  EXPECT_THAT(names(nested), ElementsAre("(near)", "(far)"));
  EXPECT_THAT(calls("query"),
              ElementsAre(queryCall("search", {"Groups"}, "GUID", {"G-FAR", "G-NEAR", "G-NONE"},
                                    {"MetaNodeLocation", "GUID", "GroupMembers", "NestedGroups"})));
}

TEST_F(GroupConvenience, AnswersAbsentForAUserWithoutQuerying) {
  addUser({{"RecordName", {"ann"}}, {"GroupMembership", {"bob"}}, {"NestedGroups", {"G"}}});
  const auto ann = recordNamed(record::Users, "ann");
  EXPECT_EQ(users(*ann), std::nullopt);
  EXPECT_EQ(nestedGroups(*ann), std::nullopt);
  EXPECT_THAT(calls("query"), IsEmpty());
}

TEST_F(GroupConvenience, AnswersAbsentForAnEmptyListWithoutQuerying) {
  EXPECT_EQ(users(*groupWith("GroupMembership", {})), std::nullopt);
  EXPECT_EQ(nestedGroups(*groupWith("NestedGroups", {})), std::nullopt);
  EXPECT_THAT(calls("query"), IsEmpty());
}

TEST_F(GroupConvenience, AnswersAbsentForAGroupThatListsNothing) {
  const auto team = groupWith("GUID", {"G"});
  EXPECT_EQ(users(*team), std::nullopt);
  EXPECT_EQ(nestedGroups(*team), std::nullopt);
  EXPECT_THAT(calls("query"), IsEmpty());
}

TEST_F(GroupConvenience, AnswersAnEmptyListWhenNothingListedExists) {
  EXPECT_THAT(names(users(*groupWith("GroupMembership", {"nobody"}))), IsEmpty());
}

TEST_F(GroupConvenience, AnswersAbsentWhenTheQueryCannotBeBuilt) {
  groupWith("GroupMembership", {"ann"});
  fail({{"query", Fault::Kind::Absent}});
  EXPECT_EQ(users(*recordNamed(record::Groups, "team")), std::nullopt);
}

TEST_F(GroupConvenience, AnswersAbsentWithoutASearchNode) {
  const auto team = groupWith("GroupMembership", {"ann"});
  mWorld->directory().removeSearchNode();
  EXPECT_EQ(users(*team), std::nullopt);
}

}  // namespace
}  // namespace gatehall
