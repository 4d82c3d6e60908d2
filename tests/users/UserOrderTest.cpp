#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/UserLookup.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;

class UserOrder : public Machine {
 protected:
  std::shared_ptr<CachedUser> userOfLongName(const std::string& longName) {
    const auto number = std::to_string(++mUsers);
    addUser({{"RecordName", {"u" + number}}, {"UniqueID", {number}}, {"FullName", {longName}}});
    return userNamed("u" + number);
  }

  int order(const std::string& left, const std::string& right) {
    return userOfLongName(left)->cachedUserLongNameCompare(*userOfLongName(right));
  }

  /// The long names as a list sorts them.
  Strings sorted(const Strings& longNames) {
    const auto list = CachedUserList::cachedUserList();
    for (const auto& each : longNames) list->addObject(userOfLongName(each));
    list->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
    Strings names;
    for (const auto& user : *list) names.push_back(*user->longName());
    return names;
  }

 private:
  int mUsers = 0;
};

TEST_F(UserOrder, ByLongNameIgnoresCase) {
  EXPECT_EQ(order("ann", "Bob"), -1);
  EXPECT_EQ(order("Bob", "ann"), 1);
  EXPECT_EQ(order("ANN", "ann"), 0);
}

TEST_F(UserOrder, ByLongNameTakesRunsOfDigitsByTheirValue) {
  EXPECT_EQ(order("User 2", "user 10"), -1);
  EXPECT_EQ(order("user 10", "User 9"), 1);
  EXPECT_EQ(order("user 007", "user 7"), 0);
}

TEST_F(UserOrder, ByLongNameFallsBackToTheShortName) {
  addUser({{"RecordName", {"mia"}}, {"UniqueID", {"900"}}});
  const auto mia = userNamed("mia");
  EXPECT_EQ(mia->cachedUserLongNameCompare(*userOfLongName("Leo")), 1);
  EXPECT_EQ(mia->cachedUserLongNameCompare(*userOfLongName("Nia")), -1);
}

TEST_F(UserOrder, ByLongNamePutsAnAbsentNameFirst) {
  addUser({{"RecordName", {"gus"}}, {"UniqueID", {"900"}}, {"lxAttrTypeNative:_guest", {"1"}}});
  const auto gus = userNamed("gus");
  EXPECT_EQ(gus->cachedUserLongNameCompare(*userOfLongName("Ann")), -1);
  EXPECT_EQ(userOfLongName("Ann")->cachedUserLongNameCompare(*gus), 1);
  EXPECT_EQ(gus->cachedUserLongNameCompare(*gus), 0);
}

TEST_F(UserOrder, SortsNamesOfSeveralScriptsWithDigits) {
  const Strings expected = {"Ann Lee", "Élodie",  "User 2", "user 10", "Ελένη",
                            "Борис",   "Ярослав", "דוד",    "أمينة",   "王伟"};
  Strings mixed = expected;
  std::reverse(mixed.begin(), mixed.end());
  std::swap(mixed[1], mixed[6]);
  EXPECT_EQ(sorted(mixed), expected);
  EXPECT_EQ(sorted(expected), expected);
}

TEST_F(UserOrder, SortsAccentsBesideTheirLettersAndDigitsBeforeLetters) {
  EXPECT_THAT(sorted({"zoe", "Ärla", "arlo", "Zoë", "3 Musketeers", "arla", "20 Users"}),
              ElementsAre("3 Musketeers", "20 Users", "arla", "Ärla", "arlo", "zoe", "Zoë"));
}

TEST_F(UserOrder, SortsAsThePairwiseComparisonSays) {
  const auto list = CachedUserList::cachedUserList();
  for (const auto* name : {"user 10", "Élodie", "", "elodie", "USER 2", "u", "éa", "Борис", "10",
                           "9", "user-10", "user  10", "Zoë", "zoe"}) {
    list->addObject(userOfLongName(name));
  }
  list->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
  for (std::uint64_t at = 1; at < list->count(); ++at) {
    const auto left = list->objectAtIndex(at - 1);
    const auto right = list->objectAtIndex(at);
    EXPECT_LE(left->cachedUserLongNameCompare(*right), 0)
        << *left->longName() << " stands before " << *right->longName();
  }
}

TEST_F(UserOrder, KeepsTheOrderOfUsersWithEqualNames) {
  const auto list = CachedUserList::cachedUserList();
  for (const auto* name : {"same", "Same", "SAME"}) list->addObject(userOfLongName(name));
  list->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
  EXPECT_THAT(shortNames(*list), ElementsAre("u1", "u2", "u3"));
}

TEST_F(UserOrder, ByGUIDIsPlainAndCaseSensitive) {
  addUser({{"RecordName", {"small"}}, {"UniqueID", {"1"}}, {"GUID", {"a"}}});
  addUser({{"RecordName", {"capital"}}, {"UniqueID", {"2"}}, {"GUID", {"B"}}});
  addUser({{"RecordName", {"ten"}}, {"UniqueID", {"3"}}, {"GUID", {"10"}}});
  addUser({{"RecordName", {"nine"}}, {"UniqueID", {"4"}}, {"GUID", {"9"}}});
  addUser({{"RecordName", {"none"}}, {"UniqueID", {"5"}}});
  const auto list = CachedUserList::cachedUserList();
  for (const auto* name : {"small", "nine", "none", "capital", "ten"}) {
    list->addObject(userNamed(name));
  }
  list->sortUsingSelector(&CachedUser::cachedUserGUIDCompare);
  EXPECT_THAT(shortNames(*list), ElementsAre("none", "ten", "nine", "capital", "small"));
  EXPECT_EQ(userNamed("capital")->cachedUserGUIDCompare(*userNamed("small")), -1);
  EXPECT_EQ(userNamed("small")->cachedUserGUIDCompare(*userNamed("capital")), 1);
  EXPECT_EQ(userNamed("small")->cachedUserGUIDCompare(*userNamed("small")), 0);
}

}  // namespace
}  // namespace gatehall
