#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <utility>

#include "gatehall/platform/LoginService.h"
#include "tests/switcher/SwitchWorld.h"

namespace gatehall {
namespace {

class SwitchUser : public SwitchWorld {
 protected:
  Dictionary handedOver(std::string_view userID) {
    returnConsole();
    run({"-switchToUserID", userID});
    const auto requests = mWorld->loginService().requests();
    return requests.empty() ? Dictionary() : requests.back().attributes;
  }

  Dictionary detailsOf(std::string_view name, std::string_view node = cast::kLocalNode) {
    return *record(name, node)->recordDetails({});
  }

  void setStored(std::string_view key, Value value) {
    mWorld->preferences().setValue(WorldPreferences::Scope::System, "com.orvane.gatehall", key,
                                   std::move(value));
  }

  void setServiceAccess(std::initializer_list<std::string_view> guids) {
    AccessList list;
    for (const auto guid : guids) list.members.emplace_back(std::in_place_type<std::string>, guid);
    mWorld->membership().setAccessList("gatehall", std::move(list));
  }
};

TEST_F(SwitchUser, WithAnEmptyPasswordIsHandedOverWithIt) {
  auto expected = detailsOf("bob");
  expected.emplace(kUserPasswordKey, "");
  EXPECT_EQ(handedOver("1001"), expected);
}

TEST_F(SwitchUser, WithAPasswordIsHandedOverWithTheAttributesAsTheyAre) {
  EXPECT_EQ(handedOver("1002"), detailsOf("carol"));
}

TEST_F(SwitchUser, OnTheNetworkIsHandedOverAlike) {
  EXPECT_EQ(handedOver("2001"), detailsOf("dana", cast::kNetworkNode));
}

TEST_F(SwitchUser, OnTheNetworkWithAnEmptyPasswordIsHandedOverWithIt) {
  record("dana", cast::kNetworkNode)->setPassword("");
  auto expected = detailsOf("dana", cast::kNetworkNode);
  expected.emplace(kUserPasswordKey, "");
  EXPECT_EQ(handedOver("2001"), expected);
}

TEST_F(SwitchUser, WhoIsAGuestIsHandedOverWithTheAttributesAsTheyAreAndNotAskedForAPassword) {
  EXPECT_EQ(handedOver("1004"), detailsOf("gus"));
  EXPECT_TRUE(calls("verifyPassword").empty());
}

TEST_F(SwitchUser, IsAskedForTheEmptyPasswordOnceBeforeTheHandOver) {
  run({"-switchToUserID", "1002"});
  EXPECT_EQ(calls("verifyPassword").size(), 1U);
}

TEST_F(SwitchUser, WhoseOwnAttributesHoldAPasswordEntryKeepsItUnlessThePasswordIsEmpty) {
  record("carol")->setValues(kUserPasswordKey, {"from the directory"});
  EXPECT_TRUE(handedOver("1002").contains(kUserPasswordKey));
  record("bob")->setValues(kUserPasswordKey, {"from the directory"});
  EXPECT_EQ(handedOver("1001").at(std::string(kUserPasswordKey)), Value(""));
}

TEST_F(SwitchUser, WhomNobodyKnowsIsNotSwitchedToAndNothingIsLogged) {
  run({"-switchToUserID", "7777"});
  EXPECT_TRUE(switches().empty());
  EXPECT_TRUE(errors().empty());
}

TEST_F(SwitchUser, WhoMayNotLogInIsNotSwitchedToAndNothingIsLogged) {
  setStored("LocalUserLoginEnabled", false);
  run({"-switchToUserID", "1001", "-switchToUserID", "1000"});
  EXPECT_EQ(switches(), Strings{"ann"}) << "ann is an administrator";
  EXPECT_TRUE(errors().empty());
}

TEST_F(SwitchUser, WhoMayNotLogInIsNotAskedForAPassword) {
  setStored("LocalUserLoginEnabled", false);
  run({"-switchToUserID", "1001"});
  EXPECT_TRUE(calls("verifyPassword").empty());
}

TEST_F(SwitchUser, OnTheNetworkWithoutServiceAccessIsNotSwitchedTo) {
  setServiceAccess({cast::kBobGUID});
  run({"-switchToUserID", "2001", "-switchToUserID", "1002", "-switchToUserID", "1001"});
  EXPECT_EQ(switches(), Strings{"bob without a password"});
}

TEST_F(SwitchUser, WhoIsAGuestNeedsPermissionLikeAnybody) {
  setStored("LocalUserLoginEnabled", false);
  run({"-switchToUserID", "1004"});
  EXPECT_TRUE(switches().empty());
}

TEST_F(SwitchUser, WhoIsDisabledIsNotFound) {
  record("bob")->setValues("UserShell", {"/usr/bin/false"});
  record("carol")->setValues("AuthenticationAuthority", {";DisabledUser;;ShadowHash;"});
  run({"-switchToUserID", "1001", "-switchToUserID", "1002"});
  EXPECT_TRUE(switches().empty());
  EXPECT_TRUE(errors().empty());
}

TEST_F(SwitchUser, OfTwoWithTheIDIsTheLocalOneThoughTheOtherSortsFirst) {
  mWorld->directory()
      .node(cast::kNetworkNode)
      ->addRecord({"Users",
                   {{"RecordName", {"adam"}},
                    {"UniqueID", {"1002"}},
                    {"FullName", {"Adam Ash"}},
                    {"GUID", {"6C6B2F1E-0000-4000-8000-000000002099"}}},
                   "a secret",
                   {}});
  // The list keeps only the local one of two users who share an id.
  run({"-switchToUserID", "1002"});
  EXPECT_EQ(switches(), Strings{"carol"});
}

TEST_F(SwitchUser, WhoIsManagedAndRefusedByParentalControlsIsSwitchedToAllTheSame) {
  record("carol")->setValues("TavloSettings", {"limits"});
  mWorld->parentalControls().setLimit(1002, {.allowed = false, .result = 3, .nextCurfew = {}});
  run({"-switchToUserID", "1002"});
  EXPECT_EQ(switches(), Strings{"carol"});
}

TEST_F(SwitchUser, WhomTheLoginServiceRefusesIsNotReported) {
  fail({{"switchToUser", Fault::Kind::Absent, 1, {}}});
  run({"-switchToUserID", "1002", "-switchToUserID", "1001"});
  EXPECT_EQ(switches(), Strings{"bob without a password"});
  EXPECT_TRUE(errors().empty());
}

}  // namespace
}  // namespace gatehall
