#include <chrono>
#include <ctime>
#include <filesystem>
#include <gmock/gmock.h>
#include <thread>

#include "linux/accounts/PasswdLines.h"
#include "linux/directory/LinuxMembership.h"
#include "tests/Patience.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kFirstQuestions = 4;

class PasswdLinesTest : public testing::Test {
 protected:
  PasswdLinesTest() {
    mMachine.write("/etc/passwd",
                   "ann:x:1000:100:Ann:/home/ann:/bin/bash\n"
                   "# bob:x:1001:100::/:/bin/sh\n"
                   "odd:x:none:100::/:/bin/sh\n"
                   "bob:x:1001:100::/home/bob:/bin/sh\n"
                   "twin:x:1000:100::/home/twin:/bin/sh\n");
    letTimePass();
  }

  /// The file was written long ago.
  void letTimePass() { mMachine.clock.seconds = static_cast<double>(std::time(nullptr)) + 3600; }

  /// The lines, past the questions of those who ask only a few times.
  std::shared_ptr<const PasswdLines::Snapshot> lines() {
    for (int question = 0; question < kFirstQuestions; ++question) mLines.current();
    return mLines.current();
  }

  Strings visited(const PasswdLines::Snapshot& lines,
                  const std::unordered_set<std::uint32_t>& userIDs) {
    Strings found;
    lines.visit(userIDs, [&](std::string_view line, std::uint64_t number) {
      found.push_back(std::to_string(number) + " " + std::string(line.substr(0, line.find(':'))));
      return true;
    });
    return found;
  }

  /// Looks the account up by its user id until it has that name, or is gone without one.
  void await(const std::string& userID, const Strings& names) {
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (mMachine.names(record::Users, "UniqueID", MatchType::EqualTo, {userID}) != names) {
      ASSERT_LT(std::chrono::steady_clock::now(), limit);
      std::this_thread::yield();
    }
  }

  Machine mMachine;
  FaultLog mFaults{mMachine.log};
  PasswdLines mLines{mMachine.options, mFaults, mMachine.clock};
  MachineGUIDs mGUIDs{mMachine.options, mFaults};
};

TEST_F(PasswdLinesTest, AreNotKeptForWhoAsksAFewTimes) {
  for (int question = 0; question < kFirstQuestions; ++question) {
    EXPECT_EQ(mLines.current(), nullptr);
  }
  EXPECT_NE(mLines.current(), nullptr);
}

TEST_F(PasswdLinesTest, AreVisitedByUserIDInTheOrderOfTheFile) {
  const auto lines = this->lines();
  EXPECT_THAT(visited(*lines, {1000}), ElementsAre("1 ann", "3 odd", "5 twin"));
  EXPECT_THAT(visited(*lines, {1000, 1001}), ElementsAre("1 ann", "3 odd", "4 bob", "5 twin"));
  EXPECT_THAT(visited(*lines, {77}), ElementsAre("3 odd"));
  EXPECT_THAT(visited(*lines, {}), ElementsAre("3 odd"));
}

TEST_F(PasswdLinesTest, AreVisitedUntilOneIsEnough) {
  int count = 0;
  lines()->visit({1000, 1001}, [&](std::string_view, std::uint64_t) { return ++count < 2; });
  EXPECT_EQ(count, 2);
}

TEST_F(PasswdLinesTest, KnowTheUserIDsBehindGUIDs) {
  const auto lines = this->lines();
  EXPECT_EQ(lines->userIDOf(mGUIDs.ofUser(1001), mGUIDs), 1001U);
  EXPECT_EQ(lines->userIDOf(mGUIDs.ofUser(77), mGUIDs), std::nullopt);
  EXPECT_EQ(lines->userIDOf(mGUIDs.ofGroup(1001), mGUIDs), std::nullopt);
}

TEST_F(PasswdLinesTest, StayWhileTheFileDoes) {
  const auto before = lines();
  EXPECT_EQ(mLines.current(), before);
  mMachine.write("/etc/passwd.new", "new:x:1000:100::/:/bin/sh\n");
  std::filesystem::rename(mMachine.path("/etc/passwd.new"), mMachine.path("/etc/passwd"));
  const auto after = mLines.current();
  ASSERT_NE(after, nullptr);
  EXPECT_THAT(visited(*after, {1000}), ElementsAre("1 new"));
  EXPECT_THAT(visited(*before, {1000}), ElementsAre("1 ann", "3 odd", "5 twin"));
}

TEST_F(PasswdLinesTest, AreReadAgainWhileTheFileIsFreshWhateverItsTimesTell) {
  mMachine.clock.seconds = static_cast<double>(std::time(nullptr));
  for (int turn = 0; turn < 50; ++turn) {
    // As long as before, and at once, so that often nothing but the content differs.
    mMachine.write("/etc/passwd", "some:x:1000:100::/:/bin/sh\n");
    await("1000", {"some"});
    mMachine.write("/etc/passwd", "none:x:1001:100::/:/bin/sh\n");
    await("1000", {});
    await("1001", {"none"});
  }
}

TEST_F(PasswdLinesTest, AreNotKeptWithoutAFile) {
  ASSERT_NE(lines(), nullptr);
  mMachine.remove("/etc/passwd");
  EXPECT_EQ(mLines.current(), nullptr);
  mMachine.write("/etc/passwd", "");
  EXPECT_THAT(visited(*mLines.current(), {1000}), IsEmpty());
}

TEST_F(PasswdLinesTest, AnswerAsTheFileItselfDoes) {
  mMachine.write("/etc/passwd",
                 "ann:x:1000:100:Ann:/home/ann:/bin/bash\n"
                 "broken:x:1001:none::/:/bin/sh\n"
                 "bob:x:1001:100::/home/bob:/bin/sh\n"
                 "twin:x:1000:100::/home/twin:/bin/sh\n");
  const auto guidOf = [&](std::uint32_t userID) { return uuidText(mGUIDs.ofUser(userID)); };
  const auto ask = [&](const char* kind, const Strings& values) {
    return mMachine.names(record::Users, kind, MatchType::EqualTo, values);
  };
  const auto askAll = [&] {
    return std::vector{ask("UniqueID", {"1000"}), ask("UniqueID", {"1001", "77"}),
                       ask("UniqueID", {"77"}), ask("GUID", {guidOf(1001), guidOf(1000)}),
                       ask("GUID", {guidOf(77)})};
  };
  const auto first = askAll();
  EXPECT_THAT(first, ElementsAre(ElementsAre("ann", "twin"), ElementsAre("bob"), IsEmpty(),
                                 ElementsAre("ann", "bob", "twin"), IsEmpty()));
  for (int time = 0; time < 3; ++time) EXPECT_EQ(askAll(), first);
}

TEST_F(PasswdLinesTest, LeaveUserRecordsTheLastWord) {
  mMachine.write("/etc/userdb/zoe.user",
                 R"({"userName":"zoe","uid":1001,"uuid":"0e1a40ad-5f6d-4d0c-9c5b-5b0c9d1e8a11"})");
  for (int time = 0; time < 8; ++time) {
    EXPECT_THAT(mMachine.names(record::Users, "UniqueID", MatchType::EqualTo, {"1001"}),
                ElementsAre("bob", "zoe"));
  }
}

TEST_F(PasswdLinesTest, MakeEachOfManyQuestionsForTheAccessListTheAnswerThatTheFilesGive) {
  LinuxDirectory directory(mMachine.options, mMachine.log, mMachine.clock);
  LinuxMembership membership(directory, mMachine.log);
  const auto mayEnter = [&](std::uint32_t userID) {
    bool isMember = false;
    const int status =
        membership.checkServiceMembership(mGUIDs.ofUser(userID), "gatehall", isMember);
    return status == MembershipService::kNoAccessList || (status == 0 && isMember);
  };
  mMachine.write("/etc/group", "gatehall-access:x:900:bob\n");
  for (int time = 0; time < 8; ++time) {
    EXPECT_TRUE(mayEnter(1001));
    EXPECT_FALSE(mayEnter(1000));
    EXPECT_FALSE(mayEnter(77));
  }
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  mMachine.write("/etc/group", "gatehall-access:x:100:\n");  // whose first group it is
  while (!mayEnter(1000)) ASSERT_LT(std::chrono::steady_clock::now(), limit);
  mMachine.write("/etc/group", "gatehall-access:x:900:bob\n");
  while (mayEnter(1000)) ASSERT_LT(std::chrono::steady_clock::now(), limit);
  mMachine.write("/etc/group", "");
  while (!mayEnter(77)) ASSERT_LT(std::chrono::steady_clock::now(), limit);
}

}  // namespace
}  // namespace gatehall
