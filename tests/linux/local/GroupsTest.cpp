#include <gmock/gmock.h>

#include "tests/linux/Machine.h"

namespace gatehall {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

class LocalGroups : public testing::Test {
 protected:
  LocalGroups() {
    machine.write("/etc/passwd",
                  "root:x:0:0::/root:/bin/sh\n"
                  "ann:x:1000:1000::/home/ann:/bin/sh\n"
                  "bob:x:1001:50::/home/bob:/bin/sh\n"
                  "carol:x:1002:1002::/home/carol:/bin/sh\n"
                  "gus:x:1003:27::/home/gus:/bin/sh\n");
    machine.write("/etc/group",
                  "root:x:0:\n"
                  "sudo:x:27:ann\n"
                  "staff:x:50:carol,ann,stranger,carol\n"
                  "empty:x:60:\n"
                  "twin:x:50:\n");
  }

  bool isMember(std::string_view group, std::string_view user) {
    return machine.group(group)->isMember(*machine.user(user));
  }

  Machine machine;
};

/// An account of some other directory.
class Stranger final : public DirectoryRecord {
 public:
  Stranger(Strings names, std::string groupID)
      : mNames(std::move(names)), mGroupID(std::move(groupID)) {}
  Stranger(std::string name, std::string groupID)
      : Stranger(Strings{std::move(name)}, std::move(groupID)) {}
  std::string recordType() override { return "Users"; }
  std::optional<Strings> valuesForAttribute(std::string_view kind) override {
    if (kind == attribute::RecordName) return mNames;
    if (kind == attribute::PrimaryGroupID) return Strings{mGroupID};
    if (kind == attribute::MetaNodeLocation) return Strings{"ldap/example"};
    return std::nullopt;
  }
  std::optional<Dictionary> recordDetails(const Strings&) override { return std::nullopt; }
  bool setValue(std::string_view, std::string_view) override { return false; }
  bool verifyPassword(std::string_view, DirectoryError&) override { return false; }
  bool changePassword(std::string_view, std::string_view, DirectoryError&) override {
    return false;
  }
  bool isMember(DirectoryRecord&) override { return false; }
  std::optional<Dictionary> passwordPolicy() override { return std::nullopt; }
  bool synchronize() override { return true; }

 private:
  Strings mNames;
  std::string mGroupID;
};

}  // namespace

TEST_F(LocalGroups, HaveTheFirstOfTwoAccountsOfOneNameForAMember) {
  const auto bob = values(machine.user("bob"), "GUID");
  machine.write("/etc/passwd",
                "bob:x:1001:50::/home/bob:/bin/sh\n"
                "bob:x:2001:50::/home/bob:/bin/sh\n");
  machine.write("/etc/group", "staff:x:50:bob\n");
  EXPECT_EQ(values(machine.user("bob"), "GUID"), bob);
  EXPECT_EQ(values(machine.group("staff"), "GroupMembers"), bob);
}

TEST_F(LocalGroups, AreThoseOfTheFileAndAdmin) {
  EXPECT_THAT(machine.allGroups(), ElementsAre("root", "sudo", "staff", "empty", "twin", "admin"));
  EXPECT_THAT(machine.names("Groups", "PrimaryGroupID", MatchType::EqualTo, {"50"}),
              ElementsAre("staff", "twin"));
  EXPECT_THAT(machine.names("Groups", "RecordName", MatchType::EqualTo, {"staff", "admin"}),
              ElementsAre("staff", "admin"));
  EXPECT_THAT(machine.names("Groups", "RecordName", MatchType::ContainsIgnoringCase, {"ST"}),
              ElementsAre("staff"));
  EXPECT_THAT(machine.names("Groups", "RecordName", MatchType::EqualTo, {"lxRecordsAll"}, 2),
              ElementsAre("root", "sudo"));
  EXPECT_FALSE(machine.group("nobody"));
}

TEST_F(LocalGroups, HaveTheirValues) {
  const auto staff = machine.group("staff");
  EXPECT_EQ(staff->recordType(), "Groups");
  EXPECT_THAT(values(staff, "RecordName"), ElementsAre("staff"));
  EXPECT_THAT(values(staff, "PrimaryGroupID"), ElementsAre("50"));
  EXPECT_THAT(values(staff, "MetaNodeLocation"), ElementsAre("local"));
  EXPECT_FALSE(staff->valuesForAttribute("NestedGroups"));
  EXPECT_FALSE(staff->setValue("ann", "GroupMembership"));
  const auto guid = values(staff, "GUID");
  ASSERT_EQ(guid.size(), 1U);
  EXPECT_THAT(machine.names("Groups", "GUID", MatchType::EqualTo, guid),
              ElementsAre("staff", "twin"));
  EXPECT_NE(guid, values(machine.user("bob"), "GUID"));
}

TEST_F(LocalGroups, HoldThoseListedOnceThenThoseWhosePrimaryGroupTheyAre) {
  EXPECT_THAT(values(machine.group("staff"), "GroupMembership"),
              ElementsAre("carol", "ann", "stranger", "bob"));
  EXPECT_THAT(values(machine.group("staff"), "GroupMembers"),
              ElementsAre(values(machine.user("carol"), "GUID").front(),
                          values(machine.user("ann"), "GUID").front(),
                          values(machine.user("bob"), "GUID").front()));
  EXPECT_FALSE(machine.group("empty")->valuesForAttribute("GroupMembership"));
}

TEST_F(LocalGroups, AgreeOnTheirMembersWhicheverWayTheyAreAsked) {
  for (const auto& group : machine.find("Groups", "RecordName", MatchType::EqualTo,
                                        {"lxRecordsAll"}, {"GroupMembership"})) {
    const auto name = values(group, "RecordName").front();
    EXPECT_EQ(values(group, "GroupMembership"), values(machine.group(name), "GroupMembership"));
    for (const auto& user :
         machine.find("Users", "RecordName", MatchType::EqualTo, {"lxRecordsAll"})) {
      const auto userName = values(user, "RecordName").front();
      const auto members = values(group, "GroupMembership");
      EXPECT_EQ(group->isMember(*user),
                std::find(members.begin(), members.end(), userName) != members.end())
          << userName << " in " << name;
    }
  }
  EXPECT_THAT(machine.names("Groups", "GroupMembership", MatchType::EqualTo, {"ann"}),
              ElementsAre("sudo", "staff", "admin"));
}

TEST_F(LocalGroups, HaveNoGroupsAsMembers) {
  EXPECT_FALSE(machine.group("staff")->isMember(*machine.group("staff")));
  EXPECT_FALSE(machine.user("ann")->isMember(*machine.user("ann")));
}

TEST_F(LocalGroups, AdminHoldsRootAndTheMembersOfTheAdministratorsGroups) {
  const auto admin = machine.group("admin");
  EXPECT_THAT(values(admin, "GroupMembership"), ElementsAre("root", "ann", "gus"));
  EXPECT_FALSE(admin->valuesForAttribute("PrimaryGroupID"));
  EXPECT_TRUE(isMember("admin", "root"));
  EXPECT_TRUE(isMember("admin", "ann"));
  EXPECT_TRUE(isMember("admin", "gus"));
  EXPECT_FALSE(isMember("admin", "carol"));
  const auto guid = values(admin, "GUID");
  EXPECT_EQ(guid.size(), 1U);
  EXPECT_EQ(guid, values(machine.group("admin"), "GUID"));
}

TEST_F(LocalGroups, AdminTakesTheGroupIDOfAGroupOfThatName) {
  machine.write("/etc/group", "admin:x:80:carol\nwheel:x:10:bob\nstaff:x:50:\n");
  EXPECT_THAT(machine.allGroups(), ElementsAre("wheel", "staff", "admin"));
  EXPECT_THAT(values(machine.group("admin"), "PrimaryGroupID"), ElementsAre("80"));
  EXPECT_THAT(machine.names("Groups", "PrimaryGroupID", MatchType::EqualTo, {"80"}),
              ElementsAre("admin"));
  EXPECT_THAT(values(machine.group("admin"), "GroupMembership"),
              ElementsAre("root", "carol", "bob"));
  EXPECT_THAT(
      machine.names("Groups", "GUID", MatchType::EqualTo, values(machine.group("admin"), "GUID")),
      ElementsAre("admin"));
}

TEST_F(LocalGroups, CountAnAccountFromElsewhereUnlessItsNameIsALocalAccounts) {
  Stranger stranger("stranger", "7");
  Stranger namesake("ann", "7");
  Stranger root("root", "7");
  Stranger byGroup("other", "27");
  EXPECT_TRUE(machine.group("staff")->isMember(stranger));
  EXPECT_FALSE(machine.group("staff")->isMember(namesake));
  EXPECT_FALSE(machine.group("admin")->isMember(root));
  EXPECT_FALSE(machine.group("admin")->isMember(byGroup)) << "its directory says so alone";
  EXPECT_TRUE(machine.group("sudo")->isMember(byGroup)) << "as any other list has it";
  machine.write("/etc/group", "sudo:x:27:stranger\n");
  EXPECT_TRUE(machine.group("admin")->isMember(stranger)) << "the group file says so";
}

TEST_F(LocalGroups, CountAnAccountFromElsewhereByItsLoginNameAlone) {
  Stranger second(Strings{"other", "stranger"}, "7");
  Stranger first(Strings{"stranger", "other"}, "7");
  Stranger behindLocal(Strings{"ann", "stranger"}, "7");
  EXPECT_FALSE(machine.group("staff")->isMember(second));
  EXPECT_TRUE(machine.group("staff")->isMember(first));
  EXPECT_FALSE(machine.group("staff")->isMember(behindLocal));
}

TEST_F(LocalGroups, AreReadAgainWhenSynchronized) {
  const auto staff = machine.group("staff");
  EXPECT_EQ(values(staff, "GroupMembership").size(), 4U);
  machine.write("/etc/group", "staff:x:51:ann\n");
  EXPECT_TRUE(staff->synchronize());
  EXPECT_THAT(values(staff, "GroupMembership"), ElementsAre("ann"));
  EXPECT_THAT(values(staff, "PrimaryGroupID"), ElementsAre("51"));
  machine.write("/etc/group", "");
  EXPECT_FALSE(staff->synchronize());
  EXPECT_TRUE(machine.group("admin")->synchronize());
}

TEST_F(LocalGroups, AreNotDeniedToExistWhenTheirLineCanNotBeRead) {
  const auto named = [&](const std::string& name) {
    return machine.names("Groups", "RecordName", MatchType::EqualTo, {name});
  };
  machine.write("/etc/group",
                "torn:x:900\nfine:x:901:ann\nhuge:x:4294967295:ann\n"
                "twice:x:one:\ntwice:x:902:\nadmin:x:no:\n");
  EXPECT_THROW(named("torn"), PlatformException);
  EXPECT_THROW(named("huge"), PlatformException);
  EXPECT_THAT(named("fine"), ElementsAre("fine"));
  EXPECT_THAT(named("twice"), ElementsAre("twice")) << "as for getgrnam(3)";
  EXPECT_THAT(named("admin"), ElementsAre("admin"));
  EXPECT_THAT(named("none"), IsEmpty());
}

TEST_F(LocalGroups, AreNotDeniedToExistWhenTheirNameHasSomethingUnseenAroundIt) {
  const auto asked = [&](const std::string& lines) -> std::string {
    machine.write("/etc/group", "root:x:0:\n" + lines + "\nstaff:x:50:ann\n");
    try {
      EXPECT_TRUE(machine.group("staff")) << "what can be read is found";
      return machine.group("gatehall-access") ? "found" : "absent";
    } catch (const PlatformException& error) {
      return error.what();
    }
  };
  const std::string unseen =
      "/etc/group:2: the line of gatehall-access: there is something unseen in it";
  EXPECT_EQ(asked("gatehall-access:x:990:ann"), "found");
  EXPECT_EQ(asked("gatehall-access:x:990:ann\r"), "found");
  for (const auto& noise :
       {" "s, "\t"s, "\r"s, "\xEF\xBB\xBF"s, "\xE2\x80\x8B"s, "\xC2\xA0"s, "\x01"s}) {
    EXPECT_EQ(asked(noise + "gatehall-access:x:990:ann"), unseen);
    EXPECT_EQ(asked("gatehall-access" + noise + ":x:990:ann"), unseen);
  }
  EXPECT_EQ(asked("gatehall\0-access:x:990:ann"s),
            "/etc/group:2: the line of gatehall-access: the line holds a NUL byte");
  EXPECT_EQ(asked(" gatehall-access:x:990:ann\ngatehall-access:x:991:bob"), "found");
  for (const auto& line : {"gatehall-access-2:x:990:ann"s, "#gatehall-access:x:990:ann"s,
                           " # gatehall-access:x:990:ann"s, "+gatehall-access"s, "+"s, " \t"s,
                           "\xEF\xBB\xBF# groups"s, "Gatehall-Access:x:990:ann"s}) {
    EXPECT_EQ(asked(line), "absent") << line;
  }
}

TEST_F(LocalGroups, AreNotDeniedToExistWhileALineCanNotBeToldFromTheirs) {
  for (const auto& line :
       {":x:990:ann"s, "gatehall access"s, " :x:990:ann"s, "atehall-access"s,
        "other:x:50:annJgatehall-access:x:990:ann"s, "other:x:50:ann\rgatehall-access:x:990:ann"s,
        "other:x:50:ann\0gatehall-access:x:990:ann"s}) {
    machine.write("/etc/group", "sudo:x:27:ann\n" + line + "\nstaff:x:50:ann\n");
    EXPECT_THROW(machine.group("gatehall-access"), PlatformException) << line;
    EXPECT_TRUE(machine.group("staff")) << line;
    EXPECT_TRUE(machine.group("admin")) << line;
    EXPECT_TRUE(isMember("admin", "ann")) << "an administrator's groups can be read";
  }
}

TEST_F(LocalGroups, AreNotDeniedToExistByIDOrGUIDWhenTheirLineCanNotBeRead) {
  const auto guid = values(machine.group("staff"), "GUID");
  const auto byID = [&](const char* id) {
    return machine.names("Groups", "PrimaryGroupID", MatchType::EqualTo, {id});
  };
  const auto byGUID = [&] { return machine.names("Groups", "GUID", MatchType::EqualTo, guid); };
  machine.write("/etc/group", "staff:x:50\nother:x:51:\n");
  EXPECT_THROW(byID("50"), PlatformException);
  EXPECT_THROW(byGUID(), PlatformException);
  EXPECT_THAT(byID("51"), ElementsAre("other"));
  EXPECT_THAT(byID("52"), IsEmpty());
  machine.write("/etc/group", "staff:x:5O:\nother:x:51:\n");
  EXPECT_THROW(byID("50"), PlatformException);
  EXPECT_THROW(byGUID(), PlatformException);
  EXPECT_THAT(byID("51"), ElementsAre("other"));
  machine.write("/etc/group", "huge:x:4294967296:\nstaff:x:50:\n");
  EXPECT_THAT(byGUID(), ElementsAre("staff"));
  EXPECT_THAT(byID("52"), IsEmpty()) << "a number that is another";
}

TEST_F(LocalGroups, AreAFailureWhenALineIsTooLongToTellWhichGroupItIs) {
  machine.write("/etc/group", "first:x:1:\nlong:x:2:" + std::string(17U << 20U, 'a') + "\n");
  EXPECT_THROW(machine.names("Groups", "RecordName", MatchType::EqualTo, {"long"}),
               PlatformException);
}

TEST_F(LocalGroups, AreFoundTogetherWithUsersAfterThem) {
  Strings guids = values(machine.group("empty"), "GUID");
  guids.push_back(values(machine.user("bob"), "GUID").front());
  const auto found = *machine.search()
                          ->query({{"Users", "Groups"}, "GUID", MatchType::EqualTo, guids, {}, 0})
                          ->results(false);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(values(found[0], "RecordName").front(), "bob");
  EXPECT_EQ(values(found[1], "RecordName").front(), "empty");
}

}  // namespace gatehall
