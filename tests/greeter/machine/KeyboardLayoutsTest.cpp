#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "greeter/machine/KeyboardLayouts.h"

namespace gatehall::greeter {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::string_view kList =
    "! model\n"
    "  de              No layout\n"
    "\n"
    "! layout\n"
    "  us              English (US)\n"
    "  de              German\n"
    "\n"
    "! variant\n"
    "  nodeadkeys      ch: German (Switzerland, no dead keys)\n"
    "  nodeadkeys      de: German (no dead keys)\n"
    "! option\n"
    "  fr              No layout either\n";

/// The names of a keyboard, with a zero behind each.
std::string names(const std::string& layouts, const std::string& variants) {
  std::string result;
  for (const auto* each : {"evdev", "pc105", layouts.c_str(), variants.c_str(), "caps:none"}) {
    result.append(each).append(1, '\0');
  }
  return result;
}

TEST(KeyboardLayouts, AreCalledAsInTheList) {
  EXPECT_THAT(
      layoutsIn(names("us,de", ""), kList, {}),
      ElementsAre(KeyboardLayout{"us", "", "English (US)"}, KeyboardLayout{"de", "", "German"}));
}

TEST(KeyboardLayouts, HaveVariants) {
  EXPECT_THAT(layoutsIn(names("us,de", ",nodeadkeys"), kList, {}),
              ElementsAre(KeyboardLayout{"us", "", "English (US)"},
                          KeyboardLayout{"de", "nodeadkeys", "German (no dead keys)"}));
}

TEST(KeyboardLayouts, AreCalledByTheirCodesWhereTheListHasNoName) {
  EXPECT_THAT(
      layoutsIn(names("fr,de", "bepo,odd"), kList, {}),
      ElementsAre(KeyboardLayout{"fr", "bepo", "fr"}, KeyboardLayout{"de", "odd", "German"}));
  EXPECT_THAT(layoutsIn(names("us", ""), "", {}), ElementsAre(KeyboardLayout{"us", "", "us"}));
}

TEST(KeyboardLayouts, AreAtMostFour) {
  EXPECT_THAT(layoutsIn(names("us,de,us,de,us", ""), kList, {}), SizeIs(4));
}

TEST(KeyboardLayouts, AreNoneOfNamesThatEndEarly) {
  EXPECT_THAT(layoutsIn("", kList, {}), IsEmpty());
  EXPECT_THAT(layoutsIn("evdev", kList, {}), IsEmpty());
  EXPECT_THAT(layoutsIn(names("", ""), kList, {}), IsEmpty());
}

}  // namespace
}  // namespace gatehall::greeter
