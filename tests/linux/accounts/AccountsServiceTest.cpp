#include <gmock/gmock.h>

#include "tests/linux/Machine.h"

namespace gatehall {

namespace {

using testing::ElementsAre;

constexpr std::string_view kUsers = "/var/lib/AccountsService/users/";

class AccountsService : public testing::Test {
 protected:
  AccountsService() {
    machine.write("/etc/passwd",
                  "ann:x:1000:1000::/home/ann:/bin/sh\n"
                  "bob:x:1001:1001::/home/bob:/bin/sh\n"
                  "../bob:x:1002:1002::/:/bin/sh\n");
  }
  void keep(std::string_view name, std::string_view content) {
    machine.write(std::string(kUsers) + std::string(name), content);
  }
  Machine machine;
};

}  // namespace

TEST_F(AccountsService, KeepsPicturesAndHints) {
  keep("ann",
       "[Other]\nIcon=/wrong\n[User]\n# Icon=/wrong\nIcon = /pictures/a\\sb.png \n"
       "PasswordHint=the\\ndog\nLanguage=\nbroken\n[Later]\nPasswordHint=wrong\n");
  EXPECT_THAT(values(machine.user("ann"), "Picture"), ElementsAre("/pictures/a b.png"));
  EXPECT_THAT(values(machine.user("ann"), "AuthenticationHint"), ElementsAre("the\ndog"));
  EXPECT_FALSE(machine.user("bob")->valuesForAttribute("Picture"));
  EXPECT_FALSE(machine.user("bob")->valuesForAttribute("AuthenticationHint"));
}

TEST_F(AccountsService, CountsLinesOfTheUsersSectionThatHaveAnEqualsSign) {
  keep("ann", "Icon=/wrong\n");
  EXPECT_FALSE(machine.user("ann")->valuesForAttribute("Picture"));
  keep("ann", "[User]\nIcon\nPasswordHint\n#Icon=/wrong\n");
  EXPECT_FALSE(machine.user("ann")->valuesForAttribute("Picture"));
  EXPECT_FALSE(machine.user("ann")->valuesForAttribute("AuthenticationHint"));
  keep("ann", " [User]\r\n\n\tIcon=/a=b.png\r\nPasswordHint=the dog");
  EXPECT_THAT(values(machine.user("ann"), "Picture"), ElementsAre("/a=b.png"));
  EXPECT_THAT(values(machine.user("ann"), "AuthenticationHint"), ElementsAre("the dog"));
}

TEST_F(AccountsService, KeepsAPictureUnderTheLoginName) {
  machine.write("/var/lib/AccountsService/icons/bob", "PNG");
  EXPECT_THAT(values(machine.user("bob"), "Picture"),
              ElementsAre("/var/lib/AccountsService/icons/bob"));
  EXPECT_FALSE(machine.user("../bob")->valuesForAttribute("Picture"));
}

TEST_F(AccountsService, AnswersTheSameInAList) {
  keep("ann", "[User]\nIcon=/a.png\n");
  machine.write("/var/lib/AccountsService/icons/bob", "PNG");
  const auto found =
      machine.find("Users", "RecordName", MatchType::EqualTo, {"lxRecordsAll"}, {"Picture"});
  ASSERT_EQ(found.size(), 3U);
  EXPECT_THAT(values(found[0], "Picture"), ElementsAre("/a.png"));
  EXPECT_THAT(values(found[1], "Picture"), ElementsAre("/var/lib/AccountsService/icons/bob"));
  EXPECT_FALSE(found[2]->valuesForAttribute("Picture"));
}

TEST_F(AccountsService, IsNotReadThroughALinkOrBeyondALimit) {
  keep("bob", "[User]\nIcon=/b.png\n");
  std::filesystem::create_symlink("bob", machine.path(std::string(kUsers) + "ann"));
  EXPECT_FALSE(machine.user("ann")->valuesForAttribute("Picture"));
  keep("bob", "[User]\nIcon=/b.png\n" + std::string(100000, '#'));
  EXPECT_FALSE(machine.user("bob")->valuesForAttribute("Picture"));
}

}  // namespace gatehall
