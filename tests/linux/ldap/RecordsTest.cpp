#include "tests/linux/ldap/fixture/LdapMachine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class LdapRecords : public testing::Test {
 protected:
  LdapRecords()
      : server({.ldif = ldifOf(LdifUser{
                            "dana", 5000, 100, "Dana Fox", "5f000000-0000-4000-8000-0000000000da",
                            "loginShell: /bin/bash\nmail: dana@example.org\n" +
                                ldifLine("jpegPhoto", std::string("\xff\xd8\0\x01", 4))}) +
                        ldifOf(LdifUser{"erin", 5001, 100, "Erin Poe", "",
                                        "loginShell: /usr/sbin/nologin\n"
                                        "shadowExpire: 1\n"}) +
                        ldifOf(LdifUser{"frank", 5002, 100})}) {}

  void configure(std::string_view more = "") {
    machine.configure(
        LdapMachine::table("test", LdapMachine::quoted(server.uri()),
                           "tls = \"off\"\n" + machine.asManager() + std::string(more)));
  }

  Slapd server;
  LdapMachine machine;
};

}  // namespace

TEST_F(LdapRecords, HoldWhatTheEntrySays) {
  configure();
  const auto dana = machine.networkUser("dana");
  EXPECT_EQ(dana->recordType(), "Users");
  EXPECT_EQ(dana->recordDetails({}),
            (Dictionary{{"AuthenticationAuthority", Strings{";LDAP;"}},
                        {"FullName", Strings{"Dana Fox"}},
                        {"GUID", Strings{"5F000000-0000-4000-8000-0000000000DA"}},
                        {"MetaNodeLocation", Strings{"ldap/test"}},
                        {"NFSHomeDirectory", Strings{"/home/dana"}},
                        {"Password", Strings{"********"}},
                        {"PrimaryGroupID", Strings{"100"}},
                        {"RecordName", Strings{"dana"}},
                        {"UniqueID", Strings{"5000"}},
                        {"UserShell", Strings{"/bin/bash"}}}));
}

TEST_F(LdapRecords, FetchAPhotoWhereItIsAskedFor) {
  configure();
  const auto dana = machine.networkUser("dana");
  EXPECT_EQ(values(dana, "JPEGPhoto"), Strings{std::string("\xff\xd8\0\x01", 4)});
  EXPECT_EQ(dana->recordDetails({"JPEGPhoto"})->size(), 1U);
  EXPECT_FALSE(machine.networkUser("erin")->valuesForAttribute("JPEGPhoto"));
}

TEST_F(LdapRecords, NameAShellThatNobodyLogsInWithAsOnTheMachineItself) {
  configure();
  EXPECT_EQ(values(machine.networkUser("erin"), "UserShell"), Strings{"/usr/bin/false"});
  EXPECT_THAT(values(machine.networkUser("frank"), "UserShell"), IsEmpty());
}

TEST_F(LdapRecords, AreDisabledPastTheirEnd) {
  configure();
  EXPECT_THAT(values(machine.networkUser("erin"), "AuthenticationAuthority"),
              ElementsAre(";LDAP;", ";DisabledUser;expired"));
}

TEST_F(LdapRecords, TakeAttributesThatTheSettingsName) {
  configure(
      "[directory.users]\nFullName = \"mail\"\nHomeDirectory = \"mail\"\n"
      "\"lxAttrTypeStandard:Picture\" = \"\"\nUserShell = \"\"\n");
  const auto dana = machine.networkUser("dana");
  EXPECT_EQ(values(dana, "FullName"), Strings{"dana@example.org"});
  EXPECT_EQ(values(dana, "HomeDirectory"), Strings{"dana@example.org"});
  EXPECT_THAT(values(dana, "Picture"), IsEmpty());
  EXPECT_THAT(values(dana, "UserShell"), IsEmpty());
  EXPECT_THAT(machine.userNames("HomeDirectory", MatchType::Contains, {"dana@"}),
              ElementsAre("dana"));
  EXPECT_THAT(machine.userNames("FullName", MatchType::ContainsIgnoringCase, {"DANA@"}),
              ElementsAre("dana"));
}

TEST_F(LdapRecords, AreChangedByAnAccountThatMay) {
  configure();
  const auto dana = machine.networkUser("dana");
  EXPECT_TRUE(dana->setValue("Dana Grey", "FullName"));
  EXPECT_EQ(values(dana, "FullName"), Strings{"Dana Grey"});
  EXPECT_EQ(values(machine.networkUser("dana"), "FullName"), Strings{"Dana Grey"});
  EXPECT_FALSE(dana->setValue("5", "MetaNodeLocation"));
  EXPECT_FALSE(dana->setValue("not a number", "UniqueID"));
  EXPECT_FALSE(dana->setValue("x", "lxAttrTypeNative:unheard"));
}

TEST_F(LdapRecords, AreNotChangedByAnAccountThatMayNot) {
  machine.configure(LdapMachine::table("test", LdapMachine::quoted(server.uri())));
  EXPECT_FALSE(machine.networkUser("dana")->setValue("Dana Grey", "FullName"));
}

TEST_F(LdapRecords, SeeTheDirectorysPresentStateOnceSynchronized) {
  configure();
  const auto dana = machine.networkUser("dana");
  server.modify(
      "dn: uid=dana,dc=example,dc=org\nchangetype: modify\nreplace: cn\ncn: Dana Grey\n\n"
      "dn: uid=dana,dc=example,dc=org\nchangetype: modrdn\nnewrdn: uid=dana2\n"
      "deleteoldrdn: 1\n");
  EXPECT_EQ(values(dana, "FullName"), Strings{"Dana Fox"});
  EXPECT_TRUE(dana->synchronize());
  EXPECT_EQ(values(dana, "FullName"), Strings{"Dana Grey"});
  EXPECT_EQ(values(dana, "RecordName"), Strings{"dana2"});
  EXPECT_EQ(machine.networkUser("dana"), nullptr);
  server.modify("dn: uid=dana2,dc=example,dc=org\nchangetype: delete\n");
  EXPECT_FALSE(dana->synchronize());
  EXPECT_EQ(values(dana, "FullName"), Strings{"Dana Grey"});
}

}  // namespace gatehall
