#include <gmock/gmock.h>

#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "tests/linux/Machine.h"

namespace gatehall {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// "secret", "carol's password" and the empty password, hashed at little cost.
constexpr std::string_view kSecret =
    "$5$rounds=1000$saltsalt$eKLZU9t9OoPWrqOQsoTIKG0aYkZ5rGOoOQhiIvoSWX2";
constexpr std::string_view kEmptyHashed =
    "$5$rounds=1000$saltsalt$Naw4j7Jsi9DJmo461n8iSYTXTcY98Ufoq.Xsn7KkFN7";
constexpr std::string_view kTraditional = "abNANd1rDfiNc";

class LocalPasswords : public testing::Test {
 protected:
  /// The account carol, with these two password fields and the rest of a shadow line.
  std::shared_ptr<DirectoryRecord> carol(std::string_view passwd, std::string_view shadow,
                                         std::string_view rest = "19000:0:99999:7:::") {
    machine.write("/etc/passwd",
                  "carol:" + std::string(passwd) + ":1002:1002:Carol:/home/carol:/bin/sh\n");
    machine.write("/etc/shadow", "carol:" + std::string(shadow) + ":" + std::string(rest) + "\n");
    return machine.user("carol");
  }

  static Strings authority(const std::shared_ptr<DirectoryRecord>& record) {
    return values(record, "AuthenticationAuthority");
  }
  static Strings password(const std::shared_ptr<DirectoryRecord>& record) {
    return values(record, "Password");
  }
  /// The code of the refusal; 0 when the password is accepted.
  static std::int64_t verify(const std::shared_ptr<DirectoryRecord>& record,
                             std::string_view password) {
    DirectoryError error;
    if (record->verifyPassword(password, error)) {
      EXPECT_FALSE(error.domain);
      return 0;
    }
    EXPECT_EQ(error.domain, kDirectoryErrorDomain);
    EXPECT_NE(error.code, 0);
    return error.code;
  }

  Machine machine;
};

}  // namespace

TEST_F(LocalPasswords, OfTheShadowFileAreVerified) {
  const auto user = carol("x", kSecret);
  EXPECT_THAT(authority(user), ElementsAre(";ShadowHash;"));
  EXPECT_THAT(password(user), ElementsAre("********"));
  EXPECT_EQ(verify(user, "secret"), 0);
  EXPECT_EQ(verify(user, ""), directoryError::kPasswordRefused);
  EXPECT_EQ(verify(user, "Secret"), directoryError::kPasswordRefused);
  EXPECT_EQ(verify(user, std::string_view("secret\0more", 11)), directoryError::kPasswordRefused);
  EXPECT_EQ(verify(user, kSecret), directoryError::kPasswordRefused);
}

TEST_F(LocalPasswords, OfThePasswdFileAreVerified) {
  for (const auto hash : {kSecret, kTraditional}) {
    const auto user = carol(hash, "*");
    EXPECT_THAT(authority(user), ElementsAre(";basic;"));
    EXPECT_THAT(password(user), ElementsAre("********"));
    EXPECT_EQ(verify(user, "secret"), 0);
    EXPECT_EQ(verify(user, "wrong"), directoryError::kPasswordRefused);
  }
}

TEST_F(LocalPasswords, ThatAreEmptyAreAcceptedOnlyEmpty) {
  const auto inShadow = carol("x", "");
  EXPECT_THAT(authority(inShadow), ElementsAre(";ShadowHash;"));
  EXPECT_THAT(password(inShadow), ElementsAre("********"));
  EXPECT_EQ(verify(inShadow, ""), 0);
  EXPECT_EQ(verify(inShadow, "x"), directoryError::kPasswordRefused);
  const auto inPasswd = carol("", "*");
  EXPECT_THAT(authority(inPasswd), ElementsAre(";basic;"));
  EXPECT_EQ(verify(inPasswd, ""), 0);
  EXPECT_EQ(verify(carol("x", kEmptyHashed), ""), 0);
}

TEST_F(LocalPasswords, ThatAreLockedDisableTheAccount) {
  for (const auto* mark : {"!", "!!"}) {
    const auto user = carol("x", mark + std::string(kSecret));
    EXPECT_THAT(authority(user), ElementsAre(";ShadowHash;", ";DisabledUser;"));
    EXPECT_EQ(verify(user, "secret"), directoryError::kAccountDisabled);
    EXPECT_EQ(verify(user, ""), directoryError::kAccountDisabled);
  }
  const auto inPasswd = carol("!" + std::string(kSecret), "*");
  EXPECT_THAT(authority(inPasswd), ElementsAre(";basic;", ";DisabledUser;"));
  EXPECT_EQ(verify(inPasswd, "secret"), directoryError::kAccountDisabled);
}

TEST_F(LocalPasswords, ThatNobodyCanGiveAreMarked) {
  for (const auto* hash : {"*", "!", "!!", "!*", "*LK*", "x", "NP", "$"}) {
    const auto user = carol("x", hash);
    EXPECT_THAT(authority(user), IsEmpty()) << hash;
    EXPECT_THAT(password(user), ElementsAre("*")) << hash;
    EXPECT_EQ(verify(user, ""), directoryError::kPasswordRefused) << hash;
    EXPECT_EQ(verify(user, hash), directoryError::kPasswordRefused) << hash;
  }
}

TEST_F(LocalPasswords, OfAnAccountWithoutAShadowLineAreMarked) {
  machine.write("/etc/passwd", "carol:x:1002:1002::/home/carol:/bin/sh\n");
  EXPECT_THAT(password(machine.user("carol")), ElementsAre("*"));
  EXPECT_EQ(verify(machine.user("carol"), ""), directoryError::kPasswordRefused);
  machine.remove("/etc/shadow");
  EXPECT_THAT(password(machine.user("carol")), ElementsAre("*"));
}

TEST_F(LocalPasswords, OfALineThatCanNotBeReadAreMarkedAndTheLogSaysWhere) {
  const auto user = carol("x", kSecret, "19000:0:99999:7::never:");
  EXPECT_THAT(password(user), ElementsAre("*"));
  EXPECT_EQ(verify(user, "secret"), directoryError::kPasswordRefused);
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("/etc/shadow:1: expiry date is not a number of days"));
}

TEST_F(LocalPasswords, ThatCanNotBeReadArePresumedAndRefused) {
  const auto user = carol("x", kSecret);
  machine.remove("/etc/shadow");
  std::filesystem::create_directory(machine.path("/etc/shadow"));
  EXPECT_THAT(authority(user), ElementsAre(";ShadowHash;"));
  EXPECT_THAT(password(user), ElementsAre("********"));
  EXPECT_EQ(verify(user, "secret"), directoryError::kHashUnreadable);
  EXPECT_EQ(verify(user, ""), directoryError::kHashUnreadable);
  EXPECT_FALSE(user->passwordPolicy());
}

TEST_F(LocalPasswords, OfAnAccountPastItsExpiryDateAreRefused) {
  machine.clock.seconds = 20000 * 86400.0 - 1;
  EXPECT_THAT(authority(carol("x", kSecret, "19000:0:99999:7::20000:")),
              ElementsAre(";ShadowHash;"));
  machine.clock.seconds += 1;
  const auto user = carol("x", kSecret, "19000:0:99999:7::20000:");
  EXPECT_THAT(authority(user), ElementsAre(";ShadowHash;", ";DisabledUser;expired"));
  EXPECT_EQ(verify(user, "secret"), directoryError::kAccountDisabled);
  EXPECT_THAT(authority(carol("x", "*", "19000:0:99999:7::1:")),
              ElementsAre(";DisabledUser;expired"));
  EXPECT_THAT(authority(carol("x", "!" + std::string(kSecret), "19000:0:99999:7::1:")),
              ElementsAre(";ShadowHash;", ";DisabledUser;"))
      << "locked, whatever its end";
}

TEST_F(LocalPasswords, AreTheSameInAListAsAskedOneByOne) {
  machine.write("/etc/passwd",
                "ann:x:1000:1000::/:/bin/sh\nbob::1001:1001::/:/bin/sh\n"
                "carol:x:1002:1002::/:/bin/sh\ndana:x:1003:1003::/:/bin/sh\n");
  machine.write("/etc/shadow", "carol:*:1::::::\nann:" + std::string(kSecret) +
                                   ":1::::::\nann:*:1::::::\nbroken\n");
  for (const auto& returning : {Strings{"Password"}, Strings{}}) {
    Strings marks;
    for (const auto& user :
         machine.find("Users", "RecordName", MatchType::EqualTo, {"lxRecordsAll"}, returning)) {
      marks.push_back(password(user).front());
    }
    EXPECT_THAT(marks, ElementsAre("********", "********", "*", "*"));
  }
  EXPECT_THAT(machine.names("Users", "Password", MatchType::EqualTo, {"*"}),
              ElementsAre("carol", "dana"));
}

TEST_F(LocalPasswords, HaveThePolicyOfTheShadowLine) {
  const auto policy = carol("x", kSecret, "19000:0:90:7:14:30000:")->passwordPolicy();
  ASSERT_TRUE(policy);
  EXPECT_EQ(*policy, (Dictionary{{"passwordLastSetTime", 19000 * 86400},
                                 {"maxMinutesUntilChangePassword", 90 * 1440},
                                 {"maxMinutesOfNonUse", 14 * 1440},
                                 {"usingHardExpirationDate", true}}));
  EXPECT_EQ(*carol("x", kSecret, "0:0:99999:7:::")->passwordPolicy(),
            (Dictionary{{"newPasswordRequired", true}}));
  EXPECT_EQ(*carol("x", kSecret, "19000::::::")->passwordPolicy(),
            (Dictionary{{"passwordLastSetTime", 19000 * 86400}}));
  EXPECT_FALSE(carol("x", kSecret, "::::::")->passwordPolicy());
  machine.write("/etc/shadow", "");
  EXPECT_FALSE(machine.user("carol")->passwordPolicy());
}

TEST_F(LocalPasswords, OfGroupsDoNotExist) {
  machine.write("/etc/group", "staff:x:50:\n");
  EXPECT_EQ(verify(machine.group("staff"), ""), directoryError::kNoPasswords);
  DirectoryError error;
  EXPECT_FALSE(machine.group("staff")->changePassword("", "", error));
  EXPECT_EQ(error.code, directoryError::kNoPasswords);
  EXPECT_FALSE(machine.group("staff")->passwordPolicy());
}

TEST_F(LocalPasswords, AreChangedThroughPamWhichMayRefuse) {
  const auto user = carol("x", kSecret);
  DirectoryError error;
  const auto configure = [&](std::string_view module) {
    machine.write("/etc/pam.d/passwd", "password required " + std::string(module) + "\n");
  };
  configure("pam_permit.so");
  EXPECT_TRUE(user->changePassword("secret", "new secret", error));
  EXPECT_FALSE(error.domain);
  configure("pam_deny.so");
  EXPECT_FALSE(user->changePassword("secret", "new secret", error));
  EXPECT_EQ(error.domain, kDirectoryErrorDomain);
  EXPECT_EQ(error.code, directoryError::kNewPasswordRefused);
  configure("pam_no_such_module.so");
  EXPECT_FALSE(user->changePassword("secret", "new secret", error));
  EXPECT_EQ(error.code, directoryError::kPasswordServiceUnavailable);
}

TEST_F(LocalPasswords, AreNotChangedByRootEitherWithoutTheOldOne) {
  if (getuid() != 0) GTEST_SKIP() << "only root is asked for no old password";
  machine.write("/etc/pam.d/passwd", "password required pam_permit.so\n");
  DirectoryError error;
  EXPECT_FALSE(carol("x", kSecret)->changePassword("wrong", "new secret", error));
  EXPECT_EQ(error.code, directoryError::kPasswordRefused);
}

}  // namespace gatehall
