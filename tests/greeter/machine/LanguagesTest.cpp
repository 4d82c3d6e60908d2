#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "greeter/machine/Languages.h"
#include "tests/linux/bus/fixture/ChildProcess.h"

namespace gatehall::greeter {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> localesIn(const char* lines) {
  std::vector<std::string> locales;
  for (const auto& each : languagesIn(lines)) locales.push_back(each.locale);
  return locales;
}

TEST(Languages, AreThoseOfLocalesInUtf8) {
  EXPECT_THAT(localesIn("C\nC.utf8\nPOSIX\nxx_YY\nxx_YY.iso88591\nxx_YY.utf8\nxx_ZZ.UTF-8@latin\n"),
              ElementsAre("xx_YY.UTF-8", "xx_ZZ.UTF-8@latin"));
}

TEST(Languages, AreEachThereOnce) {
  EXPECT_THAT(localesIn("xx_YY.utf8\nxx_YY.UTF-8\nxx_YY.utf8"), ElementsAre("xx_YY.UTF-8"));
}

TEST(Languages, AreNoneOfLinesThatAreNoNames) {
  EXPECT_THAT(localesIn(""), IsEmpty());
  EXPECT_THAT(localesIn(".utf8\n\n.\n"), IsEmpty());
  EXPECT_THAT(localesIn((std::string(80, 'x') + ".utf8").c_str()), IsEmpty());
}

TEST(Languages, AreCalledByTheirLocalesWhereThoseAreNotInstalled) {
  EXPECT_EQ(languageOf("xx_YY.UTF-8"), (Language{"xx_YY.UTF-8", "xx_YY.UTF-8"}));
}

TEST(Languages, AreCalledAsTheyCallThemselves) {
  auto folder = (std::filesystem::temp_directory_path() / "gatehall-XXXXXX").string();
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  for (const auto* name : {"de_AT", "fr_FR"}) {
    ChildProcess(
        {"localedef", "--no-archive", "-i", name, "-f", "UTF-8", folder + "/" + name + ".UTF-8"})
        .finish();
  }
  setenv("LOCPATH", folder.c_str(), 1);
  EXPECT_THAT(languagesIn("fr_FR.utf8\nde_AT.utf8\n"),
              ElementsAre(Language{"de_AT.UTF-8", "Deutsch (Österreich)"},
                          Language{"fr_FR.UTF-8", "Français (France)"}));
  unsetenv("LOCPATH");
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace gatehall::greeter
