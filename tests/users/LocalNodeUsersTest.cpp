#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/UserLists.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LocalNodeUsers : public Machine {
 protected:
  LocalNodeUsers() {
    install(cast::machine({cast::kErin, cast::kCarol, cast::kRoot, cast::kBob, cast::kAdminGroup},
                          {cast::kDana}));
    addUser({{"RecordName", {"daemon"}}, {"UniqueID", {"1"}}, {"UserShell", {"/usr/bin/false"}}});
  }
};

TEST_F(LocalNodeUsers, AreAllThatMayBeUsedSortedByLongName) {
  EXPECT_THAT(shortNames(*localNodeUsers()), ElementsAre("bob", "carol", "erin", "root"));
}

TEST_F(LocalNodeUsers, AreAskedForIgnoringCase) {
  localNodeUsers();
  auto expected = usersQueryCall("local", "RecordName", {"lxRecordsAll"});
  expected.arguments.insert_or_assign("match", "equal to ignoring case");
  EXPECT_THAT(calls("query"), ElementsAre(expected));
}

TEST_F(LocalNodeUsers, TakeOneQueryAndOneFetchOfTheNodesNameHoweverManyTheyAre) {
  for (int number = 1; number <= 300; ++number) {
    const auto text = std::to_string(10'000 + number);
    addUser({{"RecordName", {"u" + text}}, {"UniqueID", {text}}});
  }
  forgetCalls();
  EXPECT_EQ(localNodeUsers()->count(), 304U);
  EXPECT_EQ(calls("query").size(), 1U);
  EXPECT_EQ(calls("queryResults").size(), 1U);
  EXPECT_EQ(calls("nodeName").size(), 1U);
  EXPECT_EQ(calls("recordDetails").size(), 305U) << "the refused one's are read too";
  EXPECT_EQ(calls("checkServiceMembership").size(), 304U);
}

TEST_F(LocalNodeUsers, AreNoneWithoutALocalNode) {
  mWorld->directory().setLocalNode(std::nullopt);
  EXPECT_EQ(localNodeUsers(), nullptr);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(LocalNodeUsers, AreNoneAfterAFailureToTakeTheLocalNodeWhichIsLoggedAsTheSearchNodes) {
  fail({{"nodeByType", Fault::Kind::PlatformException, 1}});
  EXPECT_EQ(localNodeUsers(), nullptr);
  EXPECT_THAT(errors(), ElementsAre("Unable to find the users on the search node."));
}

TEST_F(LocalNodeUsers, AreAnEmptyListAfterAFailureOfTheQueryWithItsMessageOnly) {
  fail({{"query"}});
  const auto list = localNodeUsers();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->count(), 0U);
  EXPECT_THAT(errors(), ElementsAre("Unable to create user list"));
}

TEST_F(LocalNodeUsers, LetOtherExceptionsPass) {
  fail({{"nodeByType", Fault::Kind::OtherException}});
  EXPECT_THROW(localNodeUsers(), InjectedFailure);
}

}  // namespace
}  // namespace gatehall
