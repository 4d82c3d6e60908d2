#include <gmock/gmock.h>
#include <unistd.h>

#include "tests/linux/Machine.h"

namespace gatehall {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::string_view kFile = "/etc/gatehall/directory.toml";

class LocalSettingsFile : public testing::Test {
 protected:
  LocalSettingsFile() {
    machine.write("/etc/passwd",
                  "root:x:0:0::/root:/bin/sh\n"
                  "ann:x:1000:1000::/home/ann:/bin/sh\n"
                  "gus:x:1003:1003::/home/gus:/bin/sh\n"
                  "guest:x:1004:1004::/home/guest:/bin/sh\n"
                  "guest-x7k2p9:x:998:998:Guest:/tmp/guest-x7k2p9:/bin/sh\n"
                  "guest-house:x:1005:1005::/home/guest-house:/bin/sh\n");
    machine.write("/etc/group", "sudo:x:27:ann\nchiefs:x:70:gus\n");
  }
  Strings admins() { return values(machine.group("admin"), "GroupMembership"); }
  Strings guests() {
    return machine.names("Users", "lxAttrTypeNative:_guest", MatchType::EqualTo, {"1"});
  }
  Machine machine;
};

}  // namespace

TEST_F(LocalSettingsFile, NeedNotExist) {
  EXPECT_THAT(admins(), ElementsAre("root", "ann"));
  EXPECT_THAT(guests(), ElementsAre("guest", "guest-x7k2p9"));
  EXPECT_FALSE(machine.user("ann")->valuesForAttribute("lxAttrTypeNative:_guest"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LocalSettingsFile, NamesAdministratorsGroupsAndGuests) {
  machine.write(kFile,
                "[[directory]]\nname = \"example\"\nservers = [\"ldaps://ldap.example.org\"]\n"
                "base = \"dc=example,dc=org\"\n"
                "[local]\nadmin-groups = [\"chiefs\"]\nguests = [\"gus\", \"guest-h*\"]\n");
  EXPECT_THAT(admins(), ElementsAre("root", "gus"));
  EXPECT_THAT(guests(), ElementsAre("gus", "guest-house"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LocalSettingsFile, MayLeaveOutWhatStaysAsItIs) {
  machine.write(kFile, "[local]\nguests = []\n");
  EXPECT_THAT(admins(), ElementsAre("root", "ann"));
  EXPECT_THAT(guests(), IsEmpty());
}

TEST_F(LocalSettingsFile, ThatIsWrittenWrongMakesNobodyAnAdministratorAndTheLogSaysWhere) {
  machine.write(kFile, "[local]\n\nadmin-groups = [\"sudo\"\nguests = 1\n");
  EXPECT_THAT(admins(), ElementsAre("root"));
  EXPECT_THAT(guests(), IsEmpty());
  ASSERT_EQ(machine.log.lines().size(), 1U);
  EXPECT_THAT(machine.log.lines().front(), HasSubstr("/etc/gatehall/directory.toml:4: "));
}

TEST_F(LocalSettingsFile, WithAMarkWhereANameBelongsIsOneThatIsWrittenWrong) {
  machine.write(kFile, "[local]\n[!node]\n");
  EXPECT_THAT(admins(), ElementsAre("root"));
  ASSERT_EQ(machine.log.lines().size(), 1U);
  EXPECT_THAT(machine.log.lines().front(), HasSubstr("/etc/gatehall/directory.toml:2: "));
}

TEST_F(LocalSettingsFile, WithAWrongValueLosesThatValueAndTheLogSaysWhere) {
  machine.write(kFile, "[local]\nadmin-groups = \"sudo\"\nguests = [\"gus\",\n 3]\nextra = 1\n");
  EXPECT_THAT(admins(), ElementsAre("root"));
  EXPECT_THAT(guests(), IsEmpty());
  EXPECT_THAT(
      machine.log.lines(),
      testing::UnorderedElementsAre(
          "/etc/gatehall/directory.toml:2: local.admin-groups is not a list of names",
          "/etc/gatehall/directory.toml:4: local.guests is not a list of names",
          "/etc/gatehall/directory.toml:5: local.extra is not a setting; did you mean guests?"));
  machine.write(kFile, "local = 1\n");
  EXPECT_THAT(admins(), ElementsAre("root"));
}

TEST_F(LocalSettingsFile, ThatOthersCanWriteMakesNobodyAnAdministrator) {
  machine.write(kFile, "[local]\nadmin-groups = [\"chiefs\"]\n");
  ASSERT_EQ(chmod(machine.path(kFile).c_str(), 0664), 0);
  EXPECT_THAT(admins(), ElementsAre("root"));
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("/etc/gatehall/directory.toml: ignored: others than its owner can write "
                          "it"));
}

TEST_F(LocalSettingsFile, ThatIsNotRootsMakesNobodyAnAdministrator) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root can give files to others.";
  machine.write(kFile, "[local]\nadmin-groups = [\"chiefs\"]\n");
  ASSERT_EQ(chown(machine.path(kFile).c_str(), 65534, 65534), 0);
  EXPECT_THAT(admins(), ElementsAre("root"));
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("/etc/gatehall/directory.toml: ignored: it belongs to user 65534"));
}

TEST_F(LocalSettingsFile, ThatIsNoFileMakesNobodyAnAdministrator) {
  std::filesystem::create_directories(machine.path(kFile));
  EXPECT_THAT(admins(), ElementsAre("root"));
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("/etc/gatehall/directory.toml: ignored: it is no regular file"));
}

}  // namespace gatehall
