#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kDirectoryDomain(kDirectoryErrorDomain);
constexpr std::int64_t kLargeCode = -(std::int64_t{1} << 40);

class Authentication : public Machine {
 protected:
  Authentication() { install(cast::machineOfAll()); }

  /// From now on, what carol's record says when it refuses a password.
  void refuse(DirectoryError error) {
    mWorld->directory().node("local")->record("Users", "carol")->setRefusal(std::move(error));
  }

  /// A machine with the one user kim, local unless said otherwise.
  std::shared_ptr<CachedUser> kimWith(Attributes attributes,
                                      std::string_view node = cast::kLocalNode) {
    install(cast::machine({}));
    attributes.push_back({"RecordName", {"kim"}});
    attributes.push_back({"UniqueID", {"7"}});
    addUser(std::move(attributes), node);
    return userNamed("kim", node);
  }
};

using PasswordChange = Authentication;
using PasswordHint = Authentication;
using AuthenticationKind = Authentication;
using HandedOverPassword = Authentication;

TEST_F(Authentication, AcceptsTheAccountsPassword) {
  EXPECT_EQ(userNamed("carol")->authenticate(cast::kCarolPassword), 0);
  EXPECT_EQ(userNamed("bob")->authenticate(""), 0);
}

TEST_F(Authentication, AnswersTheDirectorysOwnCodeOfARefusal) {
  for (const std::int64_t code : {std::int64_t{-14090}, std::int64_t{0}, kLargeCode}) {
    refuse({kDirectoryDomain, code});
    EXPECT_EQ(userNamed("carol")->authenticate(""), code);
  }
}

TEST_F(Authentication, Answers5000ForARefusalWithoutADomainOrOfAnother) {
  refuse({std::nullopt, 42});
  EXPECT_EQ(userNamed("carol")->authenticate("wrong"), 5000);
  refuse({"com.example.other", 42});
  EXPECT_EQ(userNamed("carol")->authenticate("wrong"), 5000);
  refuse({"COM.ORVANE.LEXIDIR", 42});
  EXPECT_EQ(userNamed("carol")->authenticate("wrong"), 5000);
}

TEST_F(Authentication, Answers5000WhenTheDirectoryFailsAndLogsNothing) {
  fail({{"verifyPassword"}});
  EXPECT_EQ(userNamed("carol")->authenticate(cast::kCarolPassword), 5000);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(Authentication, LetsOtherExceptionsPass) {
  fail({{"verifyPassword", Fault::Kind::OtherException}});
  EXPECT_THROW(userNamed("carol")->authenticate("x"), InjectedFailure);
}

TEST_F(Authentication, Answers5501ForANetworkAccountWithoutServiceAccessEvenForTheRightPassword) {
  mWorld->membership().setAccessList("gatehall", {});
  const auto dana = userNamed("dana", cast::kNetworkNode);
  EXPECT_EQ(dana->authenticate(cast::kDanaPassword), 5501);
  EXPECT_THAT(calls("verifyPassword"), IsEmpty());
}

TEST_F(Authentication, TriesANetworkAccountWithServiceAccess) {
  EXPECT_EQ(userNamed("dana", cast::kNetworkNode)->authenticate(cast::kDanaPassword), 0);
}

TEST_F(Authentication, TriesALocalAccountWithoutServiceAccess) {
  mWorld->membership().setAccessList("gatehall", {});
  const auto carol = userNamed("carol");
  EXPECT_EQ(carol->authenticate(cast::kCarolPassword), 0);
  EXPECT_THAT(calls("checkServiceMembership"), IsEmpty());
}

TEST_F(Authentication, Answers5000ForAnOtherUser) {
  EXPECT_EQ(CachedUser::cachedOtherUser("Jane")->authenticate(""), 5000);
}

TEST_F(Authentication, IsNotNeededByASmartCardUserOrAGuest) {
  const auto dana = userNamed("dana", cast::kNetworkNode);
  EXPECT_TRUE(dana->shouldAuthenticate());
  dana->setSmartCardUser(1);
  EXPECT_FALSE(dana->shouldAuthenticate());
  EXPECT_FALSE(
      kimWith({{"lxAttrTypeNative:_guest", {"1"}}, {"AuthenticationAuthority", {";Kerberosv5;"}}},
              cast::kNetworkNode)
          ->shouldAuthenticate());
}

TEST_F(Authentication, IsNeededByALocalAccountExactlyWhenItsPolicyIsInUse) {
  const auto record = mWorld->directory().node("local")->record("Users", "carol");
  EXPECT_FALSE(userNamed("carol")->shouldAuthenticate());
  record->setPolicy(Dictionary{{"maxFailedLoginAttempts", 3}});
  EXPECT_TRUE(userNamed("carol")->shouldAuthenticate());
  record->setPolicy(Dictionary{{"maxFailedLoginAttempts", 0}});
  EXPECT_FALSE(userNamed("carol")->shouldAuthenticate());
}

TEST_F(Authentication, IsNeededWhateverTheEmptyPasswordAnswersOfALocalAccount) {
  mWorld->directory()
      .node("local")
      ->record("Users", "bob")
      ->setPolicy(Dictionary{{"maxFailedLoginAttempts", 3}});
  EXPECT_TRUE(userNamed("bob")->shouldAuthenticate());
  EXPECT_EQ(userNamed("bob")->authenticate(""), 0);
  EXPECT_FALSE(userNamed("carol")->shouldAuthenticate());
  EXPECT_NE(userNamed("carol")->authenticate(""), 0);
}

TEST_F(Authentication, IsNeededByAnyOtherAccountExactlyWhenItHasAnAuthority) {
  EXPECT_TRUE(userNamed("erin")->shouldAuthenticate());
  EXPECT_TRUE(
      kimWith({{"AuthenticationAuthority", {""}}}, cast::kNetworkNode)->shouldAuthenticate());
  EXPECT_FALSE(
      kimWith({{"AuthenticationAuthority", {}}}, cast::kNetworkNode)->shouldAuthenticate());
  EXPECT_FALSE(kimWith({}, cast::kNetworkNode)->shouldAuthenticate());
  EXPECT_FALSE(kimWith({{"CopyTimestamp", {"now"}}})->shouldAuthenticate());
}

TEST_F(Authentication, IsNeededByAMobileAccountByItsAuthorityWhateverItsPolicy) {
  EXPECT_TRUE(kimWith({{"CopyTimestamp", {"now"}}, {"AuthenticationAuthority", {";basic;"}}})
                  ->shouldAuthenticate());
  kimWith({{"CopyTimestamp", {"now"}}});
  const auto record = mWorld->directory().node("local")->record("Users", "kim");
  record->setPolicy(Dictionary{{"maxFailedLoginAttempts", 3}});
  EXPECT_TRUE(userNamed("kim")->passwordPolicyInUse());
  EXPECT_FALSE(userNamed("kim")->shouldAuthenticate());
}

TEST_F(AuthenticationKind, IsCryptForALocalAccountWithoutAnAuthorityOrWithABasicOne) {
  EXPECT_TRUE(kimWith({})->hasCryptPassword());
  EXPECT_TRUE(
      kimWith({{"AuthenticationAuthority", {";ShadowHash;", ";basic;"}}})->hasCryptPassword());
  EXPECT_FALSE(kimWith({{"AuthenticationAuthority", {";ShadowHash;"}}})->hasCryptPassword());
  EXPECT_FALSE(kimWith({}, cast::kNetworkNode)->hasCryptPassword());
  EXPECT_FALSE(
      kimWith({{"AuthenticationAuthority", {";basic;"}}}, cast::kNetworkNode)->hasCryptPassword());
}

TEST_F(AuthenticationKind, IsShadowHashForAnyAccountWithThatAuthority) {
  EXPECT_TRUE(kimWith({{"AuthenticationAuthority", {";basic;", ";ShadowHash;"}}})
                  ->hasShadowHashAuthAuthority());
  EXPECT_TRUE(kimWith({{"AuthenticationAuthority", {";ShadowHash;"}}}, cast::kNetworkNode)
                  ->hasShadowHashAuthAuthority());
  EXPECT_FALSE(kimWith({{"AuthenticationAuthority", {";basic;"}}})->hasShadowHashAuthAuthority());
  EXPECT_FALSE(kimWith({})->hasShadowHashAuthAuthority());
}

TEST_F(PasswordChange, Answers0AndTheNewPasswordHolds) {
  const auto carol = userNamed("carol");
  EXPECT_EQ(carol->changePassword(cast::kCarolPassword, "new"), 0);
  EXPECT_EQ(carol->authenticate("new"), 0);
}

TEST_F(PasswordChange, AnswersTheDirectorysOwnCodeOr5000) {
  refuse({kDirectoryDomain, -14165});
  EXPECT_EQ(userNamed("carol")->changePassword("wrong", "new"), -14165);
  refuse({"com.example.other", -14165});
  EXPECT_EQ(userNamed("carol")->changePassword("wrong", "new"), 5000);
  refuse({std::nullopt, -14165});
  EXPECT_EQ(userNamed("carol")->changePassword("wrong", "new"), 5000);
}

TEST_F(PasswordChange, LeavesFailuresToItsCallers) {
  fail({{"changePassword"}});
  EXPECT_THROW(userNamed("carol")->changePassword("a", "b"), PlatformException);
}

TEST_F(PasswordChange, IsTriedWithoutServiceAccess) {
  mWorld->membership().setAccessList("gatehall", {});
  EXPECT_EQ(userNamed("dana", cast::kNetworkNode)->changePassword(cast::kDanaPassword, "new"), 0);
}

TEST_F(PasswordChange, IsAllowedUnlessThePolicySaysNo) {
  const auto record = mWorld->directory().node("local")->record("Users", "carol");
  EXPECT_TRUE(userNamed("carol")->canModifyPassword());
  record->setPolicy(Dictionary{{"maxFailedLoginAttempts", 3}});
  EXPECT_TRUE(userNamed("carol")->canModifyPassword());
  for (const auto& [value, allowed] :
       {std::pair(Value(false), false), std::pair(Value(0), false), std::pair(Value("0"), false),
        std::pair(Value(true), true), std::pair(Value(1), true), std::pair(Value("1"), true)}) {
    record->setPolicy(Dictionary{{"canModifyPasswordforSelf", value}});
    EXPECT_EQ(userNamed("carol")->canModifyPassword(), allowed) << value.description();
  }
}

TEST_F(PasswordHint, IsWritten) {
  const auto carol = userNamed("carol");
  EXPECT_TRUE(carol->setPasswordHint("a bird"));
  EXPECT_EQ(carol->passwordHint(), "a bird");
  EXPECT_THAT(
      calls("setValue"),
      ElementsAre(
          Call{"setValue",
               {{"record", "carol"}, {"attribute", "AuthenticationHint"}, {"value", "a bird"}}}));
  EXPECT_TRUE(carol->setPasswordHint(""));
  EXPECT_EQ(carol->passwordHint(), "");
}

TEST_F(PasswordHint, ThatIsAbsentIsNotWritten) {
  EXPECT_FALSE(userNamed("carol")->setPasswordHint(std::nullopt));
  EXPECT_THAT(calls("setValue"), IsEmpty());
}

TEST_F(PasswordHint, RefusedIsFalseSilently) {
  fail({{"setValue", Fault::Kind::Absent}});
  EXPECT_FALSE(userNamed("carol")->setPasswordHint("a bird"));
  EXPECT_FALSE(CachedUser::cachedOtherUser("Jane")->setPasswordHint("a bird"));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(PasswordHint, FailedIsFalseAndLoggedWithTheShortName) {
  fail({{"setValue"}});
  EXPECT_FALSE(userNamed("carol")->setPasswordHint("a bird"));
  EXPECT_THAT(errors(), ElementsAre("Failed to set the password hint for user carol"));
}

TEST_F(PasswordHint, LetsOtherExceptionsPass) {
  fail({{"setValue", Fault::Kind::OtherException}});
  EXPECT_THROW(userNamed("carol")->setPasswordHint("a bird"), InjectedFailure);
}

TEST_F(HandedOverPassword, IsTheEntryOrItsFirstElement) {
  const auto passwordOf = [](Value entry) {
    return CachedUser::cachedUserWithAttributes(
               {{"RecordName", "ann"}, {"UniqueID", "1000"}, {"UserPasswordKey", std::move(entry)}})
        ->fusPassword();
  };
  EXPECT_EQ(passwordOf("secret"), "secret");
  EXPECT_EQ(passwordOf(""), "");
  EXPECT_EQ(passwordOf(Array{"first", "second"}), "first");
}

TEST_F(HandedOverPassword, IsAbsentWithoutADictionaryOrAnEntry) {
  EXPECT_EQ(userNamed("ann")->fusPassword(), std::nullopt);
  EXPECT_EQ(CachedUser::cachedOtherUser("Jane")->fusPassword(), std::nullopt);
}

TEST_F(HandedOverPassword, IsNeverTheRecords) {
  EXPECT_EQ(kimWith({{"UserPasswordKey", {"public"}}})->fusPassword(), std::nullopt);
}

}  // namespace
}  // namespace gatehall
