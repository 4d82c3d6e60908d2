#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <utility>

#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "linux/accounts/UserRecord.h"
#include "tests/linux/Machine.h"
#include "tests/linux/UnusableFiles.h"

namespace gatehall {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class UserRecordFiles : public testing::Test {
 protected:
  UserRecordFiles() {
    machine.write("/etc/passwd",
                  "ann:x:1000:1000:Ann Lee:/home/ann:/bin/bash\n"
                  "bob:x:1001:1001::/home/bob:/bin/sh\n");
    machine.write(
        "/etc/shadow",
        "ann:$5$rounds=1000$saltsalt$eKLZU9t9OoPWrqOQsoTIKG0aYkZ5rGOoOQhiIvoSWX2:1::::::\n"
        "bob::1::::::\n");
    machine.write("/etc/group", "sudo:x:27:\nstaff:x:50:\n");
  }
  void record(std::string_view name, std::string_view json) {
    machine.write("/etc/userdb/" + std::string(name) + ".user", json);
  }
  Machine machine;
};

}  // namespace

TEST_F(UserRecordFiles, AddToAnAccountOfThePasswdFile) {
  record("ann", R"({"userName": "ann", "realName": "Other", "uid": 1000, "shell": "/bin/sh",
                    "uuid": "6c6b2f1e-0001-4002-8003-ffeeddcc1001", "aliases": ["al", "annie"],
                    "memberOf": ["staff"], "homeDirectory": "/elsewhere"})");
  record("bob", R"({"userName": "bob", "realName": "Bob Ray"})");
  const auto ann = machine.user("ann");
  EXPECT_THAT(values(ann, "RecordName"), ElementsAre("ann", "al", "annie"));
  EXPECT_THAT(values(ann, "GUID"), ElementsAre("6C6B2F1E-0001-4002-8003-FFEEDDCC1001"));
  EXPECT_THAT(values(ann, "FullName"), ElementsAre("Ann Lee"));
  EXPECT_THAT(values(ann, "NFSHomeDirectory"), ElementsAre("/home/ann"));
  EXPECT_THAT(values(ann, "UserShell"), ElementsAre("/bin/bash"));
  EXPECT_THAT(values(machine.user("bob"), "FullName"), ElementsAre("Bob Ray"));
  EXPECT_THAT(machine.allUsers(), ElementsAre("ann", "bob"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(UserRecordFiles, MakeAnAccountFoundByItsAliasAndByItsOwnGUIDOnly) {
  const auto derived = values(machine.user("ann"), "GUID");
  record("ann", R"({"userName": "ann", "uuid": "6c6b2f1e00014002 8003ffeeddcc1001"})");
  record("ann", R"({"userName": "ann", "uuid": "6c6b2f1e000140028003ffeeddcc1001",
                    "aliases": ["al"]})");
  EXPECT_THAT(machine.names("Users", "RecordName", MatchType::EqualTo, {"al"}), ElementsAre("ann"));
  EXPECT_THAT(machine.names("Users", "RecordName", MatchType::EqualTo, {"al", "ann", "bob"}),
              ElementsAre("ann", "bob"));
  EXPECT_THAT(values(machine.user("al"), "RecordName"), ElementsAre("ann", "al"));
  EXPECT_THAT(
      machine.names("Users", "GUID", MatchType::EqualTo, {"6C6B2F1E-0001-4002-8003-FFEEDDCC1001"}),
      ElementsAre("ann"));
  EXPECT_THAT(machine.names("Users", "GUID", MatchType::EqualTo, derived), IsEmpty());
}

TEST_F(UserRecordFiles, AnAliasDoesNotStandInFrontOfALoginName) {
  record("ann", R"({"userName": "ann", "aliases": ["bob"]})");
  EXPECT_THAT(values(machine.user("bob"), "UniqueID"), ElementsAre("1001"));
}

TEST_F(UserRecordFiles, AreAccountsOfTheirOwn) {
  record("zoe", R"({"userName": "zoe", "realName": "Zoë, & Co", "uid": 60000,
                    "disposition": "regular", "memberOf": ["sudo"]})");
  record("daemon", R"({"userName": "daemon", "uid": 7, "gid": 8, "disposition": "system"})");
  EXPECT_THAT(machine.allUsers(), ElementsAre("ann", "bob", "daemon", "zoe"));
  const auto zoe = machine.find("Users", "UniqueID", MatchType::EqualTo, {"60000"});
  ASSERT_EQ(zoe.size(), 1U);
  EXPECT_THAT(values(zoe[0], "RecordName"), ElementsAre("zoe"));
  EXPECT_THAT(values(zoe[0], "FullName"), ElementsAre("Zoë, & Co"));
  EXPECT_THAT(values(zoe[0], "PrimaryGroupID"), ElementsAre("60000"));
  EXPECT_THAT(values(zoe[0], "NFSHomeDirectory"), ElementsAre("/home/zoe"));
  EXPECT_THAT(values(zoe[0], "UserShell"), ElementsAre("/bin/bash"));
  EXPECT_THAT(values(zoe[0], "Password"), ElementsAre("*"));
  EXPECT_THAT(values(machine.user("daemon"), "UserShell"), ElementsAre("/usr/bin/false"));
  EXPECT_TRUE(machine.group("admin")->isMember(*zoe[0]));
  EXPECT_THAT(values(machine.group("sudo"), "GroupMembership"), ElementsAre("zoe"));
  EXPECT_TRUE(zoe[0]->synchronize());
  EXPECT_THAT(machine.names("Users", "GUID", MatchType::EqualTo, values(zoe[0], "GUID")),
              ElementsAre("zoe"));
  EXPECT_FALSE(zoe[0]->passwordPolicy());
}

TEST_F(UserRecordFiles, WithoutAUserIDAreNoAccountsOfTheirOwn) {
  record("zoe", R"({"userName": "zoe"})");
  EXPECT_THAT(machine.allUsers(), ElementsAre("ann", "bob"));
}

TEST_F(UserRecordFiles, HaveTheirHashesInAFileBesideThem) {
  record("zoe", R"({"userName": "zoe", "uid": 60000})");
  machine.write("/etc/userdb/zoe.user-privileged",
                R"({"privileged": {"hashedPassword": ["*", "abNANd1rDfiNc"]}})");
  const auto zoe = machine.user("zoe");
  DirectoryError error;
  EXPECT_THAT(values(zoe, "AuthenticationAuthority"), ElementsAre(";ShadowHash;"));
  EXPECT_TRUE(zoe->verifyPassword("secret", error));
  EXPECT_FALSE(zoe->verifyPassword("", error));
  machine.write("/etc/userdb/zoe.user-privileged", R"({"hashedPassword": 3})");
  EXPECT_FALSE(machine.user("zoe")->verifyPassword("secret", error));
  EXPECT_EQ(error.code, directoryError::kHashUnreadable);
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("/etc/userdb/zoe.user-privileged: hashedPassword is not a list of "
                          "strings"));
}

TEST_F(UserRecordFiles, LockAnAccountOrEndIt) {
  record("bob", R"({"userName": "bob", "locked": true})");
  EXPECT_THAT(values(machine.user("bob"), "AuthenticationAuthority"),
              ElementsAre(";ShadowHash;", ";DisabledUser;"));
  record("bob", R"({"userName": "bob", "notAfterUSec": 1728000000000000})");
  machine.clock.seconds = 1728000000;
  EXPECT_THAT(values(machine.user("bob"), "AuthenticationAuthority"), ElementsAre(";ShadowHash;"));
  machine.clock.seconds += 1;
  EXPECT_THAT(values(machine.user("bob"), "AuthenticationAuthority"),
              ElementsAre(";ShadowHash;", ";DisabledUser;expired"));
}

TEST_F(UserRecordFiles, HoldAttributesByTheirNames) {
  record("ann", R"({"userName": "ann", "com.orvane.gatehall": {
      "OriginalNodeName": "ldap/example", "lxAttrTypeStandard:CopyTimestamp": 20241004,
      "HomeDirectory": ["<home_dir/>", "two"], "lxAttrTypeNative:external": true,
      "FullName": "Ann of the record", "AuthenticationAuthority": ";LocalCachedUser;",
      "x": 1.0e3}})");
  EXPECT_THROW(machine.user("ann"), PlatformException);
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("/etc/userdb/ann.user: com.orvane.gatehall.x is not a string or a list "
                          "of strings"));
  record("ann", R"({"userName": "ann", "com.orvane.gatehall": {
      "OriginalNodeName": "ldap/example", "lxAttrTypeStandard:CopyTimestamp": 20241004,
      "HomeDirectory": ["<home_dir/>", "two"], "lxAttrTypeNative:external": true,
      "FullName": "Ann of the record", "AuthenticationAuthority": ";LocalCachedUser;"}})");
  const auto ann = machine.user("ann");
  EXPECT_THAT(values(ann, "OriginalNodeName"), ElementsAre("ldap/example"));
  EXPECT_THAT(values(ann, "CopyTimestamp"), ElementsAre("20241004"));
  EXPECT_THAT(values(ann, "HomeDirectory"), ElementsAre("<home_dir/>", "two"));
  EXPECT_THAT(values(ann, "lxAttrTypeNative:external"), ElementsAre("1"));
  EXPECT_THAT(values(ann, "FullName"), ElementsAre("Ann of the record"));
  EXPECT_THAT(values(ann, "AuthenticationAuthority"),
              ElementsAre(";ShadowHash;", ";LocalCachedUser;"));
  EXPECT_TRUE(ann->recordDetails({})->contains("lxAttrTypeNative:external"));
  EXPECT_THAT(machine.names("Users", "OriginalNodeName", MatchType::EqualTo, {"ldap/example"}),
              ElementsAre("ann"));
}

TEST_F(UserRecordFiles, WithAnotherUserIDThanTheLineRaiseButForAdministrators) {
  record("ann", R"({"userName": "ann", "uid": 1009, "aliases": ["al"]})");
  EXPECT_THROW(machine.user("ann"), PlatformException);
  EXPECT_THROW(machine.user("al"), PlatformException);
  EXPECT_THROW(values(machine.group("staff"), "GroupMembership"), PlatformException);
  EXPECT_THAT(machine.names("Users", "UniqueID", MatchType::EqualTo, {"1009"}), IsEmpty());
  EXPECT_THAT(values(machine.user("bob"), "UniqueID"), ElementsAre("1001"));
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("/etc/userdb/ann.user: uid 1009 is not the 1000 of /etc/passwd"));
  machine.write("/etc/group", "sudo:x:27:ann\nstaff:x:50:\n");
  EXPECT_THAT(values(machine.user("ann"), "RecordName"), ElementsAre("ann"));
  EXPECT_THAT(values(machine.group("admin"), "GroupMembership"), ElementsAre("root", "ann"));
}

TEST_F(UserRecordFiles, AreReadOnceWhenALinkNamesTheUserID) {
  record("zoe", R"({"userName": "zoe", "uid": 60000})");
  std::filesystem::create_symlink("zoe.user", machine.path("/etc/userdb/60000.user"));
  EXPECT_THAT(machine.allUsers(), ElementsAre("ann", "bob", "zoe"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(UserRecordFiles, HoldValuesNestedIn32Others) {
  const auto faultOf = [](std::size_t depth) {
    std::string fault;
    parseUserRecord(
        R"({"userName": "zoe", "a": )" + std::string(depth, '[') + std::string(depth, ']') + "}",
        fault);
    return fault;
  };
  EXPECT_EQ(faultOf(32), "");
  EXPECT_EQ(faultOf(33), "nested too deep");
}

TEST_F(UserRecordFiles, ThatCanNotBeReadRaiseAndTheLogSaysWhy) {
  const std::string deep(100000, '[');
  const std::pair<std::string, std::string> cases[] = {
      {"", "it is empty"},
      {" ", "not JSON at byte 2"},
      {"{\"userName\": \"zoe\",}", "not JSON at byte 20"},
      {"[]", "not an object"},
      {"{}", "userName is not a login name"},
      {R"({"userName": "a:b"})", "userName is not a login name"},
      {R"({"userName": "other"})", "userName is not the file's name"},
      {R"({"userName": "zoe", "uid": 4294967295})", "uid 4294967295 is out of range"},
      {R"({"userName": "zoe", "uid": -1})", "uid is not a number from 0"},
      {R"({"userName": "zoe", "uid": "5"})", "uid is not a number from 0"},
      {R"({"userName": "zoe", "uid": 1.5})", "uid is not a number from 0"},
      {R"({"userName": "zoe", "uuid": "5"})", "uuid is not a UUID"},
      {R"({"userName": "zoe", "aliases": "al"})", "aliases is not a list of strings"},
      {R"({"userName": "zoe", "aliases": [""]})", "aliases holds what is not a login name"},
      {R"({"userName": "zoe", "locked": 1})", "locked is not a boolean"},
      {R"({"userName": "zoe", "shell": "/bin/a:b"})", "/bin/a:b is not a path"},
      {R"({"userName": "zoe", "realName": "a\u0000b"})", "realName holds a NUL character"},
      {R"({"userName": "zoe", "com.orvane.gatehall": 1})", "com.orvane.gatehall is not an object"},
      {R"({"userName": "zoe", "com.orvane.gatehall": {"UniqueID": "0"}})",
       "com.orvane.gatehall.UniqueID can't be set here"},
      {R"({"userName": "zoe", "com.orvane.gatehall": {"TavloSettings": "x"}})",
       "com.orvane.gatehall.TavloSettings can't be set here"},
      {deep, "not JSON at byte 100001"},
      {"{\"a\":" + deep.substr(0, 50) + std::string(50, ']') + "}", "nested too deep"},
      {R"({"userName": "zoe", "uid": 60000, "uid": 60001})", "uid stands there twice"},
      {R"({"userName": "zoe", "a": {"b": 1, "b": 1}})", "b stands there twice"},
      {R"({"userName": "zoe", "uuie": "5"})", "uuie is no field; did you mean uuid?"},
      {R"({"userName": "zoe", "com.orvane.gatehell": {}})",
       "com.orvane.gatehell is no field; did you mean com.orvane.gatehall?"},
      {R"({"userName": "zoe", "com.orvane.gatehall": {"OriginalNodename": "ldap/lab"}})",
       "OriginalNodename is no field; did you mean OriginalNodeName?"},
      {std::string(1100000, ' '), "it is too long"},
  };
  for (const auto& [json, reason] : cases) {
    Machine each;
    each.write("/etc/userdb/zoe.user", json);
    EXPECT_THROW(each.allUsers(), PlatformException);
    EXPECT_THAT(each.log.lines(), ElementsAre("/etc/userdb/zoe.user: " + reason))
        << json.substr(0, 80);
  }
}

/// Which of the questions about a machine's users raise, while erin's record, which makes hers a
/// mobile account, is in some state. Ann is an administrator, bob is not.
class DamagedUserRecords : public UserRecordFiles {
 protected:
  static constexpr const char* kErins = "/etc/userdb/erin.user";
  static constexpr const char* kErinsGUID = "6C6B2F1E-0001-4002-8003-FFEEDDCC1003";

  DamagedUserRecords() {
    machine.write("/etc/passwd",
                  "root:x:0:0::/root:/bin/sh\n"
                  "ann:x:1000:1000::/home/ann:/bin/bash\n"
                  "bob:x:1001:1001::/home/bob:/bin/sh\n"
                  "erin:x:1003:1003::/home/erin:/bin/sh\n"
                  "gus:x:1004:27::/home/gus:/bin/sh\n");
    machine.write("/etc/group", "sudo:x:27:ann,zoe\nstaff:x:50:bob\n");
    record("erin", R"({"userName": "erin", "uid": 1003, "memberOf": ["staff"],
                       "uuid": "6C6B2F1E-0001-4002-8003-FFEEDDCC1003",
                       "com.orvane.gatehall": {"OriginalNodeName": "ldap/lab"}})");
  }

  Strings by(const char* kind, const std::string& value) {
    return machine.names("Users", kind, MatchType::EqualTo, {value});
  }
  Strings expand(const char* group) { return values(machine.group(group), "GroupMembership"); }

  /// The questions whose answer may be erin raise, naming her file; the others are answered.
  void expectUndecided(const std::string& reason) {
    const auto guidOfBob = values(machine.user("bob"), "GUID").front();
    const std::pair<const char*, std::function<void()>> raising[] = {
        {"by name", [&] { machine.user("erin"); }},
        {"by user id", [&] { by("UniqueID", "1003"); }},
        {"by her GUID", [&] { by("GUID", kErinsGUID); }},
        {"by a GUID that may be hers", [&] { by("GUID", "6C6B2F1E-0001-4002-8003-FFEEDDCC1004"); }},
        {"by node", [&] { by("OriginalNodeName", "ldap/lab"); }},
        {"all", [&] { machine.allUsers(); }},
        {"members", [&] { expand("staff"); }},
    };
    for (const auto& [question, ask] : raising) {
      try {
        ask();
        ADD_FAILURE() << question << ": nothing was raised";
      } catch (const PlatformException& error) {
        EXPECT_EQ(error.what(), reason) << question;
      }
    }
    EXPECT_THAT(by("UniqueID", "1001"), ElementsAre("bob"));
    EXPECT_THAT(by("UniqueID", "4242"), IsEmpty());
    EXPECT_THAT(by("GUID", guidOfBob), ElementsAre("bob"));
    EXPECT_FALSE(machine.user("nobody"));
    expectAdministrators();
    const auto partial = machine.local()
                             ->query({{"Users"},
                                      "RecordName",
                                      MatchType::EqualTo,
                                      {std::string(attribute::AllRecords)},
                                      {},
                                      0})
                             ->results(true);
    EXPECT_EQ(partial->size(), 4U) << "all but erin";
  }

  void expectAdministrators() {
    for (const auto* name : {"root", "ann", "gus"}) {
      const auto user = machine.user(name);
      EXPECT_TRUE(user && machine.group("admin")->isMember(*user)) << name;
    }
    EXPECT_THAT(expand("admin"), ElementsAre("root", "ann", "zoe", "gus"));
  }
};

TEST_F(DamagedUserRecords, MakeNoAccountAnotherWhileTheyAreWhole) {
  EXPECT_THAT(values(machine.user("erin"), "OriginalNodeName"), ElementsAre("ldap/lab"));
  EXPECT_THAT(expand("staff"), ElementsAre("bob", "erin"));
  expectAdministrators();
}

TEST_F(DamagedUserRecords, RaiseForWhatMayBeTheirAccount) {
  record("erin", R"({"userName": "erin", })");
  expectUndecided("/etc/userdb/erin.user: not JSON at byte 22");
}

TEST_F(DamagedUserRecords, DoNotShutOutAdministrators) {
  for (const auto* name : {"root", "ann", "gus"}) record(name, "damaged");
  expectAdministrators();
  EXPECT_THAT(machine.log.lines(), testing::Contains("/etc/userdb/ann.user: not JSON at byte 1"));
}

TEST_F(DamagedUserRecords, OfAdministratorsHideNoMembersOfOtherGroups) {
  record("gus", "damaged");
  EXPECT_THAT(expand("staff"), ElementsAre("bob", "erin"));
}

TEST_F(DamagedUserRecords, WithoutALineRaiseForTheirNameAndForWhatIsNotFound) {
  record("dana", "damaged");
  EXPECT_THROW(machine.user("dana"), PlatformException);
  EXPECT_THROW(by("UniqueID", "60000"), PlatformException);
  EXPECT_THROW(machine.allUsers(), PlatformException);
  EXPECT_THAT(by("UniqueID", "1001"), ElementsAre("bob"));
  EXPECT_TRUE(machine.user("erin"));
  expectAdministrators();
}

TEST_F(DamagedUserRecords, InAFolderThatCanNotBeReadRaiseForAllButAdministrators) {
  std::filesystem::remove_all(machine.path("/etc/userdb"));
  EXPECT_THAT(machine.allUsers(), ElementsAre("root", "ann", "bob", "erin", "gus")) << "no folder";
  machine.write("/etc/userdb", "no folder");
  for (const auto* name : {"bob", "erin", "nobody"}) {
    EXPECT_THROW(machine.user(name), PlatformException) << name;
  }
  EXPECT_THROW(by("UniqueID", "4242"), PlatformException);
  EXPECT_THROW(machine.allUsers(), PlatformException);
  expectAdministrators();
}

TEST_F(DamagedUserRecords, LeaveNoMobileAccountALocalOneWhicheverBitIsDamaged) {
  const std::string whole = R"({"userName": "erin", "uid": 1003, "memberOf": ["staff"],
      "uuid": "6C6B2F1E-0001-4002-8003-FFEEDDCC1003", "locked": true,
      "com.orvane.gatehall": {"OriginalNodeName": "ldap/lab"}})";
  machine.remove(kErins);
  const auto madeHere = values(machine.user("erin"), "GUID");
  // What became another group, GUID or node can't be told. Hers is still a mobile account, locked,
  // with a GUID of its own.
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (unsigned bit = 0; bit < 8; ++bit) {
      auto damaged = whole;
      damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ 1U << bit);
      record("erin", damaged);
      try {
        const auto erin = machine.user("erin");
        EXPECT_EQ(values(erin, "OriginalNodeName").size(), 1U) << damaged;
        EXPECT_THAT(values(erin, "AuthenticationAuthority"), ElementsAre(";DisabledUser;"))
            << damaged;
        EXPECT_NE(values(erin, "GUID"), madeHere) << damaged;
      } catch (const PlatformException& error) {
        EXPECT_THAT(error.what(), HasSubstr(kErins));
      }
    }
  }
  for (std::size_t length = 0; length < whole.size(); ++length) {
    record("erin", whole.substr(0, length));
    EXPECT_THROW(machine.user("erin"), PlatformException) << length;
  }
}

class UnusableUserRecord : public DamagedUserRecords,
                           public testing::WithParamInterface<UnusableFile> {};

TEST_P(UnusableUserRecord, RaisesWithTheReason) {
  const auto obstacle = GetParam().make(machine, kErins);
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
  if (GetParam().name == "BelowAFileInItsFoldersPlace") {
    EXPECT_THROW(machine.user("erin"), PlatformException);
  } else {
    expectUndecided(std::string(kErins) + ": " + GetParam().reasonFor(kErins));
  }
}

INSTANTIATE_TEST_SUITE_P(EveryWay, UnusableUserRecord, testing::ValuesIn(UnusableFile::all()),
                         [](const auto& each) { return each.param.name; });

}  // namespace gatehall
