#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <string>

#include "greeter/settings/GreeterSettings.h"
#include "tests/linux/Machine.h"

namespace gatehall::greeter {
namespace {

/// The file that is installed, with each setting taken out of its comment where that is wanted.
std::string shipped(bool isTakenOut) {
  std::ifstream file(GATEHALL_SHIPPED_SETTINGS);
  std::ostringstream content;
  for (std::string line; std::getline(file, line);) {
    const bool isSetting = line.find(" = ") != std::string::npos && line.starts_with('#') &&
                           line.size() > 1 && line[1] >= 'a' && line[1] <= 'z';
    content << (isTakenOut && isSetting ? line.substr(1) : line) << '\n';
  }
  return content.str();
}

class ShippedSettings : public testing::Test {
 protected:
  GreeterSettings of(const std::string& content) {
    machine.write("/etc/gatehall/greeter.toml", content);
    FaultLog faults(log);
    return GreeterSettings::read(machine.options, faults);
  }

  Machine machine;
  KeptLog log;
};

TEST_F(ShippedSettings, SetNothing) {
  ASSERT_NE(shipped(false), "");
  EXPECT_EQ(of(shipped(false)), GreeterSettings());
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(ShippedSettings, AreEachAnExampleThatIsUnderstood) {
  const auto settings = of(shipped(true));
  EXPECT_THAT(log.lines(), testing::IsEmpty());
  EXPECT_EQ(settings.refusedUsers, GreeterSettings::Refused::Hidden);
  EXPECT_EQ(settings.scale, 2);
  EXPECT_FALSE(settings.power);
}

}  // namespace
}  // namespace gatehall::greeter
