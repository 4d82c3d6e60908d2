#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pam/DoorDecision.h"
#include "tests/access/LoginWorld.h"

namespace gatehall::pam {
namespace {

using testing::HasSubstr;
using Answer = DecisionRecord::Answer;

const Door kTerminal{"login", true, false};
const Door kSsh{"sshd", false, false};

const Visitor kAnnAtDoor{"ann", 1000, true};
const Visitor kBobAtDoor{"bob", 1001, false};
const Visitor kDanaAtDoor{"dana", 2001, false};
const Visitor kRootAtDoor{"root", 0, true};
const Visitor kStrangerAtDoor{"stranger", 7000, false};

class DoorDecisionTest : public LoginWorld {
 protected:
  static std::string rule(const Door& door, const Visitor& visitor) {
    return recordOf(door, visitor, decideAtDoor(door, visitor)).rule;
  }
};

TEST_F(DoorDecisionTest, IsThatOfTheLoginRules) {
  set("DenyList", Array{kDana});
  const auto dana = decideAtDoor(kSsh, kDanaAtDoor);
  EXPECT_EQ(dana.answer, Answer::Refused);
  EXPECT_EQ(dana.rule, LoginRule::DeniedByGUID);
  EXPECT_EQ(dana.source, PreferenceSource::Preferences);
  EXPECT_EQ(dana.userID, 2001U);
  const auto bob = decideAtDoor(kSsh, kBobAtDoor);
  EXPECT_TRUE(bob.isAdmitted());
  EXPECT_EQ(bob.rule, LoginRule::LocalLoginEnabled);
}

TEST_F(DoorDecisionTest, TellsALocalAccountWithoutServiceAccessSo) {
  setServiceAccess({.members = {kAnn}});
  EXPECT_EQ(decideAtDoor(kSsh, kBobAtDoor).rule, LoginRule::NoServiceAccess);
}

TEST_F(DoorDecisionTest, AdmitsRootAndLocalAdministratorsAtALocalDoorWhateverTheRulesSay) {
  setServiceAccess({.members = {kBob}});
  EXPECT_TRUE(decideAtDoor(kTerminal, kAnnAtDoor).isNeverShut);
  EXPECT_TRUE(decideAtDoor(kTerminal, kAnnAtDoor).isAdmitted());
  EXPECT_TRUE(decideAtDoor(kTerminal, kRootAtDoor).isAdmitted());
  EXPECT_EQ(decideAtDoor(kSsh, kAnnAtDoor).rule, LoginRule::NoServiceAccess);
  EXPECT_FALSE(decideAtDoor(kSsh, kRootAtDoor).isAdmitted());
  EXPECT_EQ(rule(kTerminal, kAnnAtDoor), "never shut out");
}

TEST_F(DoorDecisionTest, LeavesThePasswordAndTheShellToTheDoor) {
  auto locked = user("locked", "1010", "6C6B2F1E-0000-4000-8000-000000001010");
  locked.attributes.push_back({"AuthenticationAuthority", {";DisabledUser;"}});
  locked.attributes.push_back({"UserShell", {"/usr/bin/false"}});
  local()->addRecord(locked);
  const Visitor visitor{"locked", 1010, false};
  EXPECT_EQ(decideAtDoor(kSsh, visitor).rule, LoginRule::LocalLoginEnabled);
  set("LocalUserLoginEnabled", false);
  EXPECT_EQ(decideAtDoor(kSsh, visitor).rule, LoginRule::LocalLoginDisabled);
}

TEST_F(DoorDecisionTest, LeavesAPasswordThatFitsNothingToTheDoor) {
  auto unset = user("unset", "1011", "6C6B2F1E-0000-4000-8000-000000001011");
  unset.attributes.push_back({"Password", {"*"}});
  local()->addRecord(unset);
  EXPECT_EQ(decideAtDoor(kSsh, {"unset", 1011, false}).rule, LoginRule::LocalLoginEnabled);
}

TEST_F(DoorDecisionTest, IsUndecidableWithTheReasonWhereTheDirectoryDoesNotAnswer) {
  set("DenyList", Array{kDana});
  fail({{.operation = "isMember"}});
  const auto dana = decideAtDoor(kSsh, kDanaAtDoor);
  EXPECT_EQ(dana.answer, Answer::Undecidable);
  EXPECT_FALSE(dana.reason.empty());
  EXPECT_EQ(dana.userID, 2001U);
  EXPECT_TRUE(decideAtDoor(kTerminal, kAnnAtDoor).isAdmitted());
}

TEST_F(DoorDecisionTest, IsUndecidableWhereTheNameServiceMeansAnotherAccount) {
  const auto decision = decideAtDoor(kSsh, {"dana", 4711, false});
  EXPECT_EQ(decision.answer, Answer::Undecidable);
  EXPECT_THAT(decision.reason, HasSubstr("different user ids"));
}

TEST_F(DoorDecisionTest, TakesOfTwoAccountsOfANameTheOneThatTheNameServiceMeans) {
  network()->addRecord(user("dana", "2099", "6C6B2F1E-0000-4000-8000-000000002099"));
  set("DenyList", Array{"6C6B2F1E-0000-4000-8000-000000002099"});
  EXPECT_EQ(decideAtDoor(kSsh, kDanaAtDoor).rule, LoginRule::NoAllowList);
  EXPECT_EQ(decideAtDoor(kSsh, {"dana", 2099, false}).rule, LoginRule::DeniedByGUID);
  EXPECT_EQ(decideAtDoor(kSsh, {"dana", {}, false}).answer, Answer::Undecidable);
}

TEST_F(DoorDecisionTest, DoesNotFindWhomNobodyKnows) {
  const auto decision = decideAtDoor(kSsh, {"nobody", {}, false});
  EXPECT_EQ(decision.answer, Answer::NotFound);
  EXPECT_EQ(decision.userID, DecisionRecord::kUnknown);
}

TEST_F(DoorDecisionTest, AdmitsWhomOnlyTheNameServiceKnowsAsLongAsThereIsNoList) {
  const auto decision = decideAtDoor(kSsh, kStrangerAtDoor);
  EXPECT_TRUE(decision.isAdmitted());
  EXPECT_TRUE(decision.isUnlisted);
  EXPECT_EQ(rule(kSsh, kStrangerAtDoor), "in no directory of the policy");
}

TEST_F(DoorDecisionTest, RefusesWhomOnlyTheNameServiceKnowsUnderADenyList) {
  set("DenyList", Array{kDana});
  EXPECT_EQ(decideAtDoor(kSsh, kStrangerAtDoor).answer, Answer::Refused);
}

TEST_F(DoorDecisionTest, RefusesWhomOnlyTheNameServiceKnowsUnderAnAllowList) {
  set("AllowList", Array{kDana});
  EXPECT_EQ(decideAtDoor(kSsh, kStrangerAtDoor).answer, Answer::Refused);
}

TEST_F(DoorDecisionTest, RefusesWhomOnlyTheNameServiceKnowsUnderAListThatNamesNobodyElse) {
  set("DenyList", Array{kNobody});
  EXPECT_EQ(decideAtDoor(kSsh, kStrangerAtDoor).answer, Answer::Refused);
  unset("DenyList");
  set("AllowList", Array{kNobody});
  EXPECT_EQ(decideAtDoor(kSsh, kStrangerAtDoor).answer, Answer::Refused);
  set("AllowList", Array{"*"});
  EXPECT_EQ(decideAtDoor(kSsh, kStrangerAtDoor).answer, Answer::Admitted);
  set("AllowList", Array{});
  EXPECT_EQ(decideAtDoor(kSsh, kStrangerAtDoor).answer, Answer::Admitted);
}

TEST_F(DoorDecisionTest, RefusesWhomOnlyTheNameServiceKnowsUnderAServiceAccessList) {
  setServiceAccess({.members = {kDana}});
  EXPECT_EQ(decideAtDoor(kSsh, kStrangerAtDoor).answer, Answer::Refused);
}

TEST_F(DoorDecisionTest, IsUndecidableForAnAccountOfTheNameServiceThatWouldBeAnother) {
  for (const std::uint32_t another : {0U, 1001U, 2001U}) {
    const auto decision = decideAtDoor(kTerminal, {"twin", another, false});
    EXPECT_EQ(decision.answer, Answer::Undecidable) << another;
    EXPECT_THAT(decision.reason, HasSubstr("another account's"));
  }
}

TEST_F(DoorDecisionTest, IsUndecidableAtADoorWithAFaultForAllButThoseWhoAreNeverShutOut) {
  const Door faulty{"login", true, false, "a fault"};
  EXPECT_EQ(decideAtDoor(faulty, kBobAtDoor).answer, Answer::Undecidable);
  EXPECT_EQ(recordOf(faulty, kBobAtDoor, decideAtDoor(faulty, kBobAtDoor)).reason, "a fault");
  EXPECT_TRUE(decideAtDoor(faulty, kAnnAtDoor).isAdmitted());
  EXPECT_FALSE(decideAtDoor({"sshd", false, false, "a fault"}, kAnnAtDoor).isAdmitted());
}

TEST_F(DoorDecisionTest, LooksAtLoginHoursOnlyWhereTheyCount) {
  const auto begin = platform().clock().now() + std::chrono::hours(3);
  mWorld->parentalControls().setLimit(1001, {.allowed = false, .nextCurfew = begin});
  EXPECT_TRUE(decideAtDoor({"login", true, false}, kBobAtDoor).isAdmitted());
  const Door withHours{"login", true, true};
  const auto decision = decideAtDoor(withHours, kBobAtDoor);
  EXPECT_EQ(decision.answer, Answer::Refused);
  EXPECT_TRUE(decision.isOutsideHours);
  EXPECT_EQ(decision.hoursBegin, begin);
  EXPECT_EQ(rule(withHours, kBobAtDoor), "outside of login hours");
}

TEST_F(DoorDecisionTest, DoesNotTellWhomTheRulesRefuseOfLoginHours) {
  mWorld->parentalControls().setLimit(1001, {.allowed = false, .nextCurfew = {}});
  set("LocalUserLoginEnabled", false);
  const auto decision = decideAtDoor({"login", true, true}, kBobAtDoor);
  EXPECT_FALSE(decision.isOutsideHours);
  EXPECT_EQ(decision.rule, LoginRule::LocalLoginDisabled);
}

TEST_F(DoorDecisionTest, IsKeptWithTheDoorTheRuleAndItsSource) {
  set("DenyList", Array{kDana});
  const auto record = recordOf(kSsh, kDanaAtDoor, decideAtDoor(kSsh, kDanaAtDoor));
  EXPECT_EQ(record.caller, platform().process().effectiveUserID());
  EXPECT_EQ(record.service, "sshd");
  EXPECT_EQ(record.userName, "dana");
  EXPECT_EQ(record.userID, 2001U);
  EXPECT_EQ(record.rule, "denied by GUID");
  EXPECT_EQ(record.source, "preferences");
  EXPECT_EQ(record.answer, Answer::Refused);
}

}  // namespace
}  // namespace gatehall::pam
