#include <gmock/gmock.h>
#include <sys/stat.h>

#include "greeter/settings/GreeterSettings.h"
#include "tests/linux/Machine.h"

namespace gatehall::greeter {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::string_view kFile = "/etc/gatehall/greeter.toml";

class GreeterSettingsFile : public testing::Test {
 protected:
  GreeterSettings read() {
    FaultLog faults(log);
    return GreeterSettings::read(machine.options, faults);
  }
  GreeterSettings of(std::string_view content) {
    machine.write(kFile, content);
    return read();
  }

  Machine machine;
  KeptLog log;
};

TEST_F(GreeterSettingsFile, NeedNotExist) {
  EXPECT_EQ(read(), GreeterSettings());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GreeterSettingsFile, SetsEverything) {
  const auto settings = of(R"(
refused-users = "hide"
background = "/usr/share/backgrounds/school.jpg"
logo = "/usr/share/pixmaps/school.svg"
style = "/etc/gatehall/school.css"
theme = "dark"
scale = 3
high-contrast = true
large-text = true
clock = "%H:%M"
host-name = false
power = false
)");
  EXPECT_EQ(settings, (GreeterSettings{.refusedUsers = GreeterSettings::Refused::Hidden,
                                       .background = "/usr/share/backgrounds/school.jpg",
                                       .logo = "/usr/share/pixmaps/school.svg",
                                       .style = "/etc/gatehall/school.css",
                                       .theme = GreeterSettings::Theme::Dark,
                                       .scale = 3,
                                       .highContrast = true,
                                       .largeText = true,
                                       .clock = "%H:%M",
                                       .hostName = false,
                                       .power = false}));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GreeterSettingsFile, TakesAColourForABackground) {
  EXPECT_EQ(of("background = \"#2c3E50\"").background, "#2c3E50");
  EXPECT_EQ(of("theme = \"light\"").theme, GreeterSettings::Theme::Light);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(GreeterSettingsFile, CountsAsFarAsItIsUnderstood) {
  const auto settings = of(R"(refused-users = true
background = "school.jpg"
logo = "logo.png"
style = 4
theme = "blue"
scale = 5
high-contrast = "yes"
clock = ""
powr = false
large-text = true
)");
  EXPECT_EQ(settings, GreeterSettings{.largeText = true});
  EXPECT_THAT(
      log.lines(),
      testing::UnorderedElementsAre(
          "/etc/gatehall/greeter.toml:1: refused-users is neither \"show\" nor \"hide\"",
          "/etc/gatehall/greeter.toml:2: background is neither the path of a picture nor a colour "
          "as \"#2c3e50\"",
          "/etc/gatehall/greeter.toml:3: logo is not the path of a picture",
          "/etc/gatehall/greeter.toml:4: style is not the path of a style sheet",
          "/etc/gatehall/greeter.toml:5: theme is neither \"light\" nor \"dark\" nor \"auto\"",
          "/etc/gatehall/greeter.toml:6: scale is not a whole number from 1 to 4",
          "/etc/gatehall/greeter.toml:7: high-contrast is neither true nor false",
          "/etc/gatehall/greeter.toml:8: clock is not a format of strftime(3)",
          "/etc/gatehall/greeter.toml:9: powr is not a setting; did you mean power?"));
}

TEST_F(GreeterSettingsFile, KnowsAColourFromWhatOnlyLooksLikeOne) {
  for (const auto* colour : {"#2c3e5", "#2c3e500", "#2c3e5g", "2c3e50#", ""}) {
    EXPECT_EQ(of(std::string("background = \"") + colour + "\"").background, "") << colour;
  }
}

TEST_F(GreeterSettingsFile, ThatIsNoTomlCountsAsNone) {
  EXPECT_EQ(of("large-text = true\nscale = \n"), GreeterSettings());
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("/etc/gatehall/greeter.toml:2: ")));
}

TEST_F(GreeterSettingsFile, ThatOthersCanWriteCountsAsNone) {
  machine.write(kFile, "large-text = true\n");
  ASSERT_EQ(chmod(machine.path(kFile).c_str(), 0666), 0);
  EXPECT_EQ(read(), GreeterSettings());
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("ignored: others than its owner can write ")));
}

}  // namespace
}  // namespace gatehall::greeter
