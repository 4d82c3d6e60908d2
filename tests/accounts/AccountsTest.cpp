#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "accounts/Accounts.h"
#include "gatehall/users/UserLookup.h"
#include "tests/accounts/Town.h"
#include "tests/ctl/RunWorld.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Strings namesOf(const std::vector<Account>& accounts) {
  Strings names;
  for (const auto& each : accounts) names.push_back(each.name + " of " + each.node);
  return names;
}

TEST(Accounts, AreMeantByUserIDByGUIDInEitherCaseByNameAndByAlias) {
  const Town town;
  for (const auto* operand : {"20001", "00000000-0000-4000-8000-0000000DA4A0",
                              "00000000-0000-4000-8000-0000000da4a0", "dana", "danadoe"}) {
    const auto meant = accountMeant(town.accounts(), operand);
    ASSERT_EQ(meant.accounts.size(), 1U) << operand;
    const auto& dana = meant.accounts.front();
    EXPECT_EQ(dana.name, "dana");
    EXPECT_EQ(dana.longName, "Dana Osei");
    EXPECT_EQ(dana.guid, "00000000-0000-4000-8000-0000000DA4A0");
    EXPECT_EQ(dana.node, "ldap/town");
    EXPECT_EQ(dana.userID, 20001U);
    EXPECT_EQ(dana.hidden, "");
    EXPECT_THAT(meant.nearest, IsEmpty());
  }
}

TEST(Accounts, AreNobodyByAnUnknownNameWhichGetsTheNearestOnesOfEveryDirectory) {
  const Town town;
  const auto meant = accountMeant(town.accounts(), "dnaa");
  EXPECT_THAT(meant.accounts, IsEmpty());
  EXPECT_THAT(meant.nearest, ElementsAre("dana"));
  EXPECT_THAT(accountMeant(town.accounts(), "Ann").nearest, ElementsAre("ann"));
  EXPECT_THAT(accountMeant(town.accounts(), "somebody").nearest, IsEmpty());
  EXPECT_THAT(accountMeant(town.accounts(), "1").nearest, IsEmpty()) << "a user id";
}

TEST(Accounts, OfSeveralTheFirstIsTheOneThatCountsAndTheOthersAreTold) {
  const Town town;
  const auto byName = accountMeant(town.accounts(), "carol");
  EXPECT_THAT(namesOf(byName.accounts), ElementsAre("carol of local", "carol of ldap/town"));
  EXPECT_EQ(byName.accounts[0].hidden, "");
  EXPECT_EQ(byName.accounts[1].hidden, "") << "who is found by the user id";
  const auto byID = accountMeant(town.accounts(), "1001");
  EXPECT_THAT(namesOf(byID.accounts), ElementsAre("bob of local", "robert of ldap/town"));
  EXPECT_EQ(byID.accounts[0].hidden, "");
  EXPECT_EQ(byID.accounts[1].hidden, "hidden by a local account");
}

TEST(Accounts, ALockedLocalAccountHidesNobody) {
  const Town town;
  const auto meant = accountMeant(town.accounts(), "hugo");
  EXPECT_THAT(namesOf(meant.accounts), ElementsAre("hugo of ldap/town", "hugo of local"));
  EXPECT_EQ(meant.accounts[0].hidden, "");
}

TEST(Accounts, AreHiddenByOneOfTheSameUserIDWhateverTheyAreAskedForBy) {
  const Town town;
  for (const auto* operand : {"robert", "00000000-0000-4000-8000-0000000B0002"}) {
    const auto meant = accountMeant(town.accounts(), operand);
    ASSERT_EQ(meant.accounts.size(), 1U);
    EXPECT_EQ(meant.accounts.front().hidden, "hidden by a local account");
    EXPECT_EQ(meant.accounts.front().whyHidden, "bob of local has the same user id");
  }
}

TEST(Accounts, AreHiddenOrNotAloneAsAmongAllAndAsTheLayerAnswersForTheirUserID) {
  const Town town;
  const auto add = [&](const std::string& node, Strings names, const char* id, const char* guid) {
    town.world().directory().node(node)->addRecord(
        {"Users",
         {{"RecordName", std::move(names)}, {"UniqueID", {id}}, {"GUID", {guid}}},
         std::nullopt,
         std::nullopt});
  };
  constexpr const char* kShared = "00000000-0000-4000-8000-0000000A0000";
  add("ldap/town", {"twin"}, "20001", "00000000-0000-4000-8000-000000000001");  // dana's id
  add("local", {"second"}, "1000", "00000000-0000-4000-8000-000000000002");     // ann's id
  add("local", {"ann"}, "1600", "00000000-0000-4000-8000-000000000003");
  add("ldap/town", {"ann"}, "2000", "00000000-0000-4000-8000-000000000004");
  add("ldap/town", {"zoe"}, "2001", kShared);
  for (const auto& each : allAccounts()) {
    for (const auto& operand : {each.name, each.guid, std::to_string(*each.userID)}) {
      for (const auto& asked : accountMeant(town.accounts(), operand).accounts) {
        if (asked.guid != each.guid || asked.name != each.name) continue;
        EXPECT_EQ(asked.hidden, each.hidden) << each.name << " by " << operand;
        EXPECT_EQ(asked.whyHidden, each.whyHidden);
      }
    }
    const auto user = cachedUserForUID(static_cast<std::int32_t>(*each.userID));
    const bool isAnswered = user && user->shortName() == each.name && user->getGUID() == each.guid;
    if (each.name == "hugo" && each.node == "local") continue;  // it is locked
    EXPECT_EQ(each.hidden.empty(), isAnswered) << each.name << " of " << each.node;
  }
}

TEST(Accounts, HaveTheFirstOfSeveralUserIDs) {
  const Town town;
  town.world()
      .directory()
      .node("local")
      ->record("Users", "ann")
      ->setValues("UniqueID", {"1000", "1009"});
  EXPECT_EQ(accountMeant(town.accounts(), "1000").accounts.size(), 1U);
  EXPECT_THAT(accountMeant(town.accounts(), "1009").accounts, IsEmpty());
}

TEST(Accounts, AreAllListedInTheOrderOfTheDirectoriesAndMarkedWhereTheyAreHidden) {
  const Town town;
  std::vector<MissingAccounts> missing;
  const auto all = allAccounts(&missing);
  EXPECT_THAT(namesOf(all), ElementsAre("ann of local", "bob of local", "carol of local",
                                        "hugo of local", "dana of ldap/town", "robert of ldap/town",
                                        "carol of ldap/town", "hugo of ldap/town"));
  for (const auto& each : all) {
    EXPECT_EQ(each.hidden, each.name == "robert" ? "hidden by a local account" : "") << each.name;
  }
  EXPECT_THAT(missing, IsEmpty());
}

TEST(Accounts, OfADirectoryThatIsAwayAreMissingAndThatIsSaid) {
  const Town town;
  town.world().directory().setReachable("ldap/town", false);
  std::vector<MissingAccounts> missing;
  EXPECT_EQ(allAccounts(&missing).size(), 4U);
  ASSERT_EQ(missing.size(), 1U);
  EXPECT_EQ(missing[0].node, "ldap/town");
  EXPECT_EQ(missing[0].why, "ldap/town can't be asked now: its accounts are missing");
  const auto meant = accountMeant(town.accounts(), "dana");
  EXPECT_THAT(meant.accounts, IsEmpty());
  EXPECT_THAT(meant.away, ElementsAre("ldap/town"));
}

TEST(Accounts, ANumberThatIsNoUserIDAndAnEmptyNameAreRefused) {
  const Town town;
  for (const auto* operand : {"4294967295", "99999999999999999999", ""}) {
    EXPECT_THROW(accountMeant(town.accounts(), operand), MeansNobody) << operand;
  }
}

}  // namespace
}  // namespace gatehall
