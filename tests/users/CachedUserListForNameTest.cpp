#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/UserLists.h"
#include "gatehall/users/UserLookup.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kNodeMessage = "Unable to find the users on the search node.";
constexpr auto kListMessage = "Unable to create user list";

/// The local users ann, Ann, joanne and Joanna, and another ann on the network.
class CachedUserListForName : public Machine {
 protected:
  CachedUserListForName() {
    addUser({{"RecordName", {"ann"}}, {"UniqueID", {"1"}}});
    addUser({{"RecordName", {"Ann"}}, {"UniqueID", {"2"}}});
    addUser({{"RecordName", {"joanne"}}, {"UniqueID", {"3"}}});
    addUser({{"RecordName", {"JOANNA"}}, {"UniqueID", {"4"}}});
    addUser({{"RecordName", {"ann"}}, {"UniqueID", {"5"}}}, cast::kNetworkNode);
  }

  static Strings found(const char* name, MatchKindIndex index, std::int32_t filter = kNoUserID) {
    return shortNames(*cachedUserListForName(name, filter, localNode(), index));
  }

  Value matchAskedFor() const { return calls("query").back().arguments.at("match"); }
};

using SearchNodeUsersForName = CachedUserListForName;

TEST_F(CachedUserListForName, MatchesByTheKindOfTheIndex) {
  EXPECT_THAT(found("ann", 0), ElementsAre("ann", "Ann"));
  EXPECT_EQ(matchAskedFor(), Value("equal to ignoring case"));
  EXPECT_THAT(found("ann", 1), ElementsAre("ann"));
  EXPECT_EQ(matchAskedFor(), Value("equal to"));
  EXPECT_THAT(found("ann", 2), ElementsAre("ann", "Ann", "JOANNA", "joanne"));
  EXPECT_EQ(matchAskedFor(), Value("contains ignoring case"));
  EXPECT_THAT(found("ann", 3), ElementsAre("ann", "joanne"));
  EXPECT_EQ(matchAskedFor(), Value("contains"));
}

TEST_F(CachedUserListForName, TakesAnIndexAboveThreeForZero) {
  for (const MatchKindIndex index : {4U, 7U, 0xFFFFFFFFU}) {
    EXPECT_THAT(found("ann", index), ElementsAre("ann", "Ann")) << index;
    EXPECT_EQ(matchAskedFor(), Value("equal to ignoring case")) << index;
  }
}

TEST_F(CachedUserListForName, AsksTheNodeForUsersOfTheNameInOneQuery) {
  found("ann", 1);
  EXPECT_THAT(calls("query"), ElementsAre(usersQueryCall("local", "RecordName", {"ann"})));
  ASSERT_EQ(calls("queryResults").size(), 1U);
  EXPECT_EQ(calls("queryResults").front().arguments.at("allowPartial"), Value(false));
}

TEST_F(CachedUserListForName, FiltersByUserID) {
  EXPECT_THAT(found("ann", 2, 3), ElementsAre("joanne"));
  EXPECT_THAT(found("ann", 2, 99), IsEmpty());
}

TEST_F(CachedUserListForName, IsEmptyWithoutResults) {
  EXPECT_THAT(found("zoe", 1), IsEmpty());
  fail({{"queryResults", Fault::Kind::Absent}});
  EXPECT_THAT(found("ann", 1), IsEmpty());
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserListForName, IsNoneWithoutANameOrANodeOrAQuery) {
  EXPECT_EQ(cachedUserListForName(std::nullopt, kNoUserID, localNode(), 1), nullptr);
  EXPECT_EQ(cachedUserListForName("ann", kNoUserID, nullptr, 1), nullptr);
  fail({{"query", Fault::Kind::Absent}});
  EXPECT_EQ(cachedUserListForName("ann", kNoUserID, localNode(), 1), nullptr);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserListForName, IsEmptyAfterAFailureThatIsLoggedOnce) {
  for (const auto* operation : {"query", "queryResults", "recordDetails", "valuesForAttribute"}) {
    install(cast::machine({cast::kAnn, cast::kBob}));
    fail({{operation, Fault::Kind::PlatformException, 1}});
    const auto list = cachedUserListForName("lxRecordsAll", 1001, localNode(), 0);
    ASSERT_NE(list, nullptr) << operation;
    EXPECT_EQ(list->count(), 0U) << operation;
    EXPECT_THAT(errors(), ElementsAre(kListMessage)) << operation;
  }
}

TEST_F(CachedUserListForName, LetsOtherExceptionsPass) {
  fail({{"queryResults", Fault::Kind::OtherException}});
  EXPECT_THROW(found("ann", 1), InjectedFailure);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(SearchNodeUsersForName, AreThoseOfEveryNode) {
  const auto list = searchNodeUsersForName("ann", kNoUserID, 2);
  EXPECT_THAT(shortNames(*list), ElementsAre("ann", "Ann", "JOANNA", "joanne"))
      << "the network's ann shares her name with a local one";
  EXPECT_EQ(calls("query").back().arguments.at("node"), Value("search"));
}

TEST_F(SearchNodeUsersForName, AreTheOneOfTwoOfANameWhoHasTheUserID) {
  const auto list = searchNodeUsersForName("ann", 5, 1);
  ASSERT_EQ(list->count(), 1U);
  EXPECT_EQ(list->objectAtIndex(0)->node(), cast::kNetworkNode);
}

TEST_F(SearchNodeUsersForName, MatchingANameHaveAnyUserID) {
  EXPECT_THAT(shortNames(*searchNodeUsersMatchingName("ann", 3)), ElementsAre("ann", "joanne"));
  EXPECT_EQ(searchNodeUsersMatchingName(std::nullopt, 3), nullptr);
}

TEST_F(SearchNodeUsersForName, AreNoneWithoutANameAndNothingIsAsked) {
  EXPECT_EQ(searchNodeUsersForName(std::nullopt, kNoUserID, 1), nullptr);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(SearchNodeUsersForName, AreNoneWithoutASearchNode) {
  mWorld->directory().removeSearchNode();
  EXPECT_EQ(searchNodeUsersForName("ann", kNoUserID, 1), nullptr);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(SearchNodeUsersForName, AreNoneAfterAFailureToTakeTheSearchNode) {
  for (const auto* operation : {"defaultSession", "nodeByType"}) {
    install(cast::machine({cast::kAnn}));
    fail({{operation, Fault::Kind::PlatformException, 1}});
    EXPECT_EQ(searchNodeUsersForName("ann", kNoUserID, 1), nullptr) << operation;
    EXPECT_THAT(errors(), ElementsAre(kNodeMessage)) << operation;
  }
}

TEST_F(SearchNodeUsersForName, AreAnEmptyListAfterAFailureOfTheQueryWithItsMessageOnly) {
  fail({{"queryResults"}});
  const auto list = searchNodeUsersForName("ann", kNoUserID, 1);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->count(), 0U);
  EXPECT_THAT(errors(), ElementsAre(kListMessage));
}

}  // namespace
}  // namespace gatehall
