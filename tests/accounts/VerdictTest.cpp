#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "accounts/Verdict.h"
#include "tests/accounts/Town.h"

namespace gatehall {
namespace {

using testing::HasSubstr;

Verdict verdictOf(const Town& town, const std::string& operand) {
  return verdictOn(town.accounts(), accountMeant(town.accounts(), operand));
}

/// What becomes of bob when that is set in his account.
Verdict verdictOnBobWith(std::string_view kind, Strings values) {
  const Town town;
  town.world()
      .directory()
      .node("local")
      ->record("Users", "bob")
      ->setValues(kind, std::move(values));
  return verdictOf(town, "bob");
}

TEST(Verdict, IsTheLoginRulesWhereThereIsSomebodyToBeDecidedAbout) {
  const Town town(R"(, "managed": { "com.orvane.gatehall": { "LocalUserLoginEnabled": false } })");
  const auto ann = verdictOf(town, "ann");
  EXPECT_TRUE(ann.allowed);
  EXPECT_EQ(ann.rule, "administrator");
  EXPECT_EQ(ann.decided, LoginRule::Administrator);
  const auto bob = verdictOf(town, "bob");
  EXPECT_FALSE(bob.allowed);
  EXPECT_EQ(bob.rule, "local login disabled");
  EXPECT_EQ(bob.source, PreferenceSource::Managed);
  EXPECT_EQ(bob.reason, "");
  ASSERT_TRUE(bob.user);
  EXPECT_EQ(bob.user->shortName(), "bob");
}

TEST(Verdict, SaysWhyAnAccountIsNobodysToLogInWith) {
  struct Case {
    const char* kind;
    Strings values;
    const char* rule;
  };
  for (const auto& [kind, values, rule] :
       {Case{"UserShell", {"/usr/bin/false"}, "no shell"},
        Case{"AuthenticationAuthority", {";ShadowHash;", ";DisabledUser;"}, "locked"},
        Case{"AuthenticationAuthority", {";DisabledUser;;ShadowHash;"}, "locked"},
        Case{"AuthenticationAuthority", {";DisabledUser;expired"}, "expired"},
        Case{"Password", {"*"}, "no password"}}) {
    const auto verdict = verdictOnBobWith(kind, values);
    EXPECT_EQ(verdict.rule, rule) << kind;
    EXPECT_FALSE(verdict.allowed);
    EXPECT_FALSE(verdict.user);
    EXPECT_NE(verdict.reason, "");
    EXPECT_FALSE(verdict.isUndecidable());
  }
}

TEST(Verdict, SaysWhatARecordLacksThatNobodyCanLogInWithout) {
  const Town town;
  const auto local = town.world().directory().node("local");
  const auto add = [&](std::vector<std::pair<std::string, Strings>> attributes) {
    local->addRecord({"Users", std::move(attributes), std::nullopt, std::nullopt});
  };
  add({{"RecordName", {"finn"}}});
  EXPECT_EQ(verdictOf(town, "finn").rule, "no user id");
  add({{"RecordName", {""}}, {"UniqueID", {"1009"}}});
  EXPECT_EQ(verdictOf(town, "1009").rule, "no name");
}

TEST(Verdict, OfALocalAccountThatTheServiceAccessListLeavesOutSaysSo) {
  const Town town(
      R"(, "membership": { "gatehall": { "members": ["00000000-0000-4000-8000-0000000A0000"] } })");
  EXPECT_EQ(verdictOf(town, "bob").rule, "not in gatehall-access");
  EXPECT_FALSE(verdictOf(town, "bob").user) << "the layer finds nobody";
  EXPECT_EQ(verdictOf(town, "ann").rule, "administrator");
  EXPECT_EQ(verdictOf(town, "dana").rule, "no service access") << "a rule about network users";
}

TEST(Verdict, OfAHiddenAccountNamesWhoHidesIt) {
  const Town town;
  const auto verdict = verdictOf(town, "robert");
  EXPECT_EQ(verdict.rule, "hidden by a local account");
  EXPECT_EQ(verdict.reason, "bob of local has the same user id");
  EXPECT_FALSE(verdict.allowed);
}

TEST(Verdict, OfNobodyTellsADirectoryThatIsAwayFromAnAccountThatIsNot) {
  const Town town;
  EXPECT_EQ(verdictOf(town, "ivy").rule, "no such account");
  EXPECT_EQ(verdictOf(town, "ivy").reason, "no directory has ivy");
  town.world().directory().setReachable("ldap/town", false);
  const auto away = verdictOf(town, "20001");
  EXPECT_EQ(away.rule, "directory away");
  EXPECT_THAT(away.reason, HasSubstr("ldap/town"));
  EXPECT_FALSE(away.isUndecidable());
}

TEST(Verdict, IsUndecidableWhereTheHostRaisesAndSaysWhy) {
  const Town asked(R"(, "faults": [ { "operation": "queryResults", "raise": "platform" } ])");
  const auto unfound = verdictOf(asked, "bob");
  EXPECT_TRUE(unfound.isUndecidable());
  EXPECT_FALSE(unfound.user);
  EXPECT_NE(unfound.reason, "");
}

TEST(Verdict, IsUndecidableWhereItCantBeToldWhetherAnotherAccountCounts) {
  const Town town(
      R"(, "faults": [ { "operation": "queryResults", "call": 2, "raise": "platform" } ])");
  const auto meant = accountMeant(town.accounts(), "bob");
  EXPECT_EQ(meant.accounts.size(), 1U);
  EXPECT_TRUE(meant.nearest.empty()) << "bob is found";
  EXPECT_TRUE(verdictOn(town.accounts(), meant).isUndecidable());
}

TEST(Verdict, IsUndecidableWhereTheServiceAccessListCantBeKnown) {
  const Town town(R"(, "membership": { "gatehall": {
      "members": ["00000000-0000-4000-8000-0000000A0000"], "missing": "no route" } })");
  for (const auto* name : {"bob", "dana"}) {
    const auto verdict = verdictOf(town, name);
    EXPECT_TRUE(verdict.isUndecidable()) << name;
    EXPECT_THAT(verdict.reason, HasSubstr("no route"));
  }
  EXPECT_EQ(verdictOf(town, "ann").rule, "administrator") << "who is on it";
}

TEST(Verdict, OfAnUnknownUserIDPointsToALoginNameThatLooksLikeIt) {
  const Town town;
  town.world().directory().node("local")->record("Users", "bob")->setValues("RecordName", {"777"});
  EXPECT_EQ(verdictOf(town, "777").reason,
            "no directory has user id 777; there is a login name 777: ask by user id 1001");
}

TEST(Verdict, IsUndecidableOfAUserWhereARuleCantBeRead) {
  const Town town(R"(, "faults": [ { "operation": "applicationBoolean", "raise": "platform" } ])");
  const auto verdict = verdictOf(town, "bob");
  EXPECT_TRUE(verdict.isUndecidable());
  EXPECT_TRUE(verdict.user);
  EXPECT_EQ(verdictOf(town, "ann").rule, "administrator") << "who needs no answer of it";
}

}  // namespace
}  // namespace gatehall
