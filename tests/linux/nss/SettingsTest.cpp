#include <gmock/gmock.h>

#include "linux/ldap/client/Settings.h"
#include "linux/nss/Settings.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class NssSettingsFile : public testing::Test {
 protected:
  /// What one table of that kind with the further lines is read as.
  nss::Settings::Configured read(std::string_view lines) {
    machine.write("/etc/gatehall/directory.toml",
                  "[[directory]]\nkind = \"nss\"\n" + std::string(lines));
    FaultLog faults(machine.log);
    return nss::Settings::readAll(machine.options, faults).at(0);
  }
  void expectUnusable(std::string_view lines, const std::string& fault) {
    const auto configured = read(lines);
    const auto* unusable = std::get_if<nss::Settings::Unusable>(&configured);
    ASSERT_NE(unusable, nullptr) << lines;
    EXPECT_THAT(unusable->fault, HasSubstr(fault));
  }
  Machine machine;
};

}  // namespace

TEST_F(NssSettingsFile, HasDefaults) {
  const auto settings = std::get<nss::Settings>(read("name = \"site\"\n"));
  EXPECT_EQ(settings.name, "site");
  EXPECT_EQ(settings.line, 1);
  EXPECT_EQ(settings.userIDs.first, 1000);
  EXPECT_EQ(settings.groupIDs.first, 1);
  EXPECT_THAT(settings.homes, ElementsAre("/home"));
  EXPECT_THAT(settings.names, IsEmpty());
  EXPECT_EQ(settings.timeLimit.count(), 10000);
  EXPECT_TRUE(settings.mayHaveName("dana"));
}

TEST_F(NssSettingsFile, ReadsEverySetting) {
  const auto settings = std::get<nss::Settings>(
      read("name = \"site\"\ndomain = \"example.org\"\nmin-id = 5000\nmax-id = 6000\n"
           "names = [\"staff@example.org\"]\nhomes = []\ntime-limit = 2.5\n"));
  EXPECT_EQ(settings.domain, "example.org");
  EXPECT_EQ(settings.userIDs.first, 5000);
  EXPECT_EQ(settings.groupIDs.first, 5000);
  EXPECT_EQ(settings.groupIDs.last, 6000);
  EXPECT_THAT(settings.names, ElementsAre("staff@example.org"));
  EXPECT_THAT(settings.homes, IsEmpty());
  EXPECT_EQ(settings.timeLimit.count(), 2500);
}

TEST_F(NssSettingsFile, IsUnusableWithAFault) {
  expectUnusable("", "directory.name is missing");
  expectUnusable("name = \"a b\"\n", "holds other characters");
  expectUnusable("name = \"site\"\nhomes = [\"home\"]\n", "holds what is no absolute path");
  expectUnusable("name = \"site\"\nnames = \"staff\"\n", "is not a list of texts");
  expectUnusable("name = \"site\"\nnames = [7]\n", "holds what is no text");
  expectUnusable("name = \"site\"\nnames = [\n\"a@b.org\",\n\"staff\"]\ndomain = \"b.org\"\n",
                 "directory.toml:6: directory.names holds staff, which is not of the domain b.org");
  expectUnusable("name = \"site\"\nmin-id = 7\nmax-id = 6\n", "is above max-id");
  // Whoever asks could hold up the process that asks.
  expectUnusable("name = \"site\"\nwhen-away = \"ignore\"\n", "when-away");
}

TEST_F(NssSettingsFile, MayHaveTwoDirectoriesOfDifferentNames) {
  machine.write("/etc/gatehall/directory.toml",
                "[[directory]]\nkind = \"nss\"\nname = \"a\"\n[[directory]]\nkind = \"nss\"\n"
                "name = \"a\"\n[[directory]]\nkind = \"nss\"\nname = \"b\"\n");
  FaultLog faults(machine.log);
  const auto all = nss::Settings::readAll(machine.options, faults);
  ASSERT_EQ(all.size(), 3);
  EXPECT_THAT(std::get<nss::Settings::Unusable>(all[1]).fault, HasSubstr("the second directory a"));
  EXPECT_EQ(std::get<nss::Settings>(all[2]).line, 7);
  EXPECT_THAT(ldap::Settings::readAll(machine.options, faults), IsEmpty());
}

TEST_F(NssSettingsFile, KnowsNoOtherKinds) {
  machine.write("/etc/gatehall/directory.toml", "[[directory]]\nkind = \"nis\"\nname = \"a\"\n");
  FaultLog faults(machine.log);
  EXPECT_THAT(nss::Settings::readAll(machine.options, faults), IsEmpty());
  const auto all = ldap::Settings::readAll(machine.options, faults);
  EXPECT_THAT(std::get<ldap::Settings::Unusable>(all.at(0)).fault,
              HasSubstr("directory.kind is none of ldap, nss"));
}

}  // namespace gatehall
