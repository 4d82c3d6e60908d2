#include <algorithm>
#include <gtest/gtest.h>

#include "gatehall/access/NetworkStatus.h"
#include "tests/access/LoginWorld.h"

namespace gatehall {
namespace {

class LoginPermission : public LoginWorld {};

TEST_F(LoginPermission, IsGivenToEveryoneWithoutListsAndServiceAccessList) {
  for (const auto& guid : {kAnn, kBob, kDana, kErin}) EXPECT_TRUE(mayLogIn(guid)) << guid;
}

TEST_F(LoginPermission, AnAdministratorWithoutServiceAccessIsRefused) {
  setServiceAccess({.members = {kBob}});
  EXPECT_EQ(ruleFor(kAnn), LoginRule::NoServiceAccess);
  EXPECT_FALSE(mayLogIn(kAnn));
}

TEST_F(LoginPermission, AnAdministratorPassesTheSwitchAndBothLists) {
  set("LocalUserLoginEnabled", false);
  set("DenyList", Array{"*"});
  set("AllowList", Array{kDana});
  EXPECT_EQ(ruleFor(kAnn), LoginRule::Administrator);
  EXPECT_TRUE(mayLogIn(kAnn));
}

TEST_F(LoginPermission, ANetworkUserInTheLocalAdminGroupIsAnAdministrator) {
  local()->record(record::Groups, "admin")->setValues("GroupMembership", {"dana"});
  set("DenyList", Array{"*"});
  EXPECT_TRUE(mayLogIn(kDana));
}

TEST_F(LoginPermission, AnAdminGroupOfTheNetworkMakesNoAdministrators) {
  network()->addRecord(group("admin", kNobody, {"dana"}));
  set("DenyList", Array{kDana});
  EXPECT_EQ(ruleFor(kDana), LoginRule::DeniedByGUID);
}

TEST_F(LoginPermission, ALocalUserThatIsNotMobileIsCheckedAgainstTheSwitchAndNeverAgainstTheLists) {
  set("DenyList", Array{"*"});
  set("AllowList", Array{kDana});
  EXPECT_TRUE(mayLogIn(kBob));
  set("LocalUserLoginEnabled", false);
  unset("DenyList");
  set("AllowList", Array{"*"});
  EXPECT_EQ(ruleFor(kBob), LoginRule::LocalLoginDisabled);
}

TEST_F(LoginPermission, TheSwitchForLocalUsersDoesNotConcernMobileAndNetworkUsers) {
  set("LocalUserLoginEnabled", false);
  EXPECT_TRUE(mayLogIn(kErin));
  EXPECT_TRUE(mayLogIn(kDana));
}

TEST_F(LoginPermission, ADenyListOfOneGroupRefusesItsMembersAndAdmitsOthersWithoutAnAllowList) {
  set("DenyList", Array{kDay});
  EXPECT_EQ(ruleFor(kDana), LoginRule::DeniedByGUID);
  EXPECT_EQ(ruleFor(kFinn), LoginRule::DeniedByGUID) << "in a nested group";
  EXPECT_EQ(ruleFor(kHana), LoginRule::NoAllowList);
}

TEST_F(LoginPermission, AnAllowListOfOneGroupAdmitsItsMembersOnly) {
  set("AllowList", Array{kDay});
  EXPECT_EQ(ruleFor(kDana), LoginRule::AllowedByGUID);
  EXPECT_EQ(ruleFor(kFinn), LoginRule::AllowedByGUID) << "in a nested group";
  EXPECT_EQ(ruleFor(kHana), LoginRule::NotInAllowList);
}

TEST_F(LoginPermission, TheDenyListComesBeforeTheAllowList) {
  set("DenyList", Array{kDana});
  set("AllowList", Array{"*"});
  EXPECT_EQ(ruleFor(kDana), LoginRule::DeniedByGUID);
}

TEST_F(LoginPermission, AnAllowListThatNamesAnEmptyGroupAdmitsNobody) {
  set("AllowList", Array{kEmpty});
  EXPECT_EQ(ruleFor(kDana), LoginRule::NotInAllowList);
}

TEST_F(LoginPermission, AListThatNamesNobodyKnownIsNoList) {
  setNetworkReachable(false);
  set("DenyList", Array{kNobody});
  set("AllowList", Array{kNobody});
  EXPECT_EQ(ruleFor(kDana), LoginRule::NoAllowList);
}

TEST_F(LoginPermission, AUserWithoutAGUIDIsInNoList) {
  network()->addRecord(userWithoutGUID("ivo", "2012"));
  const auto ivo = cachedUserForUID(2012);
  set("DenyList", Array{kDana});
  set("AllowList", Array{kDana});
  const auto decision = UserAccess::sharedUserAccess()->decideLogin(*ivo);
  EXPECT_EQ(decision.rule, LoginRule::NotInAllowList);
}

class LoginPermissionWithoutNetwork : public LoginWorld {
 protected:
  LoginPermissionWithoutNetwork() { setNetworkReachable(false); }
};

TEST_F(LoginPermissionWithoutNetwork, ADenyListRefusesNetworkUsersEvenIfEveryoneIsAllowed) {
  set("DenyList", Array{kHana});
  set("AllowList", Array{"*"});
  EXPECT_EQ(ruleFor(kDana), LoginRule::NetworkAway);
}

TEST_F(LoginPermissionWithoutNetwork, NetworkUsersAreAdmittedWhenThereIsNoDenyList) {
  EXPECT_EQ(ruleFor(kDana), LoginRule::NoAllowList);
  set("AllowList", Array{kDana});
  EXPECT_EQ(ruleFor(kDana), LoginRule::AllowedByGUID);
}

TEST_F(LoginPermissionWithoutNetwork, AMobileUserIsHeldAgainstTheDenyListAllTheSame) {
  set("DenyList", Array{kDana});
  EXPECT_EQ(ruleFor(kErin), LoginRule::NoAllowList);
  set("DenyList", Array{kErin});
  install(mWorld);
  EXPECT_EQ(ruleFor(kErin), LoginRule::DeniedByGUID);
}

TEST_F(LoginPermissionWithoutNetwork, TheNetworkCountsAsItWasWhenItWasFirstMeasured) {
  set("DenyList", Array{kHana});
  EXPECT_EQ(ruleFor(kDana), LoginRule::NetworkAway);
  setNetworkReachable(true);
  EXPECT_EQ(ruleFor(kDana), LoginRule::NetworkAway);
  NetworkStatus::sharedNetworkStatus()->networkStatusUpdate();
  EXPECT_EQ(ruleFor(kDana), LoginRule::NoAllowList);
}

class ServiceAccess : public LoginWorld {
 protected:
  void failConversions(Strings operations) {
    std::vector<Fault> faults;
    for (auto& each : operations) faults.push_back({each, Fault::Kind::Absent, {}, {}});
    fail(std::move(faults));
  }
};

TEST_F(ServiceAccess, WithoutAnAccessListEveryUserPasses) {
  mWorld->membership().setAccessList("another", {.members = {}});
  EXPECT_TRUE(mayLogIn(kBob));
}

TEST_F(ServiceAccess, AnyStatusButThatOfAMissingListRefuses) {
  for (const int status : {1, 3, -1, 22}) {
    setServiceAccess({.members = {kBob}, .status = status});
    EXPECT_EQ(ruleFor(kBob), LoginRule::NoServiceAccess) << status;
  }
  setServiceAccess({.members = {}, .status = 2});
  EXPECT_TRUE(mayLogIn(kBob));
}

TEST_F(ServiceAccess, AUserWhoseGUIDFailsToConvertIsCheckedByTheUserID) {
  local()->addRecord(user("jo", "1020", "no GUID at all"));
  setServiceAccess({.members = {std::uint32_t{1020}}});
  EXPECT_TRUE(mayLogIn("no GUID at all"));
  setServiceAccess({.members = {std::uint32_t{1001}}});
  EXPECT_EQ(ruleFor("no GUID at all"), LoginRule::NoServiceAccess);
}

TEST_F(ServiceAccess, AUserWhoseGUIDConvertsIsNotCheckedByTheUserID) {
  setServiceAccess({.members = {kBob}});
  failConversions({"userIDToIdentifier"});
  EXPECT_TRUE(mayLogIn(kBob));
}

TEST_F(ServiceAccess, AUserOfWhomNothingConvertsIsRefused) {
  failConversions({"guidToIdentifier", "userIDToIdentifier"});
  EXPECT_EQ(ruleFor(kBob), LoginRule::NoServiceAccess) << "although there is no access list";
}

TEST_F(ServiceAccess, AUserWhoConvertsToNoIdentifierAtAllPasses) {
  constexpr auto zeros = "00000000-0000-0000-0000-000000000000";
  local()->addRecord(user("kim", "1021", zeros));
  setServiceAccess({.members = {kBob}});
  EXPECT_EQ(ruleFor(zeros), LoginRule::LocalLoginEnabled);
}

class StrictAllowList : public LoginWorld {
 protected:
  StrictAllowList() { set("StrictAllowList", true); }
};

TEST_F(StrictAllowList, AnAllowListThatNamesNobodyKnownAdmitsNobody) {
  set("AllowList", Array{kNobody});
  const auto decision = UserAccess::sharedUserAccess()->decideLogin(*found(kDana));
  EXPECT_EQ(decision.rule, LoginRule::NotInAllowList);
  EXPECT_EQ(decision.source, PreferenceSource::Preferences);
}

TEST_F(StrictAllowList, AnEmptyAllowListAdmitsNobody) {
  set("AllowList", Array{});
  EXPECT_EQ(ruleFor(kDana), LoginRule::NotInAllowList);
}

TEST_F(StrictAllowList, NoAllowListIsStillNone) {
  EXPECT_EQ(ruleFor(kDana), LoginRule::NoAllowList);
}

TEST_F(StrictAllowList, ADenyListThatNamesNobodyIsStillNone) {
  set("DenyList", Array{kNobody});
  EXPECT_EQ(ruleFor(kDana), LoginRule::NoAllowList);
}

TEST_F(StrictAllowList, AnAllowListAdmitsWhomItNames) {
  set("AllowList", Array{kDay});
  EXPECT_EQ(ruleFor(kDana), LoginRule::AllowedByGUID);
}

TEST_F(StrictAllowList, AdministratorsAndLocalUsersAreAdmittedWithoutTheList) {
  set("AllowList", Array{kNobody});
  EXPECT_TRUE(mayLogIn(kAnn));
  EXPECT_TRUE(mayLogIn(kBob));
}

TEST_F(StrictAllowList, IsAskedForOnlyWhenTheListComesOutAsNobody) {
  set("AllowList", Array{kDana});
  mayLogIn(kDana);
  const auto asked = calls("applicationBoolean");
  EXPECT_TRUE(std::none_of(asked.begin(), asked.end(), [](const Call& call) {
    return call.arguments.at("key") == Value("StrictAllowList");
  }));
}

class LoginDecisionSource : public LoginWorld {
 protected:
  static std::optional<PreferenceSource> sourceFor(const std::string& guid) {
    return UserAccess::sharedUserAccess()->decideLogin(*found(guid)).source;
  }
  void setManaged(Dictionary values) {
    mWorld->propertyLists().setFile(WorldPropertyLists::managedPath("com.orvane.gatehall"),
                                    std::move(values));
  }
};

TEST_F(LoginDecisionSource, IsNoneForRulesWithoutASetting) {
  EXPECT_EQ(sourceFor(kAnn), std::nullopt);
  setServiceAccess({.members = {kAnn}});
  EXPECT_EQ(sourceFor(kBob), std::nullopt);
}

TEST_F(LoginDecisionSource, IsTheDefaultWithoutASetting) {
  EXPECT_EQ(sourceFor(kBob), PreferenceSource::Default);
  EXPECT_EQ(sourceFor(kDana), PreferenceSource::Default);
}

TEST_F(LoginDecisionSource, IsWhereTheDecidingSettingIsFrom) {
  setManaged({{"DenyList", Array{kDana}}});
  set("LocalUserLoginEnabled", false);
  set("AllowList", Array{kFinn});
  EXPECT_EQ(sourceFor(kDana), PreferenceSource::Managed);
  EXPECT_EQ(sourceFor(kBob), PreferenceSource::Preferences);
  EXPECT_EQ(sourceFor(kFinn), PreferenceSource::Preferences);
}

}  // namespace
}  // namespace gatehall
