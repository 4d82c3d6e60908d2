#include <algorithm>
#include <atomic>

#include "linux/ldap/client/Connection.h"
#include "tests/linux/ldap/fixture/LdapFaults.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A server that keeps the users below another base than the groups.
std::string basesOf(const std::string& uri) {
  return "[[directory]]\nname = \"test\"\nservers = [\"" + uri +
         "\"]\ntls = \"off\"\nprofile = \"rfc2307bis\"\n"
         "users-base = \"ou=people,dc=example,dc=org\"\n"
         "groups-base = \"ou=groups,dc=example,dc=org\"\n" +
         LdapMachine::kNoHurry;
}

std::string unit(const std::string& name) {
  return "dn: ou=" + name + ",dc=example,dc=org\nobjectClass: organizationalUnit\nou: " + name +
         "\n\n";
}

std::string group(const std::string& name, const Strings& members) {
  auto text = "dn: cn=" + name + ",ou=groups,dc=example,dc=org\nobjectClass: groupOfNames\n" +
              "objectClass: posixGroup\ncn: " + name + "\ngidNumber: 1\n";
  for (const auto& member : members) text += "member: " + member + "\n";
  return text + "\n";
}

Strings nobodies(int count) {
  Strings names;
  for (int number = 0; number < count; ++number) {
    names.push_back("uid=nobody" + std::to_string(number) + ",ou=people,dc=example,dc=org");
  }
  return names;
}

/// The base of a search request.
std::string baseOf(const Request& request) {
  const auto length = static_cast<std::uint8_t>(request.content.at(1));
  return length < 0x80 ? request.content.substr(2, length) : "";
}

}  // namespace

TEST(LdapMemberNames, OutsideOfTheBasesMeanNobodyAndCostNoSearchEach) {
  const Slapd slapd({.ldif = unit("people") + unit("groups") + ldifOf(LdifUser{"stray", 5001}) +
                             group("strays", {userDN("stray")}) + group("gone", nobodies(300))});
  LdapMachine machine;
  machine.configure(basesOf(slapd.uri()));
  const auto strays = machine.networkGroup("strays");
  const auto gone = machine.networkGroup("gone");
  auto before = ldap::Connection::searchesSent();
  EXPECT_THAT(values(strays, "GroupMembership"), IsEmpty());
  EXPECT_EQ(ldap::Connection::searchesSent() - before, 4U)
      << "one tries whether names are compared, one finds whose primary group it is";
  before = ldap::Connection::searchesSent();
  EXPECT_THAT(values(gone, "GroupMembership"), IsEmpty());
  EXPECT_EQ(ldap::Connection::searchesSent() - before, 2U)
      << "which is remembered, as the group id is";
}

TEST(LdapMemberNames, AreTheServersToCompare) {
  const Slapd slapd(
      {.ldif = ldifOf(LdifUser{"\u00C4nne", 5001}) + ldifOf(LdifUser{"ina lee", 5002}) +
               ldifOf(LdifGroup{"own", 104, {userDN("\u00C4nne"), userDN("ghost")}}) +
               ldifOf(LdifGroup{"case", 101, {userDN("\u00E4NNE")}}) +
               ldifOf(LdifGroup{"space", 102, {userDN("ina  lee"), userDN("ghost")}}) +
               ldifOf(LdifGroup{"type", 103, {"userid=ina lee,dc=example,dc=org"}})});
  const auto table = LdapMachine::table("test", LdapMachine::quoted(slapd.uri()));
  const auto expectMembers = [](LdapMachine& machine) {
    const auto membersOf = [&](const char* group) {
      return values(machine.networkGroup(group), "GroupMembership");
    };
    for (int time = 0; time < 2; ++time) {
      EXPECT_THAT(membersOf("case"), ElementsAre("\u00C4nne"));
      EXPECT_THAT(membersOf("space"), ElementsAre("ina lee"));
      EXPECT_THAT(membersOf("type"), ElementsAre("ina lee"));
      EXPECT_THAT(membersOf("own"), ElementsAre("\u00C4nne"));
    }
  };
  LdapMachine each;
  each.configure(table);
  expectMembers(each);
  LdapMachine together;
  together.configure(table);
  const auto all = together.node()->query({{"Groups"},
                                           "RecordName",
                                           MatchType::EqualTo,
                                           {std::string(attribute::AllRecords)},
                                           {"GroupMembership"},
                                           0});
  EXPECT_EQ(all->results(false)->size(), 4U);
  expectMembers(together);
}

TEST(LdapMemberNames, ThatAreNoneFailTheQuestion) {
  std::string member;
  ScriptedServer server([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      const bool isByName = request.content.find("entryDN") != std::string::npos;
      const auto all = ber::entry("cn=all,dc=example,dc=org",
                                  {{"objectClass", {"posixGroup"}},
                                   {"cn", {"all"}},
                                   {"entryUUID", {"5f000000-0000-4000-8000-0000000000a1"}},
                                   {"member", {"uid=dana,dc=example,dc=org", member}}});
      return peer.write(found(request, {isByName ? danasEntry() : all}));
    });
  });
  const auto ask = [&](const std::string& text) {
    member = text;
    LdapMachine machine;
    machine.configure(LdapMachine::table("test", LdapMachine::quoted(server.uri())));
    return values(machine.networkGroup("all"), "GroupMembership");
  };
  EXPECT_THAT(ask(""), ElementsAre("dana")) << "whoever has to list someone lists it";
  for (const auto* text : {"dana", "uid=erin,", "uid=er\\in,dc=example,dc=org"}) {
    EXPECT_THAT([&] { ask(text); },
                testing::ThrowsMessage<PlatformException>(
                    "ldap/test: the member " + std::string(text) + " is no distinguished name"));
  }
}

TEST(LdapMemberNames, ThatMayBeBelowABaseFailTheQuestionWhereAServerDoesNotCompareThem) {
  std::string member;
  std::atomic<bool> hasLeftBases = false;
  ScriptedServer server([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      const auto base = baseOf(request);
      if (base.find("stray") != std::string::npos) hasLeftBases = true;
      if (!base.starts_with("ou=groups") || request.content.find("entryDN") != std::string::npos) {
        return peer.write(found(request, {}));
      }
      return peer.write(
          found(request, {ber::entry("cn=all,ou=groups,dc=example,dc=org",
                                     {{"objectClass", {"posixGroup"}},
                                      {"cn", {"all"}},
                                      {"entryUUID", {"5f000000-0000-4000-8000-0000000000a1"}},
                                      {"member", {member}}})}));
    });
  });
  const auto ask = [&](const std::string& dn) {
    member = dn;
    LdapMachine machine;
    machine.configure(basesOf(server.uri()));
    return values(machine.networkGroup("all"), "GroupMembership");
  };
  EXPECT_THAT(ask("uid=stray,ou=\u00C4,dc=other,dc=org"), IsEmpty());
  EXPECT_THAT([&] { ask("uid=stray,organizationalUnitName=people,dc=example,dc=org"); },
              testing::ThrowsMessage<PlatformException>(
                  "ldap/test: whether uid=stray,organizationalUnitName=people,dc=example,dc=org is "
                  "below ou=people,dc=example,dc=org can't be told"));
  EXPECT_FALSE(hasLeftBases);
}

TEST(LdapMemberNames, AreLookedUpOneByOneBelowTheBasesWhereAServerDoesNotCompareThem) {
  std::atomic<int> byName = 0;
  std::atomic<int> bases = 0;
  std::atomic<bool> hasLeftBases = false;
  ScriptedServer server([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      const auto base = baseOf(request);
      if (request.content.find("entryDN") != std::string::npos) {
        ++byName;
        return peer.write(found(request, {}));
      }
      if (base.empty()) return peer.write(found(request, {}));
      if (base.starts_with("ou=groups")) {
        return peer.write(found(
            request,
            {ber::entry(
                "cn=all,ou=groups,dc=example,dc=org",
                {{"objectClass", {"posixGroup"}},
                 {"cn", {"all"}},
                 {"entryUUID", {"5f000000-0000-4000-8000-0000000000a1"}},
                 {"member",
                  {"uid=dana,ou=people,dc=example,dc=org", "uid=gone,ou=people,dc=example,dc=org",
                   "uid=stray,dc=example,dc=org", "uid=odd\\,ou=people,dc=example,dc=org"}}})}));
      }
      ++bases;
      const bool isDana = base == "uid=dana,ou=people,dc=example,dc=org";
      if (base.find("stray") != std::string::npos || base.find("odd") != std::string::npos) {
        hasLeftBases = true;
      }
      constexpr int kNoSuchObject = 32;
      return peer.write(isDana ? found(request, {ber::entry(base, danasAttributes())})
                               : found(request, {}, kNoSuchObject));
    });
  });
  LdapMachine machine;
  machine.configure(basesOf(server.uri()));
  EXPECT_THAT(values(machine.networkGroup("all"), "GroupMembership"), ElementsAre("dana"));
  EXPECT_EQ(byName, 3) << "below both bases, and whether it is done at all";
  EXPECT_EQ(bases, 3) << "gone's twice: it may be dana's by another spelling";
  machine.clock.seconds += 6;
  EXPECT_THAT(values(machine.networkGroup("all"), "GroupMembership"), ElementsAre("dana"));
  EXPECT_EQ(byName, 3);
  EXPECT_EQ(bases, 6);
  EXPECT_FALSE(hasLeftBases);
}

TEST(LdapMemberNames, OfThousandsOfGroupsAreNotTooLongForAServer) {
  constexpr int kGroups = 3000;
  const std::string tail(80, 'x');
  std::string ldif = ldifOf(LdifUser{"dana", 5000});
  std::string last;
  for (int number = 0; number < kGroups; ++number) {
    last = "g" + std::to_string(number) + tail;
    ldif += ldifOf(LdifGroup{last, static_cast<std::uint32_t>(1000 + number), {userDN("dana")}});
  }
  ldif += ldifOf(LdifGroup{"top", 900, {groupDN(last)}});
  ldif += ldifOf(LdifGroup{"alone", 901, {}});
  const Slapd slapd({.ldif = ldif, .database = "limits * size.prtotal=unlimited\n"});
  LdapMachine machine;
  machine.configure(LdapMachine::table("test", LdapMachine::quoted(slapd.uri())));
  const auto dana = machine.networkUser("dana");
  EXPECT_TRUE(machine.networkGroup("top")->isMember(*dana));
  EXPECT_FALSE(machine.networkGroup("alone")->isMember(*dana));
}

}  // namespace gatehall
