#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

const Dictionary kOnTheNetwork = {{"maxFailedLoginAttempts", 5}};

class PasswordPolicy : public Machine {
 protected:
  PasswordPolicy() { install(cast::machineOfAll()); }

  std::shared_ptr<WorldRecord> local(std::string_view name) {
    return mWorld->directory().node(cast::kLocalNode)->record("Users", name);
  }

  bool isInUse(Dictionary policy) {
    local("carol")->setPolicy(std::move(policy));
    return userNamed("carol")->passwordPolicyInUse();
  }
};

TEST_F(PasswordPolicy, IsTheRecords) {
  local("carol")->setPolicy(Dictionary{{"maxMinutesOfNonUse", 9}});
  EXPECT_EQ(userNamed("carol")->passwordPolicy(), (Dictionary{{"maxMinutesOfNonUse", 9}}));
  local("carol")->setPolicy(Dictionary{});
  EXPECT_EQ(userNamed("carol")->passwordPolicy(), Dictionary{});
}

TEST_F(PasswordPolicy, IsAbsentForAnAccountWithoutOneThatIsNotMobile) {
  EXPECT_EQ(userNamed("carol")->passwordPolicy(), std::nullopt);
  EXPECT_THAT(calls("query"), IsEmpty());
  EXPECT_EQ(CachedUser::cachedOtherUser("Jane")->passwordPolicy(), std::nullopt);
}

TEST_F(PasswordPolicy, OfAMobileAccountWithoutOneIsThatOfItsNameOnTheNodeItWasCopiedFrom) {
  const auto erin = userNamed("erin");
  forgetCalls();
  EXPECT_EQ(erin->passwordPolicy(), kOnTheNetwork);
  EXPECT_THAT(calls("query"),
              ElementsAre(queryCall(cast::kNetworkNode, {"Users"}, "RecordName", {"erin"}, {})));
}

TEST_F(PasswordPolicy, OfAMobileAccountIsItsOwnWhenItHasOne) {
  local("erin")->setPolicy(Dictionary{{"maxMinutesOfNonUse", 1}});
  EXPECT_EQ(userNamed("erin")->passwordPolicy(), (Dictionary{{"maxMinutesOfNonUse", 1}}));
  EXPECT_THAT(calls("query"), IsEmpty());
}

TEST_F(PasswordPolicy, OfAMobileAccountIsAbsentWhenItsNodeCannotBeOpened) {
  mWorld->directory().setReachable(cast::kNetworkNode, false);
  EXPECT_EQ(userNamed("erin")->passwordPolicy(), std::nullopt);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(PasswordPolicy, OfAMobileAccountIsAbsentWithoutTheNameOfItsNode) {
  local("erin")->removeAttribute("OriginalNodeName");
  EXPECT_EQ(userNamed("erin")->passwordPolicy(), std::nullopt);
}

TEST_F(PasswordPolicy, IsNotFetchedForAnAccountThatNamesANodeButIsNotMobile) {
  local("erin")->removeAttribute("CopyTimestamp");
  EXPECT_EQ(userNamed("erin")->passwordPolicy(), std::nullopt);
  EXPECT_THAT(calls("query"), IsEmpty());
}

TEST_F(PasswordPolicy, OfAMobileAccountIsAbsentWithoutAQueryOrResultsOrItsName) {
  for (const auto* operation : {"query", "queryResults"}) {
    fail({{operation, Fault::Kind::Absent}});
    EXPECT_EQ(userNamed("erin")->passwordPolicy(), std::nullopt) << operation;
  }
  fail({});
  mWorld->directory().node(cast::kNetworkNode)->record("Users", "erin")->remove();
  EXPECT_EQ(userNamed("erin")->passwordPolicy(), std::nullopt);
}

TEST_F(PasswordPolicy, LeavesFailuresToItsCallers) {
  fail({{"passwordPolicy"}});
  EXPECT_THROW(static_cast<void>(userNamed("carol")->passwordPolicy()), PlatformException);
}

TEST_F(PasswordPolicy, IsInUseByEachOfItsRulesAlone) {
  for (const auto* flag :
       {"newPasswordRequired", "usingExpirationDate", "usingHardExpirationDate"}) {
    EXPECT_TRUE(isInUse({{flag, true}})) << flag;
    EXPECT_TRUE(isInUse({{flag, 1}})) << flag;
    EXPECT_TRUE(isInUse({{flag, "1"}})) << flag;
    EXPECT_FALSE(isInUse({{flag, false}})) << flag;
    EXPECT_FALSE(isInUse({{flag, 0}})) << flag;
  }
  for (const auto* number : {"maxMinutesUntilChangePassword", "maxMinutesUntilDisabled",
                             "maxMinutesOfNonUse", "maxFailedLoginAttempts"}) {
    EXPECT_TRUE(isInUse({{number, 3}})) << number;
    EXPECT_TRUE(isInUse({{number, "18446744073709551615"}})) << number;
    EXPECT_FALSE(isInUse({{number, 0}})) << number;
    EXPECT_FALSE(isInUse({{number, "0"}})) << number;
  }
}

TEST_F(PasswordPolicy, IsNotInUseByRulesThatDoNotApply) {
  EXPECT_FALSE(isInUse({{"newPasswordRequired", false}, {"maxMinutesOfNonUse", 0}}));
  EXPECT_FALSE(isInUse({}));
  EXPECT_FALSE(isInUse({{"passwordLastSetTime", 1}, {"canModifyPasswordforSelf", true}}));
}

TEST_F(PasswordPolicy, IsInUseByALaterRuleAfterOnesThatDoNotApply) {
  EXPECT_TRUE(isInUse({{"newPasswordRequired", false},
                       {"usingExpirationDate", false},
                       {"maxMinutesUntilDisabled", 0},
                       {"maxFailedLoginAttempts", 3}}));
}

TEST_F(PasswordPolicy, IsNotInUseWhenThereIsNone) {
  EXPECT_FALSE(userNamed("carol")->passwordPolicyInUse());
  EXPECT_TRUE(userNamed("erin")->passwordPolicyInUse());
}

/// It is 1,800,000,000 seconds after 1970.
class PasswordExpiry : public PasswordPolicy {
 protected:
  static constexpr std::int64_t kNow = 1'800'000'000;

  PasswordExpiry() { setNow(0); }

  void setNow(double secondsLater) {
    mWorld->clock().set(Date(std::chrono::duration<double>(kNow + secondsLater)));
  }

  std::uint64_t minutesOf(Value lifetimeMinutes, Value lastSet) {
    local("carol")->setPolicy(Dictionary{{"maxMinutesUntilChangePassword", lifetimeMinutes},
                                         {"passwordLastSetTime", lastSet}});
    return userNamed("carol")->minutesUntilPasswordExpires();
  }
};

TEST_F(PasswordExpiry, IsInAsManyMinutesAsAreLeftTruncated) {
  EXPECT_EQ(minutesOf(1440, kNow - 59'970), 440U) << "1440 minutes, set 999.5 minutes ago";
  EXPECT_EQ(minutesOf(1440, kNow), 1440U);
  EXPECT_EQ(minutesOf(1, kNow - 1), 0U);
  setNow(0.25);
  EXPECT_EQ(minutesOf(2, kNow - 60), 0U);
}

TEST_F(PasswordExpiry, InThePastCountsBackFrom2To64) {
  EXPECT_EQ(minutesOf(10, kNow - 942), 18446744073709551611U) << "10 minutes, set 15.7 minutes ago";
  EXPECT_EQ(minutesOf(10, kNow - 660), 18446744073709551615U);
}

TEST_F(PasswordExpiry, LessThanAMinuteAgoIsZero) {
  EXPECT_EQ(minutesOf(10, kNow - 659), 0U);
  EXPECT_EQ(minutesOf(10, kNow - 600), 0U);
}

TEST_F(PasswordExpiry, OfALifetimeOfZeroIsTheTimeSinceThePasswordWasSet) {
  EXPECT_EQ(minutesOf(0, kNow - 120), 18446744073709551614U);
  EXPECT_EQ(minutesOf(0, kNow + 120), 2U);
}

TEST_F(PasswordExpiry, IsZeroWithoutAPolicyOrEitherOfItsKeys) {
  EXPECT_EQ(userNamed("carol")->minutesUntilPasswordExpires(), 0U);
  local("carol")->setPolicy(Dictionary{{"maxMinutesUntilChangePassword", 1440}});
  EXPECT_EQ(userNamed("carol")->minutesUntilPasswordExpires(), 0U);
  local("carol")->setPolicy(Dictionary{{"passwordLastSetTime", kNow}});
  EXPECT_EQ(userNamed("carol")->minutesUntilPasswordExpires(), 0U);
}

TEST_F(PasswordExpiry, TakesTheLifetimeInSecondsModulo2To64) {
  // 2^64 / 60 is 307445734561825860.27: one minute more than its whole part is 44 seconds past
  // 2^64.
  setNow(-kNow);
  EXPECT_EQ(minutesOf("307445734561825861", 60), 1U);
  // 2^62 minutes are 60 * 2^62 = 15 * 2^64 seconds.
  EXPECT_EQ(minutesOf(std::int64_t{1} << 62, 120), 2U);
}

TEST_F(PasswordExpiry, ReadsUnsigned64BitNumbersWhole) {
  setNow(-kNow);
  // 2^64-1 minutes are 2^64-60 seconds, which is 2^64 as a double.
  EXPECT_EQ(minutesOf("18446744073709551615", 0), 307445734561825856U);
  EXPECT_EQ(minutesOf(-1, 0), 307445734561825856U) << "the same number, reinterpreted";
  EXPECT_EQ(minutesOf(0, "18446744073709551615"), 307445734561825856U);
}

TEST_F(PasswordExpiry, ReadsDecimalTextAsNumbers) {
  EXPECT_EQ(minutesOf("1440", std::to_string(kNow - 60)), 1439U);
}

TEST_F(PasswordExpiry, OfAMobileAccountGoesByThePolicyOfTheNodeItWasCopiedFrom) {
  mWorld->directory()
      .node(cast::kNetworkNode)
      ->record("Users", "erin")
      ->setPolicy(Dictionary{{"maxMinutesUntilChangePassword", 30}, {"passwordLastSetTime", kNow}});
  EXPECT_EQ(userNamed("erin")->minutesUntilPasswordExpires(), 30U);
}

}  // namespace
}  // namespace gatehall
