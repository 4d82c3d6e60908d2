#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "linux/files/HostOptions.h"
#include "linux/local/AccountAtDoor.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

constexpr std::string_view kConfiguration = "/etc/gatehall/directory.toml";

class AccountAtDoorTest : public testing::Test {
 protected:
  AccountAtDoorTest() {
    machine.write("/etc/passwd",
                  "root:x:0:0::/root:/bin/sh\n"
                  "ann:x:1000:1000::/home/ann:/bin/sh\n"
                  "bob:x:1001:1001::/home/bob:/bin/sh\n"
                  "gus:x:1003:27::/home/gus:/bin/sh\n"
                  "chief:x:1004:1004::/home/chief:/bin/sh\n");
    machine.write("/etc/group", "sudo:x:27:phantom,ann\nchiefs:x:70:chief\nusers:x:100:bob\n");
  }
  AccountAtDoor account(const std::string& name) {
    return accountAtDoor(machine.options, machine.log, name);
  }
  bool isAdministrator(const std::string& name) { return account(name).isLocalAdministrator; }
  Machine machine;
};

TEST_F(AccountAtDoorTest, HasTheUserIDOfItsLine) {
  EXPECT_EQ(account("ann").userID, 1000U);
  EXPECT_EQ(account("ann").userName, "ann");
  EXPECT_EQ(account("root").userID, 0U);
  EXPECT_FALSE(account("nobody-here").userID);
}

TEST_F(AccountAtDoorTest, IsAnAdministratorByTheGroupFileAlone) {
  EXPECT_TRUE(isAdministrator("ann"));
  EXPECT_TRUE(isAdministrator("gus")) << "whose primary group it is";
  EXPECT_TRUE(isAdministrator("root"));
  EXPECT_FALSE(isAdministrator("bob"));
  EXPECT_FALSE(isAdministrator("chief"));
  EXPECT_FALSE(isAdministrator("phantom")) << "who has no account here";
}

TEST_F(AccountAtDoorTest, IsAnAdministratorOfTheConfiguredGroups) {
  machine.write(kConfiguration, "[local]\nadmin-groups = [\"chiefs\"]\n");
  EXPECT_TRUE(isAdministrator("chief"));
  EXPECT_FALSE(isAdministrator("ann"));
  machine.write(kConfiguration, "[local]\nadmin-groups = []\n");
  EXPECT_FALSE(isAdministrator("ann"));
}

TEST_F(AccountAtDoorTest, IsAnAdministratorOfTheUsualGroupsWhereTheConfigurationIsDamaged) {
  for (const auto* damaged : {"[local\n", "local = 1\n", "[local]\nadmin-groups = \"chiefs\"\n"}) {
    machine.write(kConfiguration, damaged);
    EXPECT_TRUE(isAdministrator("ann")) << damaged;
    EXPECT_FALSE(isAdministrator("bob")) << damaged;
  }
}

TEST_F(AccountAtDoorTest, IsFoundBesideLinesThatCantBeRead) {
  machine.write("/etc/passwd", "broken\n\xff:x\nann:x:1000:1000::/home/ann:/bin/sh\n");
  machine.write("/etc/group", "gatehall-access\nsudo:x:twenty:bob\nsudo:x:27:ann\n");
  EXPECT_TRUE(isAdministrator("ann"));
}

TEST_F(AccountAtDoorTest, IsNobodyWhereTheFilesAreGone) {
  machine.remove("/etc/passwd");
  EXPECT_FALSE(account("ann").userID);
  machine.write("/etc/passwd", "ann:x:1000:1000::/home/ann:/bin/sh\n");
  machine.remove("/etc/group");
  EXPECT_EQ(account("ann").userID, 1000U);
  EXPECT_FALSE(isAdministrator("ann"));
}

}  // namespace
}  // namespace gatehall
