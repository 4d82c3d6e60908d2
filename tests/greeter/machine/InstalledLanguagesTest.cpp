#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "greeter/machine/InstalledLanguages.h"
#include "linux/loop/MainLoop.h"
#include "tests/linux/Driving.h"
#include "tests/linux/Machine.h"

namespace gatehall::greeter {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class InstalledLanguagesTest : public testing::Test {
 protected:
  /// Has a script stand in for locale(1).
  void install(const std::string& script) {
    mMachine.write("/locale", "#!/bin/sh\n" + script);
    std::filesystem::permissions(mProgram, std::filesystem::perms::owner_all);
  }
  bool isThere() {
    return driveUntil(mLoop, [this] { return mLanguages != nullptr; });
  }
  std::vector<std::string> told() {
    driveUntil(mLoop, [this] { return mTold.has_value(); });
    std::vector<std::string> locales;
    for (const auto& each : mTold.value_or(std::vector<Language>{{"nothing is told", ""}})) {
      locales.push_back(each.locale);
    }
    return locales;
  }

  Machine mMachine;
  std::string mProgram = mMachine.path("/locale");
  std::optional<std::vector<Language>> mTold;
  std::unique_ptr<InstalledLanguages> mLanguages;
  MainLoop mLoop{std::this_thread::get_id(), [this](EventLoop& events) {
                   mLanguages = std::make_unique<InstalledLanguages>(
                       events,
                       [this](const std::vector<Language>& languages) { mTold = languages; },
                       mProgram);
                 }};
};

TEST_F(InstalledLanguagesTest, AreThoseThatTheProgramPrints) {
  install("[ \"$1 $LC_ALL\" = '-a C' ] && echo xx_YY.utf8 && echo xx_ZZ.utf8\n");
  EXPECT_THAT(told(), ElementsAre("xx_YY.UTF-8", "xx_ZZ.UTF-8"));
}

TEST_F(InstalledLanguagesTest, AreNotWaitedForLongerThanTheyAreReadable) {
  install("exec 3>&1\necho xx_YY.utf8\nexec >&- 3>&-\nexec sleep 1000\n");
  EXPECT_THAT(told(), ElementsAre("xx_YY.UTF-8"));
}

TEST_F(InstalledLanguagesTest, AreReadUpToALimit) {
  install("while echo xx_YY.utf8; do :; done\n");
  EXPECT_THAT(told(), ElementsAre("xx_YY.UTF-8"));
}

TEST_F(InstalledLanguagesTest, AreLeftAloneOnceNobodyWantsToKnow) {
  const auto file = mMachine.path("/process");
  install("echo $$ > " + file + ".new\nmv " + file + ".new " + file + "\nexec sleep 1000\n");
  ASSERT_TRUE(isThere());
  ASSERT_TRUE(driveUntil(mLoop, [&] { return std::filesystem::exists(file); }));
  pid_t process = 0;
  std::ifstream(file) >> process;
  ASSERT_EQ(kill(process, 0), 0);
  mLanguages.reset();
  EXPECT_EQ(kill(process, 0), -1);
  EXPECT_EQ(errno, ESRCH);
}

TEST_F(InstalledLanguagesTest, AreNotToldWithoutTheProgram) {
  ASSERT_TRUE(isThere());
  bool isLater = false;
  mLoop.performAfterDelay(0.1, [&] { isLater = true; });
  ASSERT_TRUE(driveUntil(mLoop, [&] { return isLater; }));
  EXPECT_EQ(mTold, std::nullopt);
}

TEST_F(InstalledLanguagesTest, AreNoneWhereTheProgramPrintsNothing) {
  install("exit 1\n");
  EXPECT_THAT(told(), IsEmpty());
}

}  // namespace
}  // namespace gatehall::greeter
