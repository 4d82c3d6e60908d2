#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/UserLookup.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CachedUserListForRecords : public Machine {
 protected:
  CachedUserListForRecords() { install(cast::machineOfAll()); }

  static Records records(std::initializer_list<const char*> names) {
    Records records;
    for (const auto* name : names) records.push_back(recordNamed(record::Users, name));
    return records;
  }
};

TEST_F(CachedUserListForRecords, IsSortedByLongName) {
  const auto list = cachedUserListForRecords(records({"erin", "bob", "ann", "carol"}), kNoUserID);
  EXPECT_THAT(shortNames(*list), ElementsAre("ann", "bob", "carol", "erin"));
}

TEST_F(CachedUserListForRecords, KeepsTheRecordsWithTheWantedUserID) {
  const auto list = cachedUserListForRecords(records({"erin", "bob", "ann"}), 1001);
  EXPECT_THAT(shortNames(*list), ElementsAre("bob"));
}

TEST_F(CachedUserListForRecords, ComparesUserIDsAsUnsignedNumbers) {
  addUser({{"RecordName", {"nobody"}}, {"UniqueID", {"4294967294"}}});
  addUser({{"RecordName", {"negative"}}, {"UniqueID", {"-2"}}});
  const auto list = cachedUserListForRecords(records({"nobody", "ann", "negative"}), -2);
  EXPECT_THAT(shortNames(*list), ElementsAre("negative", "nobody"));
}

TEST_F(CachedUserListForRecords, DoesNotReadUserIDsWithoutAFilter) {
  addUser({{"RecordName", {"two"}}, {"UniqueID", {"1", "2"}}});
  cachedUserListForRecords(records({"two"}), kNoUserID);
  EXPECT_THAT(diagnostics(), IsEmpty());
}

TEST_F(CachedUserListForRecords, SkipsAccountsThatMayNotBeUsed) {
  addUser({{"RecordName", {"daemon"}}, {"UniqueID", {"1"}}, {"UserShell", {"/usr/bin/false"}}});
  const auto list = cachedUserListForRecords(records({"daemon", "ann"}), kNoUserID);
  EXPECT_THAT(shortNames(*list), ElementsAre("ann"));
}

TEST_F(CachedUserListForRecords, OfNoRecordsIsAnEmptyList) {
  ASSERT_NE(cachedUserListForRecords(std::nullopt, kNoUserID), nullptr);
  EXPECT_EQ(cachedUserListForRecords(std::nullopt, kNoUserID)->count(), 0U);
  ASSERT_NE(cachedUserListForRecords(Records{}, 501), nullptr);
  EXPECT_EQ(cachedUserListForRecords(Records{}, 501)->count(), 0U);
}

TEST_F(CachedUserListForRecords, LeavesFailuresToItsCallers) {
  fail({{"recordDetails"}});
  EXPECT_THROW(cachedUserListForRecords(records({"ann"}), kNoUserID), PlatformException);
  EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace gatehall
