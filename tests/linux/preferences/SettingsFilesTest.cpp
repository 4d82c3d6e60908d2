#include <gmock/gmock.h>
#include <string>
#include <unistd.h>

#include "linux/preferences/SettingsFiles.h"
#include "tests/linux/Machine.h"
#include "tests/linux/UnusableFiles.h"
#include "tests/linux/preferences/PropertyListText.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kDomain = "com.orvane.gatehall";
const std::string kManaged = "/etc/gatehall/managed/com.orvane.gatehall.plist";
const std::string kOldManaged = "/Library/Managed Preferences/com.orvane.gatehall.plist";
const std::string kOwn = "/home/ann/.config/gatehall/com.orvane.gatehall.plist";
const std::string kMachines = "/etc/gatehall/com.orvane.gatehall.plist";

class SettingsFiles : public testing::Test {
 protected:
  SettingsFiles() {
    machine.write("/etc/passwd",
                  "ann:x:" + std::to_string(geteuid()) + ":50:Ann:/home/ann:/bin/bash\n");
  }

  std::vector<SettingsFile> files() {
    return settingsFiles(machine.options, kDomain, machine.directory(), geteuid());
  }
  /// Each file with what is said of it.
  Strings told() {
    Strings lines;
    for (const auto& file : files()) {
      auto line = std::string(description(file.kind)) + " " + file.path;
      if (!file.counts) line += ", doesn't count";
      if (file.faultLine != 0) line += ", line " + std::to_string(file.faultLine);
      if (!file.fault.empty()) line += ": " + file.fault;
      lines.push_back(line);
    }
    return lines;
  }
  void write(const std::string& path, const Value& content) {
    machine.write(path, PropertyListText::of(content));
  }

  Machine machine;
};

TEST_F(SettingsFiles, AreNoneOnAMachineWithoutAny) { EXPECT_THAT(told(), IsEmpty()); }

TEST_F(SettingsFiles, ComeInTheOrderInWhichTheyDecide) {
  for (const auto& path : {kMachines, kOwn, kOldManaged, kManaged}) {
    write(path, Dictionary{{"Hide500Users", true}});
  }
  EXPECT_THAT(told(),
              ElementsAre("managed " + kManaged, "managed " + kOldManaged + ", doesn't count",
                          "preferences " + kOwn, "preferences " + kMachines));
  EXPECT_EQ(fileOfSetting(files(), "Hide500Users")->path, kManaged);
  machine.remove(kManaged);
  EXPECT_THAT(told(), ElementsAre("managed " + kOldManaged, "preferences " + kOwn,
                                  "preferences " + kMachines));
  EXPECT_EQ(fileOfSetting(files(), "Hide500Users")->path, kOldManaged);
  machine.remove(kOldManaged);
  EXPECT_EQ(fileOfSetting(files(), "Hide500Users")->path, kOwn);
  machine.remove(kOwn);
  EXPECT_EQ(fileOfSetting(files(), "Hide500Users")->path, kMachines);
  machine.remove(kMachines);
  EXPECT_EQ(fileOfSetting(files(), "Hide500Users"), nullptr);
}

TEST_F(SettingsFiles, HoldEachKeyWithItsLine) {
  machine.write(kManaged,
                "<plist>\n<dict>\n<key>Hide500Users</key>\n<true/>\n\n"
                "<key>DenyList</key> <array><string>*</string></array>\n</dict></plist>");
  machine.write(kOwn, "<plist><dict>\n<key>HideAdminUsers</key><false/></dict></plist>");
  const auto all = files();
  ASSERT_EQ(all.size(), 2U);
  ASSERT_EQ(all[0].settings.size(), 2U);
  EXPECT_EQ(all[0].settings.at("Hide500Users").value, Value(true));
  EXPECT_EQ(all[0].settings.at("Hide500Users").line, 3U);
  EXPECT_EQ(all[0].settings.at("DenyList").value, Value(Array{"*"}));
  EXPECT_EQ(all[0].settings.at("DenyList").line, 6U);
  EXPECT_EQ(all[1].settings.at("HideAdminUsers").line, 2U);
}

TEST_F(SettingsFiles, OfWhichAManagedOneThatSetsNothingHidesTheOldOne) {
  write(kManaged, Dictionary());
  write(kOldManaged, Dictionary{{"HideAdminUsers", true}});
  EXPECT_EQ(fileOfSetting(files(), "HideAdminUsers"), nullptr);
}

TEST_F(SettingsFiles, OfTheAdministratorThatCanNotBeUsedCountAndSayWhy) {
  for (const auto& each : UnusableFile::all()) {
    for (const auto& path : {kManaged, kMachines}) {
      std::filesystem::remove_all(machine.path("/etc/gatehall"));
      std::filesystem::remove(machine.path("/etc/gatehall"));
      std::filesystem::remove_all(machine.path("/elsewhere"));
      write(path, Dictionary{{"Hide500Users", true}});
      if (!each.make(machine, path).empty()) continue;
      const auto kind = path == kManaged ? "managed " : "preferences ";
      EXPECT_THAT(told(), testing::Contains(kind + path + ": " + each.reasonFor(path)))
          << each.name;
    }
  }
}

TEST_F(SettingsFiles, ThatSayWhatTheyCanNotMeanNameTheLine) {
  machine.write(kManaged,
                "<plist><dict>\n<key>Colour</key><true/>\n<key>DenyList</key><true/>\n"
                "</dict></plist>");
  EXPECT_THAT(told(), ElementsAre("managed " + kManaged + ", line 3: DenyList: it is no list"));
  const auto all = files();
  ASSERT_EQ(all[0].unknown.size(), 1U);
  EXPECT_EQ(all[0].unknown[0].key, "Colour");
  machine.write(kManaged, "<plist>\n<dict><key>");
  EXPECT_THAT(told(),
              ElementsAre("managed " + kManaged + ": line 2: no content that <key> can have"));
}

TEST_F(SettingsFiles, OfAUserThatCanNotBeUsedDoNotCount) {
  write(kOwn, Dictionary{{"Hide500Users", true}});
  write(kMachines, Dictionary{{"Hide500Users", false}});
  ASSERT_EQ(chmod(machine.path(kOwn).c_str(), 0646), 0);
  EXPECT_THAT(told(), ElementsAre("preferences " + kOwn +
                                      ", doesn't count: others than its owner can write it",
                                  "preferences " + kMachines));
  EXPECT_EQ(fileOfSetting(files(), "Hide500Users")->path, kMachines);
  machine.write(kOwn, "neither XML nor binary");
  EXPECT_FALSE(files().front().counts);
  write(kOwn, Array{"*"});
  EXPECT_THAT(told(), ElementsAre("preferences " + kOwn + ", doesn't count: it holds no dictionary",
                                  "preferences " + kMachines));
}

TEST_F(SettingsFiles, OfAUserNeedNotBeAPropertyListToTheLetter) {
  machine.write(kOwn, "<plist><dict><key>Hide500Users</key><true/></dict>");
  const auto all = files();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_TRUE(all[0].counts);
  EXPECT_EQ(all[0].settings.at("Hide500Users").line, 0U);
}

TEST_F(SettingsFiles, AreNoneOfADomainThatIsNoFilesName) {
  EXPECT_THAT(settingsFiles(machine.options, "../passwd", machine.directory(), 0), IsEmpty());
  EXPECT_THAT(settingsFiles(machine.options, "", machine.directory(), 0), IsEmpty());
}

}  // namespace
}  // namespace gatehall
