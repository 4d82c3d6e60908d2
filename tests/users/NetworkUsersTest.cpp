#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/UserLists.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Two network nodes: "east" with zoe and ann, "west" with bob.
class NetworkUsers : public Machine {
 protected:
  NetworkUsers() {
    auto& directory = mWorld->directory();
    directory.addNode("east");
    directory.addNode("west");
    directory.setSearchNode("search", {"local", "unix", "east", "west"});
    addUser({{"RecordName", {"local1"}}, {"UniqueID", {"1"}}});
    addUser({{"RecordName", {"unix1"}}, {"UniqueID", {"2"}}}, "unix");
    addUser({{"RecordName", {"zoe"}}, {"UniqueID", {"3"}}}, "east");
    addUser({{"RecordName", {"ann"}}, {"UniqueID", {"4"}}}, "east");
    addUser({{"RecordName", {"bob"}}, {"UniqueID", {"5"}}}, "west");
    addGroup({{"RecordName", {"group"}}, {"GUID", {"G"}}}, "west");
  }

  static Strings names() {
    const auto list = networkUsers();
    return list ? shortNames(*list) : Strings{"(absent)"};
  }
};

TEST_F(NetworkUsers, AreThoseOfTheNodesFromTheThirdOnInOrderUnsorted) {
  EXPECT_THAT(names(), ElementsAre("zoe", "ann", "bob"));
  EXPECT_THAT(calls("query"), ElementsAre(usersQueryCall("east", "RecordName", {"lxRecordsAll"}),
                                          usersQueryCall("west", "RecordName", {"lxRecordsAll"})));
}

TEST_F(NetworkUsers, SkipTheFirstTwoNodesWhateverTheyAre) {
  mWorld->directory().setSearchNode("search", {"east", "local", "unix", "west"});
  EXPECT_THAT(names(), ElementsAre("unix1", "bob"));
}

TEST_F(NetworkUsers, AreAnEmptyListWithTwoNodesOrFewerAndNoNodeIsQueried) {
  for (const auto& covers : {Strings{"east", "west"}, Strings{"east"}, Strings{}}) {
    mWorld->directory().setSearchNode("search", covers);
    forgetCalls();
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_THAT(calls("query"), IsEmpty());
    EXPECT_THAT(calls("nodeByName"), IsEmpty());
  }
}

TEST_F(NetworkUsers, OfANodeThatCannotBeOpenedAreSkipped) {
  mWorld->directory().setReachable("east", false);
  EXPECT_THAT(names(), ElementsAre("bob"));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(NetworkUsers, OfANodeWithoutResultsAreSkipped) {
  for (const auto* operation : {"query", "queryResults"}) {
    fail({{operation, Fault::Kind::Absent, {}, {.node = "east"}}});
    EXPECT_THAT(names(), ElementsAre("bob")) << operation;
  }
}

TEST_F(NetworkUsers, AreThoseWhoMayBeUsed) {
  addUser({{"RecordName", {"off"}}, {"UniqueID", {"6"}}, {"UserShell", {"/usr/bin/false"}}},
          "west");
  EXPECT_THAT(names(), ElementsAre("zoe", "ann", "bob"));
}

TEST_F(NetworkUsers, AreListedOnceWhenTheListKnowsThemFromANodeBefore) {
  addUser({{"RecordName", {"zoe"}}, {"UniqueID", {"7"}}, {"FullName", {"other"}}}, "west");
  EXPECT_THAT(names(), ElementsAre("zoe", "ann", "bob"));
}

TEST_F(NetworkUsers, AreAnEmptyListWithoutASearchNodeOrItsSubnodes) {
  fail({{"subnodeNames", Fault::Kind::Absent}});
  EXPECT_THAT(names(), IsEmpty());
  mWorld->directory().removeSearchNode();
  fail({});
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(NetworkUsers, AreAbsentAfterAFailureAnywhereWhichIsLoggedOnce) {
  for (const auto* operation :
       {"nodeByType", "subnodeNames", "nodeByName", "query", "queryResults", "recordDetails"}) {
    install(std::make_shared<World>());
    auto& directory = mWorld->directory();
    directory.addNode("east");
    directory.setSearchNode("search", {"local", "unix", "east"});
    addUser({{"RecordName", {"zoe"}}, {"UniqueID", {"3"}}}, "east");
    fail({{operation}});
    EXPECT_THAT(names(), ElementsAre("(absent)")) << operation;
    EXPECT_THAT(errors(), ElementsAre("Unable to find the network users.")) << operation;
  }
}

TEST_F(NetworkUsers, CollectedBeforeAFailureAreDropped) {
  fail({{"queryResults", Fault::Kind::PlatformException, {}, {.node = "west"}}});
  EXPECT_THAT(names(), ElementsAre("(absent)"));
  EXPECT_THAT(errors(), ElementsAre("Unable to find the network users."));
}

TEST_F(NetworkUsers, LetOtherExceptionsPass) {
  fail({{"queryResults", Fault::Kind::OtherException}});
  EXPECT_THROW(networkUsers(), InjectedFailure);
}

}  // namespace
}  // namespace gatehall
