#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "gatehall/linux/LinuxPlatform.h"
#include "linux/preferences/LinuxPreferences.h"
#include "tests/linux/Machine.h"
#include "tests/linux/UnusableFiles.h"
#include "tests/linux/preferences/PropertyListText.h"
#include "tests/platform/contracts/PreferenceContract.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSystemFile = "/etc/gatehall/com.orvane.gatehall.plist";
constexpr const char* kUserFile = "/home/ann/.config/gatehall/com.orvane.gatehall.plist";
constexpr const char* kDomain = "com.orvane.gatehall";

/// The account of whoever runs the test: ann, for the length of it.
std::string annsLine() {
  return "ann:x:" + std::to_string(geteuid()) + ":50:Ann Lee:/home/ann:/bin/bash\n";
}

class LinuxPreferenceHost final : public contracts::PreferenceHost {
 public:
  LinuxPreferenceHost() { mMachine.write("/etc/passwd", annsLine()); }

  Platform& platform() override { return mPlatform; }
  void storeUserSettings(std::string_view domain, const Dictionary& settings) override {
    store("/home/ann/.config/gatehall/", domain, settings);
  }
  void storeSystemSettings(std::string_view domain, const Dictionary& settings) override {
    store("/etc/gatehall/", domain, settings);
  }
  void storeManagedFile(std::string_view domain, const Value& content) override {
    store(kManaged, domain, content);
  }
  void removeManagedFile(std::string_view domain) override {
    mMachine.remove(kManaged + std::string(domain) + ".plist");
  }

 private:
  static constexpr const char* kManaged = "/Library/Managed Preferences/";

  void store(const char* folder, std::string_view domain, const Value& content) {
    mMachine.write(folder + std::string(domain) + ".plist", PropertyListText::of(content));
  }

  Machine mMachine;
  LinuxPlatform mPlatform{mMachine.linuxOptions(), std::make_shared<KeptLog>()};
};

}  // namespace

namespace contracts {
INSTANTIATE_TEST_SUITE_P(Linux, PreferenceContract, testing::Values(&make<LinuxPreferenceHost>));
}  // namespace contracts

namespace {

class AnnsProcess final : public Process {
 public:
  std::uint32_t effectiveUserID() override {
    if (whenAsked) std::exchange(whenAsked, nullptr)();
    return userID;
  }
  std::uint32_t userID = geteuid();
  std::function<void()> whenAsked;  ///< for once
};

class LinuxPreferencesTest : public testing::Test {
 protected:
  LinuxPreferencesTest() { machine.write("/etc/passwd", annsLine()); }

  std::optional<Value> read(std::string_view key, std::string_view domain = kDomain) {
    return preferences.copyApplicationValue(key, domain);
  }
  void write(const char* path, const Value& content) {
    machine.write(path, PropertyListText::of(content));
  }
  void setMode(const char* path, mode_t mode) {
    ASSERT_EQ(chmod(machine.path(path).c_str(), mode), 0);
  }
  std::string ignored(const char* path, const std::string& why) {
    return "Ignoring " + machine.path(path) + ": " + why + ".";
  }

  Machine machine;
  AnnsProcess process;
  LinuxPreferences preferences{machine.options, machine.directory(), process, machine.log};
};

TEST_F(LinuxPreferencesTest, SaysNothingOfFilesThatAreNotThere) {
  EXPECT_FALSE(read("DenyList"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LinuxPreferencesTest, KeepsNothingThatWasReadBeforeItWasToReadAnew) {
  write(kSystemFile, Dictionary{{"a", "old"}});
  // The system's file has been read by then.
  process.whenAsked = [&] {
    write(kSystemFile, Dictionary{{"a", "new"}});
    preferences.synchronizePreferences(kDomain);
  };
  EXPECT_EQ(read("a"), "old") << "asked before the change";
  EXPECT_EQ(read("a"), "new");
}

TEST_F(LinuxPreferencesTest, IgnoresAUsersFileThatOthersCanWriteAndSaysSoOnce) {
  write(kUserFile, Dictionary{{"a", 2}});
  setMode(kUserFile, 0646);
  EXPECT_FALSE(read("a"));
  EXPECT_FALSE(read("a"));
  EXPECT_THAT(machine.log.lines(),
              ElementsAre(ignored(kUserFile, "others than its owner can write it")));
}

TEST_F(LinuxPreferencesTest, IgnoresAUsersFileOfOthers) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root can give files to others.";
  write(kUserFile, Dictionary{{"a", 2}});
  ASSERT_EQ(chown(machine.path(kUserFile).c_str(), 1001, 50), 0);
  EXPECT_FALSE(read("a"));
  EXPECT_THAT(machine.log.lines(), ElementsAre(ignored(kUserFile, "it belongs to user 1001")));
}

TEST_F(LinuxPreferencesTest, ReadsTheUsersFileOfTheUserOrRoot) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root can give files to others.";
  machine.write("/etc/passwd", "ann:x:1000:50:Ann Lee:/home/ann:/bin/bash\n");
  process.userID = 1000;
  write(kUserFile, Dictionary{{"a", "root's"}});
  EXPECT_EQ(read("a"), "root's");
  ASSERT_EQ(chown(machine.path(kUserFile).c_str(), 1000, 50), 0);
  preferences.synchronizePreferences(kDomain);
  EXPECT_EQ(read("a"), "root's");
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LinuxPreferencesTest, FollowsNoLinkInAUsersFilesPlace) {
  machine.write("/etc/elsewhere.plist", PropertyListText::of(Dictionary{{"a", 1}}));
  machine.write("/home/ann/.config/gatehall/other", "");
  std::filesystem::create_symlink(machine.path("/etc/elsewhere.plist"), machine.path(kUserFile));
  EXPECT_FALSE(read("a"));
  EXPECT_THAT(machine.log.lines(), ElementsAre(ignored(kUserFile, "it is a symbolic link")));
}

TEST_F(LinuxPreferencesTest, WaitsForNoFIFOOfAUsers) {
  machine.write("/home/ann/.config/gatehall/other", "");
  ASSERT_EQ(mkfifo(machine.path(kUserFile).c_str(), 0600), 0);
  EXPECT_FALSE(read("a"));
  EXPECT_THAT(machine.log.lines(), ElementsAre(ignored(kUserFile, "it is no regular file")));
}

TEST_F(LinuxPreferencesTest, ReadsNoFolderInAUsersFilesPlace) {
  std::filesystem::create_directories(machine.path(kUserFile));
  EXPECT_FALSE(read("a"));
  EXPECT_THAT(machine.log.lines(), ElementsAre(ignored(kUserFile, "it is no regular file")));
}

TEST_F(LinuxPreferencesTest, SaysWhatIsWrongInAUsersFileAndWhere) {
  machine.write(kUserFile, "<plist>\n<!-- never ends");
  EXPECT_FALSE(read("a"));
  write(kUserFile, Array{"no", "dictionary"});
  preferences.synchronizePreferences(kDomain);
  EXPECT_FALSE(read("a"));
  EXPECT_THAT(machine.log.lines(), ElementsAre(ignored(kUserFile, "line 2: no --> up to the end"),
                                               ignored(kUserFile, "it holds no dictionary")));
}

TEST_F(LinuxPreferencesTest, ReadsNoUsersFileLongerThanTheLimit) {
  machine.write(kUserFile, "");
  ASSERT_EQ(truncate(machine.path(kUserFile).c_str(), 1L << 40), 0);
  EXPECT_FALSE(read("a"));
  EXPECT_THAT(machine.log.lines(), ElementsAre(ignored(kUserFile, "it is too long")));
}

TEST_F(LinuxPreferencesTest, TakesWhatAUserWroteAsItStands) {
  write(kUserFile,
        Dictionary{{"DenyList", Array{"erin"}}, {"DenyLists", 1}, {"Hide500Users", "x"}});
  EXPECT_EQ(read("DenyList"), Array{"erin"});
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LinuxPreferencesTest, RaisesForTheSystemsFileUntilItIsMendedOrGone) {
  write(kUserFile, Dictionary{{"Hide500Users", true}});
  write(kSystemFile, Dictionary{{"DenyList", Array{"erin"}}});
  bool exists = false;
  for (int time = 0; time < 2; ++time) {
    EXPECT_THROW(read("DenyList"), PlatformException);
    EXPECT_THROW(read("Hide500Users"), PlatformException) << "whichever key is asked for";
    EXPECT_THROW(preferences.applicationBoolean("Hide500Users", kDomain, exists),
                 PlatformException);
    preferences.synchronizePreferences(kDomain);
  }
  write(kSystemFile, Dictionary{{"DenyList", Array{"*"}}});
  EXPECT_EQ(read("DenyList"), Array{"*"});
  machine.remove(kSystemFile);
  preferences.synchronizePreferences(kDomain);
  EXPECT_EQ(read("DenyList"), std::nullopt);
  EXPECT_EQ(read("Hide500Users"), true);
}

class UnusableSystemPreferences : public testing::TestWithParam<UnusableFile> {};

TEST_P(UnusableSystemPreferences, RaiseWithTheReason) {
  Machine machine;
  AnnsProcess process;
  LinuxPreferences preferences{machine.options, machine.directory(), process, machine.log};
  machine.write(kSystemFile, PropertyListText::of(Dictionary{{"DenyList", Array{"*"}}}));
  const auto obstacle = GetParam().make(machine, kSystemFile);
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
  for (int time = 0; time < 2; ++time) {
    try {
      preferences.copyApplicationValue("DenyList", kDomain);
      FAIL() << "nothing was raised";
    } catch (const PlatformException& error) {
      EXPECT_EQ(error.what(), std::string(kSystemFile) + ": " + GetParam().reasonFor(kSystemFile));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryWay, UnusableSystemPreferences,
                         testing::ValuesIn(UnusableFile::all()),
                         [](const auto& each) { return each.param.name; });

TEST_F(LinuxPreferencesTest, ReadsBinaryPropertyLists) {
  const std::string header = "bplist00";
  std::string bytes = header + "\xD1\x01\x02" + "\x5C" + "Hide500Users" + "\x09";
  bytes += std::string("\x08\x0B\x18", 3) + std::string(6, '\0') + "\x01\x01";
  bytes += std::string(7, '\0') + "\x03" + std::string(8, '\0') + std::string(7, '\0') + "\x19";
  machine.write(kSystemFile, bytes);
  EXPECT_EQ(read("Hide500Users"), true);
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LinuxPreferencesTest, ReadsNoDomainWhoseNameIsNoFilesName) {
  machine.write("/etc/outside.plist", PropertyListText::of(Dictionary{{"a", 1}}));
  machine.write("/etc/gatehall/.plist", PropertyListText::of(Dictionary{{"a", 1}}));
  machine.write("/etc/gatehall/.hidden.plist", PropertyListText::of(Dictionary{{"a", 1}}));
  for (const auto& domain :
       {std::string("../outside"), std::string(""), std::string(".hidden"),
        std::string("/etc/outside"), std::string(300, 'a'), std::string("..\0", 3)}) {
    EXPECT_FALSE(read("a", domain)) << domain;
  }
}

TEST_F(LinuxPreferencesTest, FindsTheHomeFolderInTheDirectoryNotInTheEnvironment) {
  write("/home/elsewhere/.config/gatehall/com.orvane.gatehall.plist", Dictionary{{"a", 1}});
  const std::string kept = getenv("HOME") == nullptr ? "" : getenv("HOME");
  setenv("HOME", "/home/elsewhere", 1);
  EXPECT_FALSE(read("a"));
  setenv("HOME", kept.c_str(), 1);
}

TEST_F(LinuxPreferencesTest, ReadsTheSystemsFileForAUserWithoutAnAccount) {
  process.userID = 4242;
  write(kSystemFile, Dictionary{{"a", 1}});
  EXPECT_EQ(read("a"), 1);
}

}  // namespace
}  // namespace gatehall
