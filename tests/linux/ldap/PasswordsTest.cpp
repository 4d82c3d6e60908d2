#include <mutex>
#include <sys/stat.h>

#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"
#include "tests/linux/ldap/fixture/ScriptedServer.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string password(std::string_view text) { return ldifLine("userPassword", text); }

class LdapPasswords : public testing::Test {
 protected:
  LdapPasswords()
      : server(
            {.ldif = "dn: cn=strict,dc=example,dc=org\nobjectClass: device\n"
                     "objectClass: pwdPolicy\ncn: strict\npwdAttribute: userPassword\n"
                     "pwdMaxAge: 7200\npwdMaxFailure: 3\npwdLockout: TRUE\npwdMinLength: 6\n"
                     "pwdCheckQuality: 2\npwdAllowUserChange: TRUE\n\n"
                     "dn: cn=brief,dc=example,dc=org\nobjectClass: device\n"
                     "objectClass: pwdPolicy\ncn: brief\npwdAttribute: userPassword\n"
                     "pwdMaxFailure: 3\npwdLockout: TRUE\npwdLockoutDuration: 600\n\n" +
                     ldifOf(LdifUser{"jan", 5008, 100, "", "",
                                     "pwdPolicySubentry: cn=brief,dc=example,dc=org\n"
                                     "pwdAccountLockedTime: 20241003235500Z\n"}) +
                     ldifOf(LdifUser{"kim", 5009, 100, "", "",
                                     "pwdPolicySubentry: cn=strict,dc=example,dc=org\n"
                                     "pwdAccountLockedTime: 20241003235500Z\n"}) +
                     ldifOf(LdifUser{"lea", 5010, 100, "", "",
                                     "pwdAccountLockedTime: 20241003235500Z\n"}) +
                     ldifOf(LdifUser{"bob", 5001, 100, "", "", password("{crypt}")}) +
                     ldifOf(LdifUser{"carol", 5002, 100, "", "", password("right")}) +
                     ldifOf(LdifUser{"dana", 5000, 100, "", "",
                                     password("right") +
                                         "pwdPolicySubentry: cn=strict,dc=example,dc=org\n"
                                         "pwdChangedTime: 20990101000000Z\n"}) +
                     ldifOf(LdifUser{"erin", 5003, 100, "", "",
                                     password("right") +
                                         "pwdPolicySubentry: cn=strict,dc=example,dc=org\n"
                                         "pwdChangedTime: 20200101000000Z\n"}) +
                     ldifOf(LdifUser{"frank", 5004, 100, "", "",
                                     password("right") + "pwdAccountLockedTime: 000001010000Z\n"}) +
                     ldifOf(LdifUser{"gina", 5005, 100, "", "",
                                     password("right") +
                                         "shadowLastChange: 0\nshadowMax: 30\nshadowInactive: 2\n"
                                         "shadowExpire: 40000\n"}) +
                     ldifOf(LdifUser{"hugo", 5006, 100, "", "",
                                     password("right") +
                                         "pwdPolicySubentry: cn=strict,dc=example,dc=org\n"
                                         "pwdReset: TRUE\npwdChangedTime: 20990101000000Z\n"}) +
                     ldifOf(LdifUser{"ivan", 5007}),
             .database = "access to attrs=userPassword by self write by anonymous auth\n"
                         "access to * by * read\n"
                         "overlay ppolicy\nppolicy_use_lockout\n",
             .modules = {"ppolicy"}}) {
    machine.configure(LdapMachine::table("test", LdapMachine::quoted(server.uri()),
                                         "tls = \"off\"\n" + machine.asManager()));
  }

  /// 0 when accepted, else the code of the refusal.
  std::int64_t verify(std::string_view name, std::string_view text) {
    DirectoryError error;
    const bool isAccepted = machine.networkUser(name)->verifyPassword(text, error);
    EXPECT_EQ(isAccepted, !error.domain);
    EXPECT_EQ(error.domain.value_or(""), isAccepted ? "" : kDirectoryErrorDomain);
    return error.code;
  }
  std::int64_t change(std::string_view name, std::string_view from, std::string_view to) {
    DirectoryError error;
    const bool isChanged = machine.networkUser(name)->changePassword(from, to, error);
    EXPECT_EQ(isChanged, error.code == 0);
    return error.code;
  }

  Slapd server;
  LdapMachine machine;
};

}  // namespace

TEST_F(LdapPasswords, AreVerifiedByABindAsTheUser) {
  EXPECT_EQ(verify("carol", "right"), 0);
  EXPECT_EQ(verify("carol", "wrong"), directoryError::kPasswordRefused);
  EXPECT_EQ(verify("ivan", "right"), directoryError::kPasswordRefused);
}

TEST_F(LdapPasswords, EmptyOnesAreNeverSentAndAreOnlyTheirsWhoHaveNone) {
  EXPECT_EQ(verify("bob", ""), 0);
  EXPECT_NE(verify("bob", "x"), 0);
  EXPECT_EQ(verify("carol", ""), directoryError::kPasswordRefused);
  EXPECT_EQ(verify("ivan", ""), directoryError::kPasswordRefused) << "has no userPassword at all";
  machine.configure(LdapMachine::table("test", LdapMachine::quoted(server.uri())));
  LdapMachine anonymous;
  anonymous.configure(LdapMachine::table("test", LdapMachine::quoted(server.uri())));
  DirectoryError error;
  EXPECT_FALSE(anonymous.networkUser("bob")->verifyPassword("", error))
      << "nobody who can't read the entry can say so";
}

TEST_F(LdapPasswords, AreRefusedByThePoliciesOfTheServer) {
  EXPECT_EQ(verify("erin", "right"), directoryError::kPasswordExpired);
  EXPECT_EQ(verify("frank", "right"), directoryError::kAccountDisabled);
  EXPECT_EQ(verify("hugo", "right"), 0) << "has to be changed, and is right";
  for (int time = 0; time < 3; ++time) EXPECT_NE(verify("dana", "wrong"), 0);
  EXPECT_EQ(verify("dana", "right"), directoryError::kAccountDisabled);
}

TEST_F(LdapPasswords, ThatFailedTooOftenLockTheAccountAsLongAsThePolicySays) {
  const auto isDisabled = [this](std::string_view name) {
    const auto authorities = values(machine.networkUser(name), "AuthenticationAuthority");
    return holdsLine(authorities, ";DisabledUser;");
  };
  EXPECT_TRUE(isDisabled("frank")) << "for good";
  EXPECT_TRUE(isDisabled("jan")) << "for five more minutes";
  EXPECT_TRUE(isDisabled("kim")) << "of a policy without a duration";
  EXPECT_TRUE(isDisabled("lea")) << "of a policy that nobody knows";
  EXPECT_FALSE(isDisabled("dana"));
  for (int time = 0; time < 3; ++time) EXPECT_NE(verify("dana", "wrong"), 0);
  machine.clock.seconds += 299;
  EXPECT_TRUE(isDisabled("jan"));
  EXPECT_TRUE(isDisabled("dana")) << "the server has locked it";
  machine.clock.seconds += 1;
  EXPECT_FALSE(isDisabled("jan"));
  EXPECT_TRUE(isDisabled("kim"));
  EXPECT_TRUE(isDisabled("lea"));
}

TEST_F(LdapPasswords, AreChangedByTheUser) {
  EXPECT_EQ(change("carol", "wrong", "another"), directoryError::kPasswordRefused);
  EXPECT_EQ(change("carol", "right", "another"), 0);
  EXPECT_EQ(verify("carol", "right"), directoryError::kPasswordRefused);
  EXPECT_EQ(verify("carol", "another"), 0);
  EXPECT_EQ(change("dana", "right", "short"), directoryError::kNewPasswordRefused);
  EXPECT_EQ(change("dana", "right", ""), directoryError::kNewPasswordRefused);
  EXPECT_EQ(change("bob", "", "another"), directoryError::kPasswordRefused);
  EXPECT_EQ(change("hugo", "right", "another"), 0);
}

TEST_F(LdapPasswords, HaveThePolicyThatTheEntrySays) {
  const auto policy = [this](std::string_view name) {
    return machine.networkUser(name)->passwordPolicy();
  };
  EXPECT_EQ(policy("ivan"), std::nullopt);
  EXPECT_EQ(policy("gina"), (Dictionary{{"newPasswordRequired", true},
                                        {"maxMinutesUntilChangePassword", 30 * 1440},
                                        {"maxMinutesOfNonUse", 2 * 1440},
                                        {"usingHardExpirationDate", true}}));
  EXPECT_EQ(policy("erin"), (Dictionary{{"passwordLastSetTime", 1577836800},
                                        {"maxMinutesUntilChangePassword", 120},
                                        {"maxFailedLoginAttempts", 3},
                                        {"canModifyPasswordforSelf", true}}));
  EXPECT_EQ(policy("hugo")->at("newPasswordRequired"), true);
}

TEST_F(LdapPasswords, HaveTheDirectorysPolicyWhereTheEntryNamesNone) {
  LdapMachine other;
  other.configure(LdapMachine::table("test", LdapMachine::quoted(server.uri()),
                                     "tls = \"off\"\n"
                                     "password-policy = \"cn=strict,dc=example,dc=org\"\n"));
  EXPECT_EQ(other.networkUser("ivan")->passwordPolicy()->at("maxFailedLoginAttempts"), 3);
}

TEST_F(LdapPasswords, RaiseWhenNobodyCanTell) {
  const auto carol = machine.networkUser("carol");
  server.stop();
  DirectoryError error;
  EXPECT_THROW(carol->verifyPassword("right", error), PlatformException);
}

TEST_F(LdapPasswords, OfTheAccountThatSearchesComeFromAFileOfRootsOnly) {
  const auto refusal = [this](const std::function<void(LdapMachine&, const std::string&)>& spoil) {
    LdapMachine other;
    other.configure(LdapMachine::table("test", LdapMachine::quoted(server.uri()),
                                       "tls = \"off\"\n" + other.asManager()));
    spoil(other, other.path("/etc/gatehall/password"));
    other.expectOnlyLocalAccounts();
    return other.log.lines().empty() ? "" : other.log.lines().front();
  };
  EXPECT_THAT(refusal([](auto&, const auto& path) { chmod(path.c_str(), 0604); }),
              HasSubstr("others than its owner can read it"));
  EXPECT_THAT(refusal([](auto&, const auto& path) {
                chmod(path.c_str(), 0640);
                if (chown(path.c_str(), static_cast<uid_t>(-1), 12345) != 0) unlink(path.c_str());
              }),
              testing::AnyOf(HasSubstr("its group can read it"), HasSubstr("No such file")));
  EXPECT_THAT(refusal([](auto&, const auto& path) { unlink(path.c_str()); }),
              HasSubstr("No such file or directory"));
  EXPECT_THAT(
      refusal([](auto& other, const auto&) { other.write("/etc/gatehall/password", "\n"); }),
      testing::AnyOf(HasSubstr("empty"), HasSubstr("can read it")));
  EXPECT_THAT(refusal([](auto& other, const auto& path) {
                other.write("/etc/gatehall/password", "another\n");
                chmod(path.c_str(), 0600);
              }),
              HasSubstr("cn=manager,dc=example,dc=org is refused: Invalid credentials"));
}

TEST_F(LdapPasswords, DoNotExpireAfterSoManyDaysThatItMeansNever) {
  const auto maximum = [this](std::string_view days) {
    server.modify("dn: " + userDN("ivan") +
                  "\nchangetype: modify\nreplace: shadowMax\nshadowMax: " + std::string(days) +
                  "\n");
    machine.clock.seconds += 6;
    return machine.networkUser("ivan")->passwordPolicy();
  };
  EXPECT_EQ(maximum("99998"),
            (Dictionary{{"maxMinutesUntilChangePassword", std::int64_t{99998} * 1440}}));
  EXPECT_EQ(maximum("99999"), std::nullopt);
}

/// A server of Active Directory's kind that lets dana in by no password.
class LdapRefusals : public testing::Test {
  std::mutex mMutex;
  int mResult = 0;
  std::string mText;
  std::string mPasswordLastSet = "132223104000000000";

 protected:
  LdapRefusals() {
    machine.configure("[[directory]]\nname = \"test\"\nservers = [\"" + server.uri() +
                      "\"]\nbase = \"DC=example,DC=org\"\nprofile = \"active-directory\"\n"
                      "tls = \"off\"\n");
  }

  /// dana, after the last answers are forgotten.
  std::shared_ptr<DirectoryRecord> dana() {
    machine.clock.seconds += 6;
    return machine.networkUser("dana");
  }

  /// What becomes of her password when that is the server's answer.
  std::int64_t verify(int result, const std::string& data = "") {
    {
      const std::lock_guard lock(mMutex);
      mResult = result;
      mText = "80090308: LdapErr: DSID-0C090447, comment: AcceptSecurityContext error, data " +
              data + ", v3839";
    }
    DirectoryError error;
    EXPECT_FALSE(dana()->verifyPassword("right", error));
    return error.code;
  }

  void setPasswordLastSet(const std::string& time) {
    const std::lock_guard lock(mMutex);
    mPasswordLastSet = time;
  }

  ScriptedServer server{[this](ScriptedServer::Peer& peer) {
    while (const auto request = peer.read()) {
      const std::lock_guard lock(mMutex);
      if (request->operation == ber::kBindRequest) {
        const bool isDana = request->content.find("CN=Dana") != std::string::npos;
        peer.write(ber::message(request->id, ber::result(ber::kBindResponse, isDana ? mResult : 0,
                                                         isDana ? mText : "")));
      } else {
        peer.write(ber::message(request->id, ber::entry("CN=Dana Fox,DC=example,DC=org",
                                                        {{"objectClass", {"user"}},
                                                         {"sAMAccountName", {"dana"}},
                                                         {"uidNumber", {"5000"}},
                                                         {"objectGUID", {"0123456789abcdef"}},
                                                         {"pwdLastSet", {mPasswordLastSet}}})) +
                   ber::message(request->id, ber::result(ber::kSearchDone, 0)));
      }
    }
  }};
  LdapMachine machine;
};

TEST_F(LdapRefusals, HaveTheReasonThatActiveDirectorySays) {
  constexpr int kInvalidCredentials = 49;
  for (const auto* data : {"533", "701", "775"}) {
    EXPECT_EQ(verify(kInvalidCredentials, data), directoryError::kAccountDisabled) << data;
  }
  for (const auto* data : {"532", "773"}) {
    EXPECT_EQ(verify(kInvalidCredentials, data), directoryError::kPasswordExpired) << data;
  }
  for (const auto* data : {"52e", "5330", "1773", ""}) {
    EXPECT_EQ(verify(kInvalidCredentials, data), directoryError::kPasswordRefused) << data;
  }
}

TEST_F(LdapRefusals, AreNoneOfAServerThatHasNoTime) {
  constexpr int kUnwillingToPerform = 53;
  for (const int busyOrUnavailable : {51, 52}) {
    EXPECT_THROW(verify(busyOrUnavailable), PlatformException) << busyOrUnavailable;
  }
  EXPECT_EQ(verify(kUnwillingToPerform), directoryError::kPasswordRefused);
}

TEST_F(LdapRefusals, LeaveThePolicyOfAnEntryThatSaysWhenItsPasswordWasSet) {
  EXPECT_EQ(dana()->passwordPolicy(), (Dictionary{{"passwordLastSetTime", 1577836800}}));
  setPasswordLastSet("0");
  EXPECT_EQ(dana()->passwordPolicy(), (Dictionary{{"newPasswordRequired", true}}));
  setPasswordLastSet("-1");
  EXPECT_EQ(dana()->passwordPolicy(), std::nullopt);
}

TEST(LdapPasswordsOfActiveDirectory, AreRefusedForTheReasonInTheText) {
  ScriptedServer server([](ScriptedServer::Peer& peer) {
    while (const auto request = peer.read()) {
      const auto names = [&](std::string_view text) {
        return request->content.find(text) != std::string::npos;
      };
      if (request->operation == ber::kBindRequest) {
        const bool isUser = names("CN=Dana");
        peer.write(ber::message(
            request->id,
            ber::result(ber::kBindResponse, isUser ? 49 : 0,
                        "80090308: LdapErr: DSID-0C090447, comment: AcceptSecurityContext error, "
                        "data 533, v3839")));
      } else if (request->operation == ber::kSearchRequest) {
        peer.write(ber::message(request->id,
                                ber::entry("CN=Dana Fox,DC=example,DC=org",
                                           {{"objectClass", {"top", "person", "user"}},
                                            {"sAMAccountName", {"dana"}},
                                            {"displayName", {"Dana Fox"}},
                                            {"uidNumber", {"5000"}},
                                            {"objectGUID",
                                             {std::string("\x01\x02\x03\x04\x05\x06\x07\x08"
                                                          "\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10")}},
                                            {"userAccountControl", {"512"}},
                                            {"accountExpires", {"9223372036854775807"}},
                                            {"pwdLastSet", {"132223104000000000"}}})) +
                   ber::message(request->id, ber::result(ber::kSearchDone, 0)));
      } else {
        return;
      }
    }
  });
  LdapMachine machine;
  machine.configure("[[directory]]\nname = \"test\"\nservers = [\"" + server.uri() +
                    "\"]\nbase = \"DC=example,DC=org\"\nprofile = \"active-directory\"\n"
                    "tls = \"off\"\n");
  const auto dana = machine.networkUser("dana");
  ASSERT_NE(dana, nullptr);
  EXPECT_EQ(values(dana, "GUID"), Strings{"04030201-0605-0807-090A-0B0C0D0E0F10"});
  EXPECT_EQ(values(dana, "AuthenticationAuthority"), Strings{";LDAP;"});
  EXPECT_EQ(dana->passwordPolicy(), (Dictionary{{"passwordLastSetTime", 1577836800}}));
  DirectoryError error;
  EXPECT_FALSE(dana->verifyPassword("right", error));
  EXPECT_EQ(error.code, directoryError::kAccountDisabled);
}

}  // namespace gatehall
