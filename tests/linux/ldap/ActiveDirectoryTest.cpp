#include "linux/ldap/client/SecurityID.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"

// Active Directory's accounts, in a slapd that has its attributes. A domain controller is asked on
// the desktop in the container.

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;
using testing::UnorderedElementsAre;

constexpr std::string_view kDomain = "S-1-5-21-1-2-3";  // whose ids are 686200000 and above

std::string schema() {
  std::string lines;
  int number = 0;
  const auto attribute = [&](const std::string& name, const char* match, const char* syntax) {
    lines += "attributetype ( 1.3.6.1.4.1.4203.666.1.900." + std::to_string(++number) + " NAME '" +
             name + "' EQUALITY " + match + " SYNTAX 1.3.6.1.4.1.1466.115.121.1." + syntax +
             " SINGLE-VALUE )\n";
  };
  attribute("sAMAccountName", "caseIgnoreMatch", "15");
  attribute("objectGUID", "octetStringMatch", "40");
  attribute("objectSid", "octetStringMatch", "40");
  attribute("primaryGroupID", "integerMatch", "27");
  attribute("msDS-User-Account-Control-Computed", "integerMatch", "27");
  attribute("defaultNamingContext", "distinguishedNameMatch", "12");
  // slapd's member is a distinguishedName, by which this server would be taken to compare names.
  lines +=
      "attributetype ( 1.3.6.1.4.1.4203.666.1.900.99 NAME 'members' EQUALITY"
      " distinguishedNameMatch SYNTAX 1.3.6.1.4.1.1466.115.121.1.12 )\n";
  const auto of = [](const std::string& name, const std::string& last, const char* above) {
    return "objectclass ( 1.3.6.1.4.1.4203.666.3.900." + last + " NAME '" + name + "' SUP " +
           above +
           " STRUCTURAL MUST cn MAY ( sAMAccountName $ objectGUID $ objectSid $ primaryGroupID $"
           " uidNumber $ gidNumber $ members $ msDS-User-Account-Control-Computed ) )\n";
  };
  return lines + of("user", "1", "top") + of("computer", "2", "user") + of("group", "3", "top");
}

std::string dn(std::string_view name) {
  return "cn=" + std::string(name) + "," + std::string(kSuffix);
}

/// Its GUID is made of its name.
std::string entry(const std::string& objectClass, const std::string& name,
                  const std::string& more = "") {
  return "dn: " + dn(name) + "\nobjectClass: " + objectClass + "\ncn: " + name +
         "\nsAMAccountName: " + name + "\n" +
         ldifLine("objectGUID", name + std::string(16 - name.size(), '.')) + more + "\n";
}

std::string sid(std::string_view number, std::string_view domain = kDomain) {
  const auto text = std::string(domain) + "-" + std::string(number);
  return ldifLine("objectSid", ldap::securityID::bytes(text));
}

std::string domainEntry(std::string_view domain) {
  return "dn: " + dn("domain") + "\nobjectClass: group\ncn: domain\n" +
         ldifLine("objectSid", ldap::securityID::bytes(domain)) + "\n";
}

/// A server whose root DSE names the entry cn=domain.
class DomainController {
 public:
  explicit DomainController(std::string_view domain, const std::string& people = "")
      : slapd({.ldif = domainEntry(domain) + people,
               .global = schema() + "rootDSE " +
                         mFolder.write("/root.ldif",
                                       "dn:\ndefaultNamingContext: " + dn("domain") + "\n") +
                         "\n"}) {}

 private:
  Folder mFolder;

 public:
  Slapd slapd;
};

std::string people() {
  const auto ids = [](int number) {
    return "uidNumber: " + std::to_string(number) + "\ngidNumber: 7000\n";
  };
  return entry("user", "ina", sid("1105") + "primaryGroupID: 1200\n" + ids(5000)) +
         entry("user", "jo", sid("1106") + "primaryGroupID: 513\n" + ids(5001)) +
         entry("user", "nora", sid("1107") + "primaryGroupID: 513\n") +
         entry("user", "stranger", sid("1108", "S-1-5-21-1-2-4") + "primaryGroupID: 1200\n") +
         entry("user", "beyond", sid("200000") + "primaryGroupID: 513\n") +
         entry("computer", "pc1$", sid("1109") + "primaryGroupID: 515\n" + ids(5002)) +
         entry("group", "staff",
               sid("1200") + "members: " + dn("jo") + "\nmembers: " + dn("nora") +
                   "\nmembers: " + dn("pc1$") + "\nmembers: " + dn("stranger") + "\n") +
         entry("group", "users", sid("513"));
}

const Slapd& server() {
  static const DomainController controller(kDomain, people());
  return controller.slapd;
}

std::string table(const std::string& name, const Slapd& slapd, const std::string& more = "") {
  return "[[directory]]\nname = \"" + name + "\"\nservers = [\"" + slapd.uri() +
         "\"]\nbase = \"dc=example,dc=org\"\nprofile = \"active-directory\"\ntls = \"off\"\n" +
         LdapMachine::kNoHurry + more + "[directory.groups]\nGroupMembers = \"members\"\n";
}

class LdapActiveDirectory : public testing::Test {
 protected:
  explicit LdapActiveDirectory(const std::string& more = "") {
    machine.configure(table("test", server(), more));
  }

  /// The rule by which the user with that name is none here, and the reason.
  std::pair<std::string, std::string> leftOut(const std::string& name) {
    const auto found =
        machine.directory().networkNodes().front()->leftOut(attribute::RecordName, name);
    using Why = std::pair<std::string, std::string>;
    return found.size() == 1 ? Why(found.front().rule, found.front().why) : Why();
  }
  Strings members(std::string_view group) {
    return values(machine.networkGroup(group), "GroupMembership");
  }

  LdapMachine machine;
};

class LdapMappedIDs : public LdapActiveDirectory {
 protected:
  LdapMappedIDs() : LdapActiveDirectory("map-ids = true\n") {}
};

}  // namespace

TEST_F(LdapActiveDirectory, HasNoUsersWithoutAUserID) {
  EXPECT_THAT(machine.allNetworkUsers(), ElementsAre("ina", "jo"));
  EXPECT_EQ(machine.networkUser("nora"), nullptr);
  EXPECT_THAT(members("staff"), UnorderedElementsAre("ina", "jo"));
  EXPECT_THAT(leftOut("nora"), testing::Pair("no user id", "it has no uidNumber"));
  EXPECT_THAT(leftOut("ina").first, IsEmpty());
}

TEST_F(LdapActiveDirectory, HasNobodyWhomAListCouldMeanByTheGUIDOfSuchAnEntry) {
  const auto node = machine.directory().networkNodes().front();
  const auto guid = node->leftOut(attribute::RecordName, "nora").at(0).guid;
  EXPECT_EQ(node->leftOut(attribute::GUID, guid).at(0).rule, "no user id");
  for (const auto match : {MatchType::EqualTo, MatchType::EqualToIgnoringCase}) {
    EXPECT_THAT(machine.userNames("GUID", match, {guid}), IsEmpty());
  }
}

TEST_F(LdapActiveDirectory, HasNoUsersThatAreMachines) {
  EXPECT_EQ(machine.networkUser("pc1$"), nullptr);
  EXPECT_THAT(machine.userNames("UniqueID", MatchType::EqualTo, {"5000", "5002"}),
              ElementsAre("ina"));
  EXPECT_THAT(leftOut("pc1$").first, IsEmpty());
}

TEST_F(LdapActiveDirectory, LocksAccountsAsLongAsTheServerSays) {
  const auto isDisabled = [this] {
    machine.clock.seconds += 6;  // or the last answer is still known
    return holdsLine(values(machine.networkUser("jo"), "AuthenticationAuthority"),
                     ";DisabledUser;");
  };
  const auto set = [](std::string_view change) {
    server().modify("dn: " + dn("jo") + "\nchangetype: modify\n" + std::string(change));
  };
  const std::string computed = "msDS-User-Account-Control-Computed";
  EXPECT_FALSE(isDisabled());
  set("add: " + computed + "\n" + computed + ": 8388624\n");  // 0x10, its password expired besides
  EXPECT_TRUE(isDisabled());
  set("replace: " + computed + "\n" + computed + ": 8388608\n");
  EXPECT_FALSE(isDisabled());
  set("delete: " + computed + "\n");
}

TEST_F(LdapMappedIDs, AreMadeOfTheLastNumberWhateverIDTheEntryHas) {
  EXPECT_THAT(machine.allNetworkUsers(), ElementsAre("ina", "jo", "nora"));
  EXPECT_THAT(values(machine.networkUser("ina"), "UniqueID"), ElementsAre("686201105"));
  EXPECT_THAT(values(machine.networkUser("nora"), "UniqueID"), ElementsAre("686201107"));
  EXPECT_THAT(values(machine.networkUser("nora"), "PrimaryGroupID"), ElementsAre("686200513"));
  EXPECT_THAT(values(machine.networkGroup("staff"), "PrimaryGroupID"), ElementsAre("686201200"));
}

TEST_F(LdapMappedIDs, AreFoundAgain) {
  EXPECT_THAT(machine.userNames("UniqueID", MatchType::EqualTo, {"686201107"}),
              ElementsAre("nora"));
  EXPECT_THAT(machine.userNames("PrimaryGroupID", MatchType::EqualTo, {"686200513"}),
              ElementsAre("jo", "nora"));
  EXPECT_THAT(machine.groupNames("PrimaryGroupID", MatchType::EqualTo, {"686201200"}),
              ElementsAre("staff"));
  for (const auto* id : {"5000", "686201109", "686401107", "7000"}) {
    EXPECT_THAT(machine.userNames("UniqueID", MatchType::EqualTo, {id}), IsEmpty()) << id;
  }
}

TEST_F(LdapMappedIDs, LeaveWhoHasNoneOut) {
  EXPECT_EQ(leftOut("stranger").first, "no user id");
  EXPECT_THAT(leftOut("stranger").second, HasSubstr("S-1-5-21-1-2-3"));
  EXPECT_EQ(leftOut("beyond").first, "no user id");
}

TEST_F(LdapMappedIDs, HaveMembersByDNAndByPrimaryGroup) {
  EXPECT_THAT(members("staff"), UnorderedElementsAre("ina", "jo", "nora"));
  EXPECT_THAT(members("users"), UnorderedElementsAre("jo", "nora"));
  EXPECT_TRUE(machine.networkGroup("staff")->isMember(*machine.networkUser("ina")));
  EXPECT_FALSE(machine.networkGroup("users")->isMember(*machine.networkUser("ina")));
  EXPECT_TRUE(machine.networkGroup("users")->isMember(*machine.networkUser("nora")));
}

TEST_F(LdapMappedIDs, AreNotWritten) {
  machine.configure(table("test", server(), machine.asManager() + "map-ids = true\n"));
  EXPECT_FALSE(machine.networkUser("nora")->setValue("686201999", "UniqueID"));
  EXPECT_FALSE(machine.networkUser("nora")->setValue("513", "PrimaryGroupID"));
}

TEST(LdapMappedDomains, WithTheSameIDsLeaveItOpenWhoseOneIs) {
  // Two domains of one slice, by SSSD's own library.
  const DomainController one("S-1-5-21-1-2-64",
                             entry("user", "ina", sid("1105", "S-1-5-21-1-2-64")));
  const DomainController two("S-1-5-21-1-2-227",
                             entry("user", "jo", sid("1106", "S-1-5-21-1-2-227")));
  LdapMachine machine;
  machine.configure(table("one", one.slapd, "map-ids = true\n") +
                    table("two", two.slapd, "map-ids = true\n"));
  const auto find = [&] { machine.anywhere({"ina"}); };
  EXPECT_THAT(find, ThrowsMessage<PlatformException>(HasSubstr("mapped to the same ids")));
  machine.clock.seconds += 6;  // or the first one's last answer is still known
  EXPECT_THAT([&] { machine.node("ldap/one")->recordByTypeAndName(record::Users, "ina", {}); },
              ThrowsMessage<PlatformException>(HasSubstr("mapped to the same ids")));
}

TEST(LdapMappedDomains, ThatCannotBeReadLeaveTheDirectoryAway) {
  const DomainController nobody("S-1-5-32", entry("user", "ina", sid("1105")));
  LdapMachine machine;
  machine.configure(table("test", nobody.slapd, "map-ids = true\n"));
  machine.expectOnlyLocalAccounts();
}

TEST(LdapMappedDomains, ThatCannotBeReadMakeNobodyAbsent) {
  const DomainController nobody("S-1-5-32", entry("user", "ina", sid("1105")));
  LdapMachine machine;
  machine.configure(table("test", nobody.slapd, "map-ids = true\nwhen-away = \"ignore\"\n"));
  EXPECT_THAT([&] { machine.anywhere({"ina"}); },
              ThrowsMessage<PlatformException>(HasSubstr("its domain's objectSid can't be read")));
}

}  // namespace gatehall
