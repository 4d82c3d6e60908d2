#include "tests/linux/ldap/fixture/LdapMachine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A user who is a group as well.
std::string both() {
  auto text = ldifOf(LdifUser{"both", 5003, 602, "", "", "employeeType: guest\n"});
  const std::string kind = "objectClass: posixAccount\n";
  return text.insert(text.find(kind), "objectClass: posixGroup\n");
}

/// Dana and erin are employed, the others are guests.
const Slapd& server() {
  static const Slapd slapd(
      {.ldif = ldifOf(LdifUser{"dana", 5000, 600, "", "", "employeeType: staff\n"}) +
               ldifOf(LdifUser{"erin", 5001, 601, "", "", "employeeType: pupil\n"}) +
               ldifOf(LdifUser{"gus", 5002, 600, "", "", "employeeType: guest\n"}) + both() +
               ldifOf(LdifGroup{"all", 600, {userDN("dana"), userDN("gus")}, {"gus"}}) +
               ldifOf(LdifGroup{"some", 601, {userDN("dana"), groupDN("all")}})});
  return slapd;
}

class LdapFilters : public testing::Test {
 protected:
  void configure(const std::string& more) {
    machine.configure(
        LdapMachine::table("test", LdapMachine::quoted(server().uri()), "tls = \"off\"\n" + more));
  }
  LdapMachine machine;
};

constexpr const char* kEmployed = "users-filter = \"(!(employeeType=guest))\"\n";

}  // namespace

TEST_F(LdapFilters, LeaveOthersOutWhateverIsAskedFor) {
  configure("");
  ASSERT_THAT(machine.allNetworkUsers(), ElementsAre("both", "dana", "erin", "gus"));
  configure(kEmployed);
  LdapMachine filtered;
  filtered.configure(LdapMachine::table("test", LdapMachine::quoted(server().uri()),
                                        std::string("tls = \"off\"\n") + kEmployed));
  EXPECT_THAT(filtered.allNetworkUsers(), ElementsAre("dana", "erin"));
  EXPECT_EQ(filtered.networkUser("gus"), nullptr);
  EXPECT_THAT(filtered.userNames("UniqueID", MatchType::EqualTo, {"5000", "5002"}),
              ElementsAre("dana"));
  EXPECT_THAT(filtered.anywhere({"dana", "gus", "both"}), ElementsAre("dana"));
  const auto guids = [](LdapMachine& where, std::string_view name) {
    return values(where.networkUser(name), "GUID");
  };
  EXPECT_THAT(filtered.userNames("GUID", MatchType::EqualTo, guids(filtered, "dana")),
              ElementsAre("dana"));
}

TEST_F(LdapFilters, LeaveOthersOutOfTheMembersOfGroups) {
  configure(kEmployed);
  const auto all = machine.networkGroup("all");
  EXPECT_THAT(values(all, "GroupMembers"),
              ElementsAre(values(machine.networkUser("dana"), "GUID")[0]));
}

TEST_F(LdapFilters, OfGroupsHideGroupsAndNobodyElse) {
  configure("groups-filter = \"(!(cn=all))\"\n");
  EXPECT_THAT(machine.groupNames("RecordName", MatchType::EqualTo, {"all", "some"}),
              ElementsAre("some"));
  EXPECT_THAT(values(machine.networkGroup("some"), "NestedGroups"), IsEmpty());
  EXPECT_THAT(machine.anywhere({"gus"}), ElementsAre("gus"));
}

TEST_F(LdapFilters, ThatNobodyCanReadLeaveTheDirectoryAway) {
  configure("users-filter = \"(employeeType)\"\n");
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("Bad search filter")));
}

}  // namespace gatehall
