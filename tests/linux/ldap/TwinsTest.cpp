#include "linux/ldap/client/Settings.h"
#include "tests/linux/ldap/fixture/LdapFaults.h"

namespace gatehall {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

constexpr const char* kLocals =
    "root:x:0:0::/root:/bin/sh\n"
    "ann:x:1000:1000:Ann Lee:/home/ann:/bin/sh\n"
    "bob:!:1001:1001::/home/bob:/bin/sh\n"
    "carol:x:1002:1002::/home/carol:/usr/sbin/nologin\n"
    "gina:x:1003\n"
    " hugo:x:1009\n";

/// A directory of a staff with one member, whom every test describes.
class LdapTwins : public testing::Test {
 protected:
  LdapTwins() { machine.write("/etc/passwd", kLocals); }

  struct Person {
    Strings names{"pat"};
    Strings userIDs{"5001"};
    std::string guid = "5f000000-0000-4000-8000-0000000000aa";
    std::string dn = "uid=pat,dc=example,dc=org";
  };

  void serve(const Person& person, const std::string& more = "") {
    const std::vector<std::string> entries{
        ber::entry(person.dn, {{"objectClass", {"posixAccount"}},
                               {"uid", person.names},
                               {"uidNumber", person.userIDs},
                               {"gidNumber", {"700"}},
                               {"entryUUID", {person.guid}}}),
        ber::entry("uid=dana,dc=example,dc=org", danasAttributes()),
        ber::entry("cn=staff,dc=example,dc=org",
                   {{"objectClass", {"posixGroup"}},
                    {"cn", {"staff"}},
                    {"gidNumber", {"700"}},
                    {"entryUUID", {"5f000000-0000-4000-8000-0000000000bb"}},
                    {"member", {person.dn, "uid=dana,dc=example,dc=org"}}})};
    mServer = std::make_unique<ScriptedServer>([entries](Peer& peer) {
      peer.serve([&](const Request& request) { return peer.write(found(request, entries)); });
    });
    machine.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n" + more));
  }

  /// The GUIDs of all that any question about the person brings out of the directory.
  Strings comingOut(LdapMachine& asked, const Person& person) {
    Strings guids;
    const auto add = [&](const std::shared_ptr<DirectoryRecord>& record) {
      if (record->recordType() != "Users" || values(record, "RecordName") == Strings{"dana"})
        return;
      for (const auto& guid : values(record, "GUID")) guids.push_back(guid);
    };
    const auto query = [&](std::string_view kind, MatchType match, Strings wanted) {
      for (const auto& node : {asked.node(), asked.search()}) {
        const auto records =
            node->query({{"Users"}, std::string(kind), match, wanted, {}, 0})->results(false);
        for (const auto& record : records.value()) {
          if (values(record, "MetaNodeLocation") != Strings{"local"}) add(record);
        }
      }
    };
    query("RecordName", MatchType::EqualTo, person.names);
    query("RecordName", MatchType::EqualTo, {"lxRecordsAll"});
    query("RecordName", MatchType::ContainsIgnoringCase, {""});
    query("UniqueID", MatchType::EqualTo, person.userIDs);
    query("GUID", MatchType::EqualTo, {person.guid});
    query("MetaNodeLocation", MatchType::EqualTo, {"ldap/test"});
    for (const auto& name : person.names) {
      if (const auto record = asked.networkUser(name)) add(record);
    }
    const auto staff = asked.networkGroup("staff");
    for (const auto& guid : values(staff, "GroupMembers")) {
      if (guid != "5F000000-0000-4000-8000-0000000000DA") guids.push_back(guid);
    }
    for (const auto& name : values(staff, "GroupMembership")) {
      if (name != "dana") guids.push_back(name);
    }
    return guids;
  }
  Strings comingOut(const Person& person, const std::string& more = "") {
    serve(person, more);
    LdapMachine asked;
    asked.write("/etc/passwd", kLocals);
    asked.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n" + more));
    auto guids = comingOut(asked, person);
    mLines = asked.log.lines();
    return guids;
  }

  std::unique_ptr<ScriptedServer> mServer;
  LdapMachine machine;
  Strings mLines;
};

}  // namespace

TEST_F(LdapTwins, AreNobodyWhateverTheirLocalAccountIsGoodFor) {
  EXPECT_THAT(comingOut({}), Not(IsEmpty()));
  EXPECT_THAT(mLines, Not(Contains(HasSubstr("is left out"))));
  const std::string where = "ldap/test: the entry uid=pat,dc=example,dc=org is left out: ";
  for (const auto* name : {"ann", "bob", "carol", "root"}) {
    EXPECT_THAT(comingOut({.names = {name}}), IsEmpty()) << name;
    EXPECT_THAT(mLines, Contains(where + "it has the name " + name + " of a local account"));
    EXPECT_THAT(comingOut({.names = {"pat", name}}), IsEmpty()) << "a second name: " << name;
  }
  for (const auto* id : {"1000", "1001", "1002", "01000"}) {
    EXPECT_THAT(comingOut({.userIDs = {id}}), IsEmpty()) << id;
    EXPECT_THAT(mLines, Contains(HasSubstr("it has the user id 100")));
  }
}

TEST_F(LdapTwins, AreUndecidableWhereTheLineOfTheirLocalAccountCantBeRead) {
  for (const auto* name : {"gina", "hugo"}) {
    EXPECT_THROW(comingOut({.names = {name}}), PlatformException) << name;
    EXPECT_THROW(comingOut({.names = {"pat", name}}), PlatformException) << name;
  }
  EXPECT_THROW(comingOut({.userIDs = {"1003"}}), PlatformException);
  serve({});
  machine.write("/etc/passwd", std::string(kLocals) + "ines:x:one:1010::/home/ines:/bin/sh\n");
  const auto query =
      machine.search()->query({{"Users"}, "UniqueID", MatchType::EqualTo, {"5001"}, {}, 0});
  EXPECT_THROW(query->results(false), PlatformException) << "it may be that of ines";
}

TEST_F(LdapTwins, AreThoseWithTheGUIDOfALocalAccount) {
  LdapMachine same;
  same.write("/etc/passwd", kLocals);
  EXPECT_THAT(comingOut({.guid = values(same.user("ann"), "GUID").front()}), IsEmpty());
  EXPECT_THAT(mLines, Contains(HasSubstr("it has the GUID of a local account")));
}

TEST_F(LdapTwins, HaveNoUserIDOutOfTheRange) {
  for (const auto* id : {"0", "1", "999", "65535"}) {
    EXPECT_THAT(comingOut({.userIDs = {id}}), IsEmpty()) << id;
    EXPECT_THAT(mLines, Contains(HasSubstr("its user id " + std::string(id) + " is out of range")));
  }
  for (const auto* id : {"1004", "65534", "4294967294"}) {
    EXPECT_THAT(comingOut({.userIDs = {id}}), Not(IsEmpty())) << id;
  }
  const std::string bounds = "min-id = 5000\nmax-id = 5001\n";
  EXPECT_THAT(comingOut({.userIDs = {"4999"}}, bounds), IsEmpty());
  EXPECT_THAT(comingOut({.userIDs = {"5002"}}, bounds), IsEmpty());
  EXPECT_THAT(comingOut({.userIDs = {"5001"}}, bounds), Not(IsEmpty()));
  EXPECT_THAT(comingOut({.userIDs = {"500"}}, "min-id = 1\n"), Not(IsEmpty()));
}

TEST_F(LdapTwins, AreToldWithTheReasonToWhoAsksForThem) {
  const auto leftOut = [this](const Person& person, std::string_view kind,
                              const std::string& value) {
    serve(person);
    LdapMachine asked;
    asked.write("/etc/passwd", kLocals);
    asked.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n"));
    return asked.directory().networkNodes().front()->leftOut(kind, value);
  };
  const auto low = leftOut({.userIDs = {"999"}}, "RecordName", "pat");
  ASSERT_EQ(low.size(), 1U);
  EXPECT_EQ(low[0].name, "pat");
  EXPECT_EQ(low[0].userID, 999U);
  EXPECT_EQ(low[0].guid, "5F000000-0000-4000-8000-0000000000AA");
  EXPECT_EQ(low[0].rule, "user id too low");
  EXPECT_EQ(low[0].why, "its user id 999 is out of range");
  EXPECT_EQ(leftOut({.userIDs = {"999"}}, "UniqueID", "999").size(), 1U);
  EXPECT_EQ(leftOut({.userIDs = {"999"}}, "GUID", low[0].guid).size(), 1U);
  EXPECT_THAT(leftOut({.userIDs = {"999"}}, "RecordName", "PAT"), IsEmpty());
  EXPECT_THAT(leftOut({}, "RecordName", "pat"), IsEmpty()) << "an account";
  const auto twin = leftOut({.names = {"ann"}}, "RecordName", "ann");
  ASSERT_EQ(twin.size(), 1U);
  EXPECT_EQ(twin[0].rule, "hidden by a local account");
  EXPECT_EQ(twin[0].why, "it has the name ann of a local account");
}

TEST_F(LdapTwins, HaveOneUserID) {
  const auto expectUnreadable = [&](const Strings& userIDs, const char* fault) {
    const auto ask = [&] { comingOut({.userIDs = userIDs}); };
    EXPECT_THAT(ask, testing::ThrowsMessage<PlatformException>(HasSubstr(fault)));
  };
  expectUnreadable({"5001", "5002"}, "it has several user ids");
  expectUnreadable({"5001x"}, "its uidNumber is no id: 5001x");
}

TEST_F(LdapTwins, AreThoseOfUserRecordsToo) {
  serve({.names = {"zoe"}, .userIDs = {"5001"}});
  const auto found = [&](const std::string& file, const std::string& content) {
    LdapMachine asked;
    asked.write("/etc/userdb/" + file, content);
    asked.configure(LdapMachine::table("test", LdapMachine::quoted(mServer->uri())));
    return asked.anywhere({"zoe", "dana"});
  };
  EXPECT_THAT(found("yan.user", R"({"userName": "yan", "uid": 1200})"),
              UnorderedElementsAre("zoe", "dana"));
  EXPECT_THAT(found("yan.user", R"({"userName": "yan", "uid": 5001})"), ElementsAre("dana"));
  EXPECT_THAT(found("yan.user", R"({"userName": "yan", "uid": 1200, "aliases": ["zoe"]})"),
              UnorderedElementsAre("yan", "dana"));
  EXPECT_THAT(found("zoe.user", R"({"userName": "zoe"})"), ElementsAre("dana"));
  EXPECT_THAT(found("5001.user", R"({"userName": "yan", "uid": 5001})"), ElementsAre("dana"));
}

TEST_F(LdapTwins, OfACopyAreMembersByTheirNameAlone) {
  const Person erin{.names = {"erin"}, .userIDs = {"1007"}};
  serve(erin);
  machine.write("/etc/userdb/erin.user",
                R"({"userName": "erin", "uid": 1007, "com.orvane.gatehall":
                    {"OriginalNodeName": "ldap/test", "CopyTimestamp": "now"}})");
  EXPECT_EQ(machine.networkUser("erin"), nullptr);
  EXPECT_THAT(machine.allNetworkUsers(), ElementsAre("dana"));
  EXPECT_THAT(machine.anywhere({"erin"}), ElementsAre("erin"));
  EXPECT_THAT(values(machine.networkGroup("staff"), "GroupMembership"),
              UnorderedElementsAre("erin", "dana"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
  machine.write("/etc/userdb/erin.user", R"({"userName": "erin", "uid": 1007})");
  machine.clock.seconds += 6;
  EXPECT_THAT(values(machine.networkGroup("staff"), "GroupMembership"), ElementsAre("dana"));
}

TEST_F(LdapTwins, AreSeenAsSoonAsThereIsALocalAccount) {
  serve({});
  EXPECT_NE(machine.networkUser("pat"), nullptr);
  machine.write("/etc/passwd", std::string(kLocals) + "pat:x:1005:1005::/home/pat:/bin/sh\n");
  EXPECT_EQ(machine.networkUser("pat"), nullptr) << "although it was fetched a moment ago";
}

TEST_F(LdapTwins, AreUndecidableWhereTheLocalAccountsAre) {
  serve({});
  std::filesystem::remove(machine.path("/etc/passwd"));
  std::filesystem::create_directory(machine.path("/etc/passwd"));
  EXPECT_THROW(machine.networkUser("pat"), PlatformException);
}

TEST_F(LdapTwins, OfNobodyHaveTheNameOfTheirDNFirst) {
  for (const auto& names : {Strings{"pat", "patty"}, Strings{"patty", "pat"}}) {
    serve({.names = names});
    LdapMachine asked;
    asked.configure(LdapMachine::table("test", LdapMachine::quoted(mServer->uri())));
    EXPECT_THAT(values(asked.networkUser("patty"), "RecordName"), ElementsAre("pat", "patty"));
  }
}

TEST_F(LdapTwins, OfNobodyAreAdministratorsByTheGroupFileAlone) {
  const auto administrators = [&](const Person& person, const std::string& groups) {
    serve(person);
    LdapMachine asked;
    asked.configure(LdapMachine::table("test", LdapMachine::quoted(mServer->uri())));
    asked.write("/etc/group", groups);
    const auto admin = asked.group("admin");
    Strings byRecord;
    const auto users =
        asked.node()
            ->query({{"Users"}, "RecordName", MatchType::EqualTo, {"lxRecordsAll"}, {}, 0})
            ->results(false);
    for (const auto& user : users.value()) {
      const auto name = values(user, "RecordName").front();
      if (name == "pat" && admin->isMember(*user)) byRecord.push_back(name);
    }
    Strings byList;
    for (const auto& name : asked.anywhere(values(admin, "GroupMembership"))) {
      if (name == "pat") byList.push_back(name);
    }
    EXPECT_EQ(byRecord, byList);
    return byRecord;
  };
  EXPECT_THAT(administrators({}, "sudo:x:27:pat\n"), ElementsAre("pat"));
  EXPECT_THAT(administrators({}, "sudo:x:700:\n"), IsEmpty()) << "by its primary group";
  EXPECT_THAT(administrators({.names = {"pat", "patty"}}, "sudo:x:27:patty\n"), IsEmpty());
  EXPECT_THAT(administrators({.names = {"pat", "patty"}}, "sudo:x:27:pat,patty\n"),
              ElementsAre("pat"));
  EXPECT_THAT(administrators({.names = {"patty", "pat"}}, "sudo:x:27:patty\n"), IsEmpty())
      << "servers send names in any order";
  EXPECT_THAT(administrators({.names = {"patty", "pat"}}, "sudo:x:27:pat\n"), ElementsAre("pat"));
  const std::string otherDN = "cn=Pat Fox,dc=example,dc=org";
  EXPECT_THAT(administrators({.names = {"pat", "patty"}, .dn = otherDN}, "sudo:x:27:pat\n"),
              IsEmpty())
      << "either may be the login name";
  EXPECT_THAT(administrators({.names = {"pat", "patty"}, .dn = otherDN}, "sudo:x:27:pat,patty\n"),
              IsEmpty());
  EXPECT_THAT(administrators({.dn = otherDN}, "sudo:x:27:pat\n"), ElementsAre("pat"));
  EXPECT_THAT(administrators({}, "staff:x:700:pat\n"), IsEmpty())
      << "the directory's group of a local one's id";
}

TEST(LdapTwinsSettings, ThatCanNotBeMeantMakeTheDirectoryUnusable) {
  for (const auto* more : {"min-id = 0\n", "min-id = \"5\"\n", "max-id = 4294967295\n",
                           "min-id = 70\nmax-id = 60\n", "max-id = -1\n"}) {
    LdapMachine machine;
    machine.configure(LdapMachine::table("test", LdapMachine::quoted("ldap://127.0.0.1:1"), more));
    KeptLog log;
    FaultLog faults(log);
    const auto directories = ldap::Settings::readAll(machine.options, faults);
    ASSERT_EQ(directories.size(), 1U) << more;
    const auto* unusable = std::get_if<ldap::Settings::Unusable>(&directories.front());
    ASSERT_NE(unusable, nullptr) << more;
    EXPECT_THAT(unusable->fault, HasSubstr("-id is")) << more;
    EXPECT_EQ(log.lines().size(), 1U) << more;
    EXPECT_THAT(log.lines(), Contains(HasSubstr("-id"))) << more;
  }
}

}  // namespace gatehall
