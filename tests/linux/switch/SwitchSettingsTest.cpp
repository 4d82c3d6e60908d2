#include <gmock/gmock.h>
#include <sys/stat.h>

#include "linux/switch/SwitchSettings.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::string_view kFile = "/etc/gatehall/switch.toml";

class SwitchSettingsFile : public testing::Test {
 protected:
  bool requiresLock(std::string_view content) {
    machine.write(kFile, content);
    return SwitchSettings::read(machine.options, log).requiresLock;
  }

  Machine machine;
  KeptLog log;
};

TEST_F(SwitchSettingsFile, NeedNotExist) {
  EXPECT_TRUE(SwitchSettings::read(machine.options, log).requiresLock);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SwitchSettingsFile, SaysWhetherALockIsRequired) {
  EXPECT_TRUE(requiresLock("lock = \"require\"\n"));
  EXPECT_FALSE(requiresLock("# nobody locks here\nlock = \"try\"\n"));
  EXPECT_TRUE(requiresLock(""));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SwitchSettingsFile, ThatIsWrittenWrongRequiresALockAndTheLogSaysWhere) {
  EXPECT_TRUE(requiresLock("lock = \"try\"\nlokc = \"try\"\n"));
  EXPECT_TRUE(requiresLock("\nlock = \"Try\"\n"));
  EXPECT_TRUE(requiresLock("lock = false\n"));
  EXPECT_TRUE(requiresLock("lock = \"try\n"));
  EXPECT_THAT(log.lines(),
              ElementsAre("/etc/gatehall/switch.toml:2: lokc is not a setting; did you mean lock?",
                          "/etc/gatehall/switch.toml:2: lock is neither \"require\" nor \"try\"",
                          "/etc/gatehall/switch.toml:1: lock is neither \"require\" nor \"try\"",
                          HasSubstr("/etc/gatehall/switch.toml:1: ")));
}

TEST_F(SwitchSettingsFile, ThatOthersCanWriteRequiresALock) {
  machine.write(kFile, "lock = \"try\"\n");
  ASSERT_EQ(chmod(machine.path(kFile).c_str(), 0666), 0);
  EXPECT_TRUE(SwitchSettings::read(machine.options, log).requiresLock);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("ignored: others than its owner can write ")));
}

}  // namespace
}  // namespace gatehall
