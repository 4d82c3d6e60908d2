#include <gtest/gtest.h>
#include <sys/stat.h>

#include "linux/PolicyFiles.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

class PolicyFiles : public testing::Test {
 protected:
  PolicyFiles() {
    for (const auto* folder : {"/etc", "/etc/gatehall", "/etc/userdb"}) {
      std::filesystem::create_directories(mMachine.path(folder));
      setMode(folder, 0755);
    }
    mMachine.write("/etc/group", "");
    mMachine.write("/etc/userdb/erin.user", "{}");
    mMachine.write("/etc/userdb/erin.user-privileged", "{}");
  }

  void setMode(std::string_view path, mode_t mode) {
    ASSERT_EQ(chmod(mMachine.path(path).c_str(), mode), 0);
  }
  Strings hidden() { return policyFilesHiddenFromUsers(mMachine.options); }
  static std::string sentence(const std::string& path, const std::string& mode) {
    return path + " can't be read by other users (mode " + mode +
           "): programs that they run, gatehall-switch among them, may decide otherwise";
  }

  Machine mMachine;
};

TEST_F(PolicyFiles, AreAllThereForEverybodyOnAGoodDay) {
  setMode("/etc/userdb/erin.user-privileged", 0600);
  EXPECT_EQ(hidden(), Strings{});
}

TEST_F(PolicyFiles, AreToldOfWhenTheirModeHidesThem) {
  mMachine.write("/etc/gatehall/switch.toml", "");
  setMode("/etc/group", 0640);
  setMode("/etc/gatehall/switch.toml", 0600);
  setMode("/etc/userdb/erin.user", 0600);
  EXPECT_EQ(hidden(),
            (Strings{sentence("/etc/group", "0640"), sentence("/etc/gatehall/switch.toml", "0600"),
                     sentence("/etc/userdb/erin.user", "0600")}));
}

TEST_F(PolicyFiles, AreToldOfOnceByTheFolderThatHidesThem) {
  mMachine.write("/etc/gatehall/directory.toml", "");
  mMachine.write("/etc/gatehall/com.orvane.gatehall.plist", "");
  setMode("/etc/gatehall", 0750);
  setMode("/etc/userdb", 0711);
  EXPECT_EQ(hidden(),
            (Strings{sentence("/etc/gatehall", "0750"), sentence("/etc/userdb", "0711")}));
}

}  // namespace
}  // namespace gatehall
