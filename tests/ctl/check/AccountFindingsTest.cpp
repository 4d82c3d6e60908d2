#include "tests/ctl/check/CheckedMachine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AccountFindings : public CheckedMachine {};

TEST_F(AccountFindings, AreNoneOnACleanMachine) {
  EXPECT_THAT(findings(), IsEmpty());
  EXPECT_EQ(outcome.status, ctl::ExitStatus::Done);
  EXPECT_EQ(outcome.errors, "");
}

TEST_F(AccountFindings, AreLinesThatCantBeRead) {
  passwd("cora:x:1002\n");
  group("pupils:x:many:\n");
  shadow("bob:*\n");
  EXPECT_THAT(findings(), ElementsAre("error /etc/passwd:4 the line has 3 fields instead of 7",
                                      "error /etc/group:5 group id \"many\" is not a number",
                                      "warning /etc/shadow:4 the line has 2 fields instead of 9"));
  EXPECT_EQ(outcome.status, ctl::ExitStatus::WrongUsage);
}

TEST_F(AccountFindings, AreNamesWithSomethingUnseenInThem) {
  passwd("co\xE2\x80\x8Bra:x:1002:1002::/:/bin/sh\n");
  shadow("co\xE2\x80\x8Bra:*:::::::\n");
  EXPECT_THAT(findings(),
              ElementsAre("error /etc/passwd:4 there is something unseen in the name cora",
                          "warning /etc/shadow:4 there is something unseen in the name cora"));
}

TEST_F(AccountFindings, AreNamesAndIdsThatTwoLinesShare) {
  passwd("ann:x:1002:1002::/:/bin/sh\ncora:x:1001:1001::/:/bin/sh\n");
  shadow("cora:*:::::::\nann:*:::::::\n");
  group("sudo:x:28:\nstaff:x:27:\n");
  EXPECT_THAT(
      findings(),
      ElementsAre("warning /etc/passwd:4 the second line of ann: only the first, line 2, counts",
                  "warning /etc/passwd:5 the user id 1001 of cora is also that of bob, line 3",
                  "warning /etc/group:5 the second line of sudo: only the first, line 2, counts",
                  "warning /etc/group:6 the group id 27 of staff is also that of sudo, line 2",
                  "warning /etc/shadow:5 the second line of ann: only the first, line 2, counts"));
  EXPECT_EQ(outcome.status, ctl::ExitStatus::No);
}

TEST_F(AccountFindings, AreAccountsWithoutALineOfTheirPassword) {
  passwd("cora:x:1002:1002::/:/bin/sh\n");
  EXPECT_THAT(findings(),
              ElementsAre("warning /etc/passwd:4 cora has no line in /etc/shadow, so that no "
                          "password fits"));
}

TEST_F(AccountFindings, AreHashesThatEverybodyCanRead) {
  passwd("cora:$6$salt$hash:1002:1002::/:/bin/sh\n");
  EXPECT_THAT(findings(), ElementsAre("error /etc/passwd:4 the password's hash of cora stands "
                                      "here, where everybody can read it"));
  EXPECT_THAT(outcome.output, testing::Not(HasSubstr("salt")));
}

TEST_F(AccountFindings, AreUserRecordsThatCantBeUsed) {
  machine.write("/etc/userdb/erin.user", "{");
  EXPECT_THAT(findings(), testing::Contains("error /etc/userdb/erin.user not JSON at byte 2"));
}

TEST_F(AccountFindings, AreUserRecordsOfAnotherAccountsId) {
  machine.write("/etc/userdb/erin.user", R"({"userName": "erin", "uid": 1001, "gid": 1001})");
  machine.write("/etc/userdb/bob.user", R"({"userName": "bob", "uid": 1007})");
  machine.write("/etc/userdb/fay.user",
                R"({"userName": "fay", "uid": 1008, "gid": 1008, "aliases": ["ann"]})");
  EXPECT_THAT(
      findings(),
      ElementsAre("error /etc/userdb/bob.user the user id 1007 is not that of /etc/passwd:3",
                  "warning /etc/userdb/erin.user the user id 1001 is that of bob in /etc/passwd:3",
                  "warning /etc/userdb/fay.user the alias ann is the name of another account, "
                  "/etc/passwd:2"));
}

TEST_F(AccountFindings, AreFilesThatArentThere) {
  machine.remove("/etc/group");
  EXPECT_THAT(findings(),
              testing::Contains("error /etc/group it can't be read: No such file or directory"));
}

}  // namespace
}  // namespace gatehall
