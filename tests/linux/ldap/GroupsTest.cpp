#include <atomic>

#include "linux/ldap/client/Connection.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"
#include "tests/linux/ldap/fixture/ScriptedServer.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

std::string guid(int number) {
  return "5F000000-0000-4000-8000-0000000000" + std::to_string(10 + number);
}

/// staff holds dana and the group teachers; teachers hold erin and the group heads; heads hold
/// frank and, again, staff.
Slapd& server() {
  static Slapd slapd([] {
    std::string ldif;
    ldif += ldifOf(LdifUser{"dana", 5000, 150, "Dana Fox", guid(0)});
    ldif += ldifOf(LdifUser{"erin", 5001, 150, "Erin Poe", guid(1)});
    ldif += ldifOf(LdifUser{"frank", 5002, 700, "Frank Ode", guid(2)});
    ldif += ldifOf(LdifUser{"gina", 5003, 150, "Gina Low", guid(3), "uid: gina.low\n"});
    ldif += ldifOf(LdifGroup{"staff",
                             100,
                             {"UID=Dana, DC=Example,dc=org", "cn=teachers, dc=example, dc=org",
                              userDN("ghost"), "cn=manager,dc=example,dc=org"},
                             {"ann", "gina"},
                             guid(10)});
    ldif += ldifOf(LdifGroup{"teachers", 200, {userDN("erin"), groupDN("heads")}, {}, guid(11)});
    ldif += ldifOf(LdifGroup{"heads", 300, {userDN("frank"), groupDN("staff")}, {}, guid(12)});
    ldif += ldifOf(LdifGroup{"alone", 400, {}, {}, guid(13)});
    ldif += ldifOf(LdifGroup{"frankly", 700, {userDN("dana")}, {}, guid(14)});
    return Slapd::Options{.ldif = ldif};
  }());
  return slapd;
}

class LdapGroups : public testing::Test {
 protected:
  explicit LdapGroups(std::string_view more = "") {
    machine.configure(LdapMachine::table("test", LdapMachine::quoted(server().uri()),
                                         "tls = \"off\"\n" + std::string(more)));
  }
  bool isIn(std::string_view group, const std::shared_ptr<DirectoryRecord>& member) {
    return machine.networkGroup(group)->isMember(*member);
  }
  LdapMachine machine;
};

class LdapGroupsByName : public LdapGroups {
 protected:
  LdapGroupsByName() : LdapGroups("[directory.groups]\nNestedGroups = \"memberUid\"\n") {}
};

}  // namespace

TEST_F(LdapGroups, ListTheNamesOfMembersHoweverTheyAreSpelled) {
  EXPECT_THAT(values(machine.networkGroup("staff"), "GroupMembership"),
              ElementsAre("ann", "gina", "dana"));
}

TEST_F(LdapGroups, ListTheGUIDsOfMembersAndOfNestedGroups) {
  const auto staff = machine.networkGroup("staff");
  EXPECT_THAT(values(staff, "GroupMembers"), UnorderedElementsAre(guid(0), guid(3)));
  EXPECT_EQ(values(staff, "NestedGroups"), Strings{guid(11)});
  EXPECT_EQ(values(machine.networkGroup("alone"), "NestedGroups"), Strings{guid(13)});
  EXPECT_THAT(values(machine.networkGroup("alone"), "GroupMembership"), IsEmpty());
}

TEST_F(LdapGroups, LookTheMembersOfManyGroupsUpAtOnce) {
  machine.node();
  const auto before = ldap::Connection::searchesSent();
  const auto found = machine.node()
                         ->query({{"Groups"},
                                  "RecordName",
                                  MatchType::EqualTo,
                                  {"staff", "teachers", "heads", "frankly"},
                                  {"NestedGroups"},
                                  0})
                         ->results(false);
  ASSERT_EQ(found->size(), 4U);
  Strings nested;
  for (const auto& group : *found) {
    for (const auto& each : values(group, "NestedGroups")) nested.push_back(each);
    EXPECT_THAT(values(group, "GroupMembership"), testing::Not(IsEmpty()));
  }
  EXPECT_THAT(nested, UnorderedElementsAre(guid(10), guid(11), guid(12)));
  EXPECT_EQ(ldap::Connection::searchesSent() - before, 4U)
      << "the groups, names, those of nobody by themselves, primary groups";
}

TEST(LdapNestedGroups, AreListedOnceHoweverTheGroupNamesThem) {
  const Slapd slapd(
      {.ldif = ldifOf(LdifGroup{"teachers", 200, {}, {}, guid(11)}) +
               ldifOf(LdifGroup{"staff", 100, {groupDN("teachers")}, {"teachers"}, guid(10)})});
  LdapMachine machine;
  machine.configure(
      LdapMachine::table("test", LdapMachine::quoted(slapd.uri()),
                         "tls = \"off\"\n[directory.groups]\nNestedGroups = \"memberUid\"\n"));
  EXPECT_EQ(values(machine.networkGroup("staff"), "NestedGroups"), Strings{guid(11)});
}

TEST_F(LdapGroups, HaveMembersAtAnyDepthAndInCircles) {
  const auto dana = machine.networkUser("dana");
  const auto frank = machine.networkUser("frank");
  EXPECT_TRUE(isIn("staff", dana));
  EXPECT_TRUE(isIn("heads", dana)) << "staff is in heads";
  EXPECT_TRUE(isIn("staff", frank)) << "by teachers, by heads";
  EXPECT_TRUE(isIn("teachers", frank));
  EXPECT_FALSE(isIn("alone", frank));
  EXPECT_FALSE(isIn("staff", machine.networkGroup("alone")));
  EXPECT_TRUE(isIn("staff", machine.networkGroup("heads")));
  EXPECT_FALSE(dana->isMember(*frank));
}

TEST_F(LdapGroups, TakeAPrimaryGroupForAMembership) {
  EXPECT_TRUE(isIn("frankly", machine.networkUser("frank")));
  EXPECT_FALSE(isIn("frankly", machine.networkUser("erin")));
}

TEST_F(LdapGroups, ListThoseWhosePrimaryGroupTheyAre) {
  const auto frankly = machine.networkGroup("frankly");
  const auto before = ldap::Connection::searchesSent();
  EXPECT_THAT(values(frankly, "GroupMembership"), UnorderedElementsAre("dana", "frank"));
  EXPECT_THAT(values(frankly, "GroupMembers"), UnorderedElementsAre(guid(0), guid(2)));
  EXPECT_EQ(ldap::Connection::searchesSent() - before, 2U) << "for the names and for the group id";
}

TEST_F(LdapGroups, OfTheMachineHoldThoseWhosePrimaryGroupTheyAre) {
  machine.write("/etc/group", "helpers:x:150:ann\nsudo:x:150:\nempty:x:4000:\n");
  EXPECT_THAT(values(machine.group("helpers"), "GroupMembership"),
              UnorderedElementsAre("ann", "dana", "erin", "gina"));
  EXPECT_THAT(values(machine.group("empty"), "GroupMembership"), IsEmpty());
  EXPECT_THAT(values(machine.group("admin"), "GroupMembership"), ElementsAre("root"));
}

TEST(LdapGroupsOfActiveDirectory, HoldThoseWhosePrimaryGroupTheyAre) {
  const auto sid = [](char domain, char number) {
    return std::string("\x01\x02\0\0\0\0\0\x05", 8) + std::string({domain, 0, 0, 0}) +
           std::string({number, 2, 0, 0});
  };
  const auto user = [&](const std::string& name, char domain, const std::string& primary) {
    return ber::entry("CN=" + name + ",DC=example,DC=org",
                      {{"objectClass", {"user"}},
                       {"sAMAccountName", {name}},
                       {"uidNumber", {"500" + std::to_string(name.size())}},
                       {"objectGUID", {name + std::string(16 - name.size(), 'x')}},
                       {"objectSid", {sid(domain, 9)}},
                       {"primaryGroupID", {primary}}});
  };
  const auto group = ber::entry("CN=Staff,DC=example,DC=org", {{"objectClass", {"group"}},
                                                               {"sAMAccountName", {"Staff"}},
                                                               {"objectGUID", {"0123456789abcdef"}},
                                                               {"objectSid", {sid(7, 1)}}});
  std::atomic<bool> asksForSid = false;
  ScriptedServer server([&](ScriptedServer::Peer& peer) {
    peer.serve([&](const ScriptedServer::Request& request) {
      if (request.content.find(sid(7, 1)) != std::string::npos) asksForSid = true;
      std::string bytes;
      for (const auto& each :
           {user("ina", 7, "513"), user("jo", 7, "514"), user("stranger", 8, "513"), group}) {
        bytes += ber::message(request.id, each);
      }
      return peer.write(bytes + ber::message(request.id, ber::result(ber::kSearchDone, 0)));
    });
  });
  LdapMachine machine;
  machine.configure("[[directory]]\nname = \"test\"\nservers = [\"" + server.uri() +
                    "\"]\nbase = \"DC=example,DC=org\"\nprofile = \"active-directory\"\n"
                    "tls = \"off\"\n" +
                    LdapMachine::kNoHurry);
  const auto staff = machine.networkGroup("Staff");
  ASSERT_NE(staff, nullptr);
  EXPECT_THAT(values(staff, "GroupMembership"), ElementsAre("ina"));
  EXPECT_TRUE(staff->isMember(*machine.networkUser("ina")));
  EXPECT_TRUE(asksForSid);
  EXPECT_FALSE(staff->isMember(*machine.networkUser("jo")));
  EXPECT_FALSE(staff->isMember(*machine.networkUser("stranger"))) << "of another domain";
}

TEST_F(LdapGroups, MeanAnyUserOfTheMachineByALoginName) {
  EXPECT_TRUE(isIn("staff", machine.user("ann")));
  EXPECT_TRUE(isIn("heads", machine.user("ann")));
  EXPECT_FALSE(isIn("alone", machine.user("ann")));
  machine.write("/etc/passwd", "dana:x:1:1::/:/bin/sh\n");
  EXPECT_FALSE(isIn("frankly", machine.user("dana"))) << "it lists another dana by DN";
}

TEST_F(LdapGroupsByName, AreNestedByShortNamesToo) {
  server().modify(
      "dn: cn=alone,dc=example,dc=org\nchangetype: modify\nadd: memberUid\nmemberUid: heads\n");
  const auto alone = machine.networkGroup("alone");
  EXPECT_EQ(values(alone, "NestedGroups"), (Strings{guid(13), guid(12)}));
  EXPECT_TRUE(isIn("alone", machine.networkUser("frank")));
  server().modify(
      "dn: cn=alone,dc=example,dc=org\nchangetype: modify\ndelete: memberUid\nmemberUid: heads\n");
}

TEST(LdapBases, MayBeOneForUsersAndOneForGroups) {
  const Slapd slapd(
      {.ldif = "dn: ou=people,dc=example,dc=org\nobjectClass: organizationalUnit\nou: people\n\n"
               "dn: ou=groups,dc=example,dc=org\nobjectClass: organizationalUnit\nou: groups\n\n"
               "dn: uid=dana,ou=people,dc=example,dc=org\nobjectClass: account\n"
               "objectClass: posixAccount\nuid: dana\ncn: Dana\nuidNumber: 5000\ngidNumber: 1\n"
               "homeDirectory: /\n\n"
               "dn: uid=stray,dc=example,dc=org\nobjectClass: account\n"
               "objectClass: posixAccount\nuid: stray\ncn: Stray\nuidNumber: 5001\ngidNumber: 1\n"
               "homeDirectory: /\n\n"
               "dn: cn=all,ou=groups,dc=example,dc=org\nobjectClass: posixGroup\ncn: all\n"
               "gidNumber: 1\nmemberUid: dana\nmemberUid: stray\n\n",
       .isRfc2307bis = false});
  LdapMachine machine;
  machine.configure("[[directory]]\nname = \"test\"\nservers = [\"" + slapd.uri() +
                    "\"]\ntls = \"off\"\nusers-base = \"ou=people,dc=example,dc=org\"\n"
                    "groups-base = \"ou=groups,dc=example,dc=org\"\n");
  EXPECT_THAT(machine.allNetworkUsers(), ElementsAre("dana"));
  EXPECT_THAT(machine.groupNames("RecordName", MatchType::EqualTo, {"all"}), ElementsAre("all"));
  const auto guidOfAll = values(machine.networkGroup("all"), "GUID").front();
  const auto guidOfDana = values(machine.networkUser("dana"), "GUID").front();
  EXPECT_THAT(machine.namesAt(*machine.node(), {"Users", "Groups"}, "GUID", MatchType::EqualTo,
                              {guidOfAll, guidOfDana}),
              ElementsAre("dana", "all"));
  EXPECT_EQ(values(machine.networkGroup("all"), "GroupMembers"), Strings{guidOfDana});
  EXPECT_TRUE(machine.networkGroup("all")->isMember(*machine.networkUser("dana")));
}

}  // namespace gatehall
