#include <chrono>
#include <ctime>
#include <thread>

#include "platform/linux/GroupNames.h"
#include "tests/platform/linux/Machine.h"

namespace gatehall {
namespace {

class GroupNamesTest : public testing::Test {
 protected:
  GroupNamesTest() { mMachine.write("/etc/group", "sudo:x:27:ann\n# no:x:1:\nbroken\n"); }

  /// The file was written long ago.
  void letTimePass() { mMachine.clock.seconds = static_cast<double>(std::time(nullptr)) + 3600; }

  /// The answers of the first questions, which look nowhere.
  void warmUp() {
    for (int question = 0; question < 4; ++question) EXPECT_TRUE(mNames.mayHold("nobody"));
  }

  /// Asks until that is the answer.
  void await(std::string_view name, bool answer) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (mNames.mayHold(name) != answer) {
      ASSERT_LT(std::chrono::steady_clock::now(), limit) << name;
      std::this_thread::yield();
    }
  }

  Machine mMachine;
  FaultLog mFaults{mMachine.log};
  GroupNames mNames{mMachine.options, mFaults, mMachine.clock};
};

TEST_F(GroupNamesTest, KnowWhichNamesStandInTheFileReadableOrNot) {
  letTimePass();
  warmUp();
  EXPECT_TRUE(mNames.mayHold("sudo"));
  EXPECT_TRUE(mNames.mayHold("broken"));
  EXPECT_FALSE(mNames.mayHold("gatehall-access"));
  EXPECT_FALSE(mNames.mayHold("Sudo"));
  EXPECT_FALSE(mNames.mayHold("# no"));
  EXPECT_FALSE(mNames.mayHold(""));
}

TEST_F(GroupNamesTest, AreReadAgainWhileTheFileIsFreshWhateverItsTimesTell) {
  mMachine.clock.seconds = static_cast<double>(std::time(nullptr));
  warmUp();
  for (int turn = 0; turn < 50; ++turn) {
    // As long as before, and at once, so that often nothing but the content differs.
    mMachine.write("/etc/group", "some:x:900:ann\n");
    await("some", true);
    mMachine.write("/etc/group", "sudo:x:900:ann\n");
    await("some", false);
    EXPECT_TRUE(mNames.mayHold("sudo"));
  }
}

TEST_F(GroupNamesTest, AreThoseOfTheFileThatTookItsPlace) {
  letTimePass();
  warmUp();
  EXPECT_FALSE(mNames.mayHold("gatehall-access"));
  mMachine.write("/etc/group.new", "gatehall-access:x:900:ann\n");
  std::filesystem::rename(mMachine.path("/etc/group.new"), mMachine.path("/etc/group"));
  await("gatehall-access", true);
  EXPECT_FALSE(mNames.mayHold("sudo"));
  mMachine.write("/etc/group", "");
  await("gatehall-access", false);
}

TEST_F(GroupNamesTest, AreNotKnownWithoutAFile) {
  letTimePass();
  warmUp();
  mMachine.remove("/etc/group");
  EXPECT_TRUE(mNames.mayHold("sudo"));
  mMachine.write("/etc/group", "sudo:x:27:\n");
  EXPECT_FALSE(mNames.mayHold("wheel"));
}

TEST_F(GroupNamesTest, SpareAMembershipThatNobodyDefinedTheSearch) {
  letTimePass();
  const auto local = mMachine.local();
  const auto ask = [&] {
    return local
        ->query({{std::string(record::Groups)},
                 std::string(attribute::RecordName),
                 MatchType::EqualTo,
                 {"gatehall-access"},
                 {},
                 0})
        ->results(false)
        ->size();
  };
  for (int question = 0; question < 8; ++question) EXPECT_EQ(ask(), 0U);
  mMachine.write("/etc/group", "gatehall-access:x:900:ann\n");
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (ask() != 1) ASSERT_LT(std::chrono::steady_clock::now(), limit);
}

}  // namespace
}  // namespace gatehall
