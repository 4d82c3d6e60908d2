#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/UserLookup.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CachedUserForUID : public Machine {
 protected:
  static std::string nameOf(std::int32_t userID) {
    const auto user = cachedUserForUID(userID);
    return user ? user->shortName().value_or("(none)") : "nobody";
  }
};

TEST_F(CachedUserForUID, FindsAUserOfAnyNodeByOneQueryOfTheSearchNode) {
  install(cast::machineOfAll());
  EXPECT_EQ(nameOf(1002), "carol");
  EXPECT_THAT(calls("query"), ElementsAre(usersQueryCall("search", "UniqueID", {"1002"})));
  ASSERT_EQ(calls("queryResults").size(), 1U);
  EXPECT_EQ(calls("queryResults").front().arguments.at("allowPartial"), Value(false));
  EXPECT_EQ(nameOf(2001), "dana");
  EXPECT_EQ(nameOf(0), "root");
}

TEST_F(CachedUserForUID, FindsNobodyForAnUnknownIDAndLogsNothing) {
  install(cast::machineOfAll());
  EXPECT_EQ(nameOf(4711), "nobody");
  EXPECT_THAT(errors(), IsEmpty());
  EXPECT_THAT(diagnostics(), IsEmpty());
}

TEST_F(CachedUserForUID, AsksForANegativeIDAsItsUnsignedText) {
  addUser({{"RecordName", {"nobody2"}}, {"UniqueID", {"4294967294"}}});
  EXPECT_EQ(nameOf(-2), "nobody2");
  EXPECT_THAT(calls("query"), ElementsAre(usersQueryCall("search", "UniqueID", {"4294967294"})));
}

TEST_F(CachedUserForUID, DropsARecordWhoseOwnIDIsAnother) {
  addUser({{"RecordName", {"ann"}}, {"UniqueID", {"1000", "1001"}}});
  EXPECT_EQ(nameOf(1001), "nobody");
  EXPECT_EQ(nameOf(1000), "ann");
}

TEST_F(CachedUserForUID, AsksForMinusOneAsItsTextAndThenDoesNotFilter) {
  addUser({{"RecordName", {"ann"}}, {"UniqueID", {"1000", "4294967295"}}});
  EXPECT_EQ(nameOf(-1), "ann");
  EXPECT_THAT(calls("query"), ElementsAre(usersQueryCall("search", "UniqueID", {"4294967295"})));
}

// Records of one id that spell it differently are different entries of the list.
TEST_F(CachedUserForUID, AnswersTheOneOfSeveralWhoseLongNameSortsFirst) {
  addUser({{"RecordName", {"z"}}, {"UniqueID", {"501"}}, {"FullName", {"Zoe"}}});
  addUser({{"RecordName", {"a"}}, {"UniqueID", {"0501", "501"}}, {"FullName", {"adam"}}},
          cast::kNetworkNode);
  EXPECT_EQ(nameOf(501), "a");
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserForUID, AnswersTheLocalOneOfALocalAndANetworkRecord) {
  addUser({{"RecordName", {"a"}}, {"UniqueID", {"501"}}, {"FullName", {"Adam"}}});
  addUser({{"RecordName", {"z"}}, {"UniqueID", {"501"}}, {"FullName", {"Zoe"}}},
          cast::kNetworkNode);
  EXPECT_EQ(nameOf(501), "a");
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserForUID, PassesOverAnAccountThatMayNotBeUsed) {
  addUser({{"RecordName", {"daemon"}}, {"UniqueID", {"501"}}, {"UserShell", {"/usr/bin/false"}}});
  addUser({{"RecordName", {"ann"}}, {"UniqueID", {"501"}}}, cast::kNetworkNode);
  EXPECT_EQ(nameOf(501), "ann");
}

TEST_F(CachedUserForUID, FindsNobodyWithoutASearchNode) {
  mWorld->directory().removeSearchNode();
  EXPECT_EQ(nameOf(501), "nobody");
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserForUID, FindsNobodyWhenTheQueryOrItsResultsAreAbsent) {
  for (const auto* operation : {"query", "queryResults"}) {
    install(cast::machineOfAll());
    fail({{operation, Fault::Kind::Absent}});
    EXPECT_EQ(nameOf(1002), "nobody") << operation;
    EXPECT_THAT(errors(), IsEmpty()) << operation;
  }
}

TEST_F(CachedUserForUID, LogsAFailureToTakeTheSearchNode) {
  for (const auto* operation : {"defaultSession", "nodeByType"}) {
    install(cast::machineOfAll());
    fail({{operation, Fault::Kind::PlatformException, 1}});
    EXPECT_EQ(nameOf(1002), "nobody") << operation;
    EXPECT_THAT(errors(), ElementsAre("Unable to find the users on the search node.")) << operation;
  }
}

TEST_F(CachedUserForUID, LogsAFailureOfTheQueryOnceWithItsOwnMessageOnly) {
  for (const auto* operation : {"query", "queryResults", "valuesForAttribute", "recordDetails"}) {
    install(cast::machineOfAll());
    fail({{operation, Fault::Kind::PlatformException, 1}});
    EXPECT_EQ(nameOf(1002), "nobody") << operation;
    EXPECT_THAT(errors(), ElementsAre("Unable to find user")) << operation;
  }
}

TEST_F(CachedUserForUID, LetsOtherExceptionsPass) {
  for (const auto* operation : {"nodeByType", "queryResults"}) {
    install(cast::machineOfAll());
    fail({{operation, Fault::Kind::OtherException}});
    EXPECT_THROW(cachedUserForUID(1002), InjectedFailure) << operation;
    EXPECT_THAT(errors(), IsEmpty()) << operation;
  }
}

}  // namespace
}  // namespace gatehall
