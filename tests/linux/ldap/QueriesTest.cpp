#include <fstream>
#include <iterator>

#include "linux/ldap/client/Connection.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"

namespace gatehall {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

constexpr int kCrowd = 1200;

std::string crowdName(int number) { return "user" + std::to_string(10000 + number); }

Slapd& server() {
  static Slapd slapd([] {
    std::string ldif;
    ldif += ldifOf(LdifUser{"dana", 5000, 100, "Dana Fox", "5f000000-0000-4000-8000-0000000000da"});
    ldif += ldifOf(LdifUser{"erin", 5001, 100, "Erin  (née Ö*x) \\ Straße"});
    ldif += ldifOf(LdifUser{"Σωκράτης", 5002, 101, "Σωκράτης"});
    ldif += ldifOf(LdifUser{"王芳", 5003, 101, "王芳", "", "uid: wang.fang\n"});
    ldif += ldifOf(LdifUser{"o'neil (x)*", 5004, 101, "O'Neil"});
    for (int number = 0; number < kCrowd; ++number) {
      ldif += ldifOf(LdifUser{crowdName(number), static_cast<std::uint32_t>(20000 + number), 600});
    }
    ldif += ldifOf(LdifGroup{"people", 100, {userDN("dana"), userDN("erin")}});
    ldif += ldifOf(LdifGroup{"dana", 102, {userDN("dana")}});
    return Slapd::Options{.ldif = ldif, .database = "limits * size.prtotal=unlimited\n"};
  }());
  return slapd;
}

class LdapQueries : public testing::Test {
 protected:
  LdapQueries() {
    machine.configure(LdapMachine::table("test", LdapMachine::quoted(server().uri()),
                                         "tls = \"off\"\npage-size = 100\n"));
  }
  LdapMachine machine;
};

}  // namespace

TEST_F(LdapQueries, FindByEachIdentity) {
  const auto equal = MatchType::EqualTo;
  EXPECT_THAT(machine.userNames("RecordName", equal, {"dana"}), ElementsAre("dana"));
  EXPECT_THAT(machine.userNames("UniqueID", equal, {"5001"}), ElementsAre("erin"));
  EXPECT_THAT(machine.userNames("GUID", equal, {"5F000000-0000-4000-8000-0000000000DA"}),
              ElementsAre("dana"));
  EXPECT_THAT(machine.userNames("PrimaryGroupID", equal, {"101"}),
              ElementsAre("o'neil (x)*", "Σωκράτης", "王芳"));
  EXPECT_THAT(machine.groupNames("PrimaryGroupID", equal, {"100"}), ElementsAre("people"));
}

TEST_F(LdapQueries, TakeAGUIDInEitherCaseAndHandItOutInUpperCase) {
  for (const auto match : {MatchType::EqualTo, MatchType::EqualToIgnoringCase}) {
    EXPECT_THAT(machine.userNames("GUID", match, {"5f000000-0000-4000-8000-0000000000da"}),
                ElementsAre("dana"));
  }
  EXPECT_EQ(values(machine.networkUser("dana"), "GUID"),
            Strings{"5F000000-0000-4000-8000-0000000000DA"});
  EXPECT_THAT(machine.userNames("GUID", MatchType::EqualTo, {"no GUID", ""}), IsEmpty());
}

TEST_F(LdapQueries, TakeValuesLiterally) {
  for (const auto* name : {"*", "dan*", "dana)(uid=*", "o'neil (x)", "\\64ana", "d\\ana", " dana",
                           "dana ", "", "DANA"}) {
    EXPECT_THAT(machine.userNames("RecordName", MatchType::EqualTo, {name}), IsEmpty()) << name;
  }
  EXPECT_THAT(machine.userNames("RecordName", MatchType::EqualTo, {"o'neil (x)*"}),
              ElementsAre("o'neil (x)*"));
  for (const auto* id : {"05000", "+5000", "5000 ", "4294967295", "x", "99999999999"}) {
    EXPECT_THAT(machine.userNames("UniqueID", MatchType::EqualTo, {id}), IsEmpty()) << id;
  }
}

TEST_F(LdapQueries, CompareNamesInEveryScriptByEveryMatchCode) {
  EXPECT_THAT(machine.userNames("RecordName", MatchType::EqualTo, {"Σωκράτης", "王芳"}),
              ElementsAre("Σωκράτης", "王芳"));
  EXPECT_THAT(machine.userNames("RecordName", MatchType::EqualToIgnoringCase, {"ΣΩΚΡΆΤΗΣ"}),
              ElementsAre("Σωκράτης"));
  EXPECT_THAT(machine.userNames("RecordName", MatchType::EqualTo, {"σωκράτης"}), IsEmpty());
  EXPECT_THAT(machine.userNames("FullName", MatchType::Contains, {"Ö*x) \\ S"}),
              ElementsAre("erin"));
  EXPECT_THAT(machine.userNames("FullName", MatchType::Contains, {"n  ("}), ElementsAre("erin"));
  EXPECT_THAT(machine.userNames("FullName", MatchType::Contains, {"n ("}), IsEmpty());
  EXPECT_THAT(machine.userNames("FullName", MatchType::ContainsIgnoringCase, {"ö*X", "芳"}),
              ElementsAre("erin", "王芳"));
  EXPECT_THAT(machine.userNames("FullName", MatchType::EqualToIgnoringCase, {"dana FOX"}),
              ElementsAre("dana"));
}

TEST_F(LdapQueries, FindByAnyOfARecordsValuesAndEachRecordOnce) {
  EXPECT_THAT(machine.userNames("RecordName", MatchType::EqualTo, {"wang.fang"}),
              ElementsAre("王芳"));
  EXPECT_THAT(machine.userNames("RecordName", MatchType::EqualTo, {"wang.fang", "王芳", "dana"}),
              ElementsAre("dana", "王芳"));
}

TEST_F(LdapQueries, CompareWhatADirectoryCannot) {
  EXPECT_THAT(machine.userNames("UniqueID", MatchType::Contains, {"5003", "5004"}),
              ElementsAre("o'neil (x)*", "王芳"));
  EXPECT_THAT(machine.userNames("NFSHomeDirectory", MatchType::ContainsIgnoringCase, {"ME/DAN"}),
              ElementsAre("dana"));
  EXPECT_EQ(machine.userNames("MetaNodeLocation", MatchType::EqualTo, {"ldap/test"}, 3).size(), 3U);
  EXPECT_THAT(machine.groupNames("GroupMembership", MatchType::EqualTo, {"erin"}),
              ElementsAre("people"));
  EXPECT_THAT(machine.userNames("lxAttrTypeNative:unheard", MatchType::Contains, {"a"}), IsEmpty());
}

TEST_F(LdapQueries, FindUsersInFrontOfGroups) {
  EXPECT_THAT(machine.namesAt(*machine.node(), {"Groups", "Users"}, "RecordName",
                              MatchType::EqualTo, {"people", "dana", "erin"}),
              ElementsAre("dana", "erin", "dana", "people"));
}

TEST_F(LdapQueries, TakeHundredsOfValuesInAFewSearches) {
  Strings names;
  for (int number = 0; number < 650; ++number) names.push_back(crowdName(number));
  auto expected = names;
  for (int number = 0; number < 300; ++number) names.push_back("nobody" + std::to_string(number));
  machine.node();
  const auto before = ldap::Connection::searchesSent();
  EXPECT_EQ(machine.userNames("RecordName", MatchType::EqualTo, names), expected);
  EXPECT_EQ(ldap::Connection::searchesSent() - before, 10U);
}

TEST_F(LdapQueries, ForTheSameAreSentOnceWhetherAnybodyHasItOrNot) {
  machine.node();
  for (const auto& [kind, value] :
       {std::pair("GUID", "5F000000-0000-4000-8000-0000000000DA"),
        std::pair("GUID", "5F000000-0000-4000-8000-00000000FFFF"), std::pair("RecordName", "erin"),
        std::pair("RecordName", "nobody")}) {
    const auto names = machine.userNames(kind, MatchType::EqualTo, {value});
    const auto before = ldap::Connection::searchesSent();
    EXPECT_EQ(machine.userNames(kind, MatchType::EqualTo, {value}), names);
    EXPECT_EQ(ldap::Connection::searchesSent() - before, 0U) << kind << ' ' << value;
  }
}

TEST_F(LdapQueries, ForAMemberOfAGroupThatWasReadAreSentNoMoreWhateverWasKnownBefore) {
  machine.networkUser("erin");
  machine.clock.seconds += 4;
  machine.networkUser("dana");
  machine.clock.seconds += 1;
  machine.networkUser("erin");
  machine.clock.seconds += 4.5;  // what was known of dana is too old, and not yet dropped
  EXPECT_THAT(values(machine.networkGroup("people"), "GroupMembership"),
              UnorderedElementsAre("dana", "erin"));
  const auto before = ldap::Connection::searchesSent();
  EXPECT_NE(machine.networkUser("dana"), nullptr);
  EXPECT_EQ(ldap::Connection::searchesSent() - before, 0U);
}

TEST_F(LdapQueries, ListAllRecordsPageByPage) {
  const auto before = ldap::Connection::searchesSent();
  EXPECT_EQ(machine.allNetworkUsers().size(), kCrowd + 5U);
  EXPECT_EQ(ldap::Connection::searchesSent() - before, 13U);
  EXPECT_EQ(machine.userNames("PrimaryGroupID", MatchType::EqualTo, {"600"}).size(),
            static_cast<std::size_t>(kCrowd));
}

TEST_F(LdapQueries, AnswerInOneOrderAndStopAtTheirMaximum) {
  const auto all = machine.allNetworkUsers();
  EXPECT_TRUE(std::ranges::is_sorted(all));
  const auto some =
      machine.userNames("RecordName", MatchType::EqualTo, {std::string(attribute::AllRecords)}, 7);
  EXPECT_EQ(some, Strings(all.begin(), all.begin() + 7));
}

TEST_F(LdapQueries, FindNothingWithoutValuesOrTypes) {
  EXPECT_THAT(machine.userNames("RecordName", MatchType::EqualTo, {}), IsEmpty());
  EXPECT_THAT(machine.namesAt(*machine.node(), {"Printers"}, "RecordName", MatchType::EqualTo,
                              {std::string(attribute::AllRecords)}),
              IsEmpty());
}

TEST(LdapSizeLimit, IsNoneOfAListThatIsFetchedInPages) {
  std::string ldif;
  Strings names;
  for (int number = 0; number < 40; ++number) {
    ldif += ldifOf(LdifUser{crowdName(number), static_cast<std::uint32_t>(20000 + number), 600});
    names.push_back(crowdName(number));
  }
  const Slapd slapd(
      {.ldif = ldif,
       .database = "limits * size.soft=10 size.hard=10 size.pr=10 size.prtotal=unlimited\n"});
  LdapMachine machine;
  machine.configure(LdapMachine::table("test", LdapMachine::quoted(slapd.uri()),
                                       "tls = \"off\"\npage-size = 8\n"));
  EXPECT_EQ(machine.allNetworkUsers(), names);
  EXPECT_EQ(machine.userNames("RecordName", MatchType::EqualTo, names), names);
}

TEST_F(LdapQueries, MapNoMechanismsOfSASL) {
  EXPECT_EQ(machine.userNames("UniqueID", MatchType::EqualTo, {"5000"}), Strings{"dana"});
  std::ifstream maps("/proc/self/maps");
  const std::string mapped(std::istreambuf_iterator<char>(maps), {});
  EXPECT_THAT(mapped, AllOf(HasSubstr("/libldap"), Not(HasSubstr("/sasl2/"))));
}

TEST_F(LdapQueries, ListAllRecordsInPagesThatGrow) {
  const auto everybody = machine.allNetworkUsers();
  LdapMachine other;
  other.configure(
      LdapMachine::table("test", LdapMachine::quoted(server().uri()), "tls = \"off\"\n"));
  const auto before = ldap::Connection::searchesSent();
  EXPECT_EQ(other.allNetworkUsers(), everybody);
  EXPECT_LE(ldap::Connection::searchesSent() - before, 3U) << "a sign of life and two pages";
}

TEST(LdapSizeLimit, OfAPageIsFoundOut) {
  std::string ldif;
  Strings names;
  for (int number = 0; number < 2100; ++number) {
    ldif += ldifOf(LdifUser{crowdName(number), static_cast<std::uint32_t>(20000 + number), 600});
    names.push_back(crowdName(number));
  }
  const Slapd slapd({.ldif = ldif, .database = "limits * size.pr=1000 size.prtotal=unlimited\n"});
  LdapMachine machine;
  machine.configure(
      LdapMachine::table("test", LdapMachine::quoted(slapd.uri()), "tls = \"off\"\n"));
  EXPECT_EQ(machine.allNetworkUsers(), names);
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

}  // namespace gatehall
