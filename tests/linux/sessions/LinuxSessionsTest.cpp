#include <cstdio>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "gatehall/linux/LinuxPlatform.h"
#include "linux/sessions/LinuxSessions.h"
#include "linux/sessions/SessionNumber.h"
#include "tests/linux/Machine.h"
#include "tests/linux/OwnRun.h"
#include "tests/platform/contracts/SessionContract.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kPasswd =
    "ann:x:1000:50:Ann Lee:/home/ann:/bin/bash\n"
    "bob:x:1001:50:Bob Ray:/home/bob:/bin/sh\n"
    "carol:x:1002:50:Carol Ost:/home/carol:/bin/bash\n";

/// A session's file as logind writes it.
std::string sessionFile(int userID, const char* seat, const char* type, const char* kind,
                        const char* state) {
  return "# This is private data. Do not parse.\nUID=" + std::to_string(userID) +
         "\nUSER=somebody\nACTIVE=0\nIS_DISPLAY=1\nSTATE=" + state + "\nREMOTE=0\nTYPE=" + type +
         "\nCLASS=" + kind + (seat == nullptr ? "" : std::string("\nSEAT=") + seat) + "\n";
}

class LinuxSessionHost final : public contracts::SessionHost {
 public:
  LinuxSessionHost() { mMachine.write("/etc/passwd", kPasswd); }

  Platform& platform() override { return mPlatform; }
  void open(const contracts::Account& account, bool ownsConsole) override {
    const auto name = "c" + std::to_string(account.userID);
    OwnRun::write("sessions/" + name, sessionFile(static_cast<int>(account.userID), "seat0", "x11",
                                                  "user", ownsConsole ? "active" : "online"));
    if (ownsConsole) {
      OwnRun::write("seats/seat0",
                    "ACTIVE=" + name + "\nACTIVE_UID=" + std::to_string(account.userID) + "\n");
    }
  }
  void close(const contracts::Account& account) override {
    std::filesystem::remove("/run/systemd/sessions/c" + std::to_string(account.userID));
    OwnRun::write("seats/seat0", "IS_SEAT0=1\n");
  }

 private:
  OwnRun mRun;
  Machine mMachine;
  LinuxPlatform mPlatform{mMachine.linuxOptions(), std::make_shared<KeptLog>()};
};

std::vector<contracts::Factory<contracts::SessionHost>> hosts() {
  if (OwnRun::obstacle().empty()) return {&contracts::make<LinuxSessionHost>};
  std::fprintf(stderr, "SKIPPED: the session contract on Linux. %s\n", OwnRun::obstacle().c_str());
  return {};
}

}  // namespace

namespace contracts {
INSTANTIATE_TEST_SUITE_P(Linux, SessionContract, testing::ValuesIn(hosts()));
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SessionContract);
}  // namespace contracts

namespace {

class LinuxSessionsTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!OwnRun::obstacle().empty()) GTEST_SKIP() << OwnRun::obstacle();
    run = std::make_unique<OwnRun>();
    machine.write("/etc/passwd", kPasswd);
  }

  /// The user ids of the sessions listed, -1 for one that went away.
  std::vector<std::int64_t> listed() {
    std::vector<std::int64_t> users;
    const auto list = sessions.copySessionList().value();
    for (const auto& each : list) {
      users.push_back(each ? each->at(std::string(session::UserIDKey)).integerValue().value() : -1);
    }
    return users;
  }

  std::unique_ptr<OwnRun> run;
  Machine machine;
  LinuxSessions sessions{machine.options, machine.directory(), machine.log};
};

TEST_F(LinuxSessionsTest, ListsOnlyGraphicalSessionsOfUsersOnASeat) {
  run->write("sessions/1", sessionFile(1000, "seat0", "x11", "user", "active"));
  run->write("sessions/2", sessionFile(1001, "seat1", "wayland", "user", "online"));
  run->write("sessions/3", sessionFile(1002, "seat0", "mir", "user", "online"));
  run->write("sessions/4", sessionFile(2001, nullptr, "x11", "user", "online"));
  run->write("sessions/5", sessionFile(2002, "seat0", "tty", "user", "online"));
  run->write("sessions/6", sessionFile(2003, "seat0", "x11", "greeter", "online"));
  run->write("sessions/7", sessionFile(2004, "seat0", "x11", "background", "online"));
  EXPECT_THAT(listed(), testing::UnorderedElementsAre(1000, 1001, 1002));
}

TEST_F(LinuxSessionsTest, AMachineThatDoesNotRunHasNone) {
  run->write("sessions/1", sessionFile(1000, "seat0", "x11", "user", "active"));
  run->write("seats/seat0", "ACTIVE=1\nACTIVE_UID=1000\n");
  ASSERT_TRUE(sessions.copyCurrentSession());
  auto options = machine.options;
  options.isRunning = false;
  LinuxSessions ofFiles(options, machine.directory(), machine.log);
  EXPECT_FALSE(ofFiles.copyCurrentSession());
  EXPECT_THAT(ofFiles.copySessionList(), testing::Optional(IsEmpty()));
}

TEST_F(LinuxSessionsTest, TellsWhetherTheLoginIsDone) {
  for (const auto& [state, done] : {std::pair("active", true), std::pair("online", true),
                                    std::pair("opening", false), std::pair("closing", false)}) {
    run->write("sessions/1", sessionFile(1000, "seat0", "x11", "user", state));
    const auto list = sessions.copySessionList();
    ASSERT_TRUE(list && list->size() == 1 && list->front()) << state;
    EXPECT_EQ(list->front()->at(std::string(session::LoginDoneKey)), done) << state;
  }
}

TEST_F(LinuxSessionsTest, LeavesAGapForASessionThatWentAway) {
  run->write("sessions/1", sessionFile(1000, "seat0", "x11", "user", "active"));
  run->write("sessions/2", "");
  std::filesystem::remove("/run/systemd/sessions/2");
  std::filesystem::create_symlink("/run/systemd/nothing", "/run/systemd/sessions/2");
  EXPECT_THAT(listed(), testing::UnorderedElementsAre(1000, -1));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LinuxSessionsTest, SurvivesASessionFileThatSaysNothing) {
  run->write("sessions/1", "garbage\n=\nUID=\n");
  run->write("sessions/2", sessionFile(1000, "seat0", "x11", "user", "active"));
  EXPECT_THAT(listed(), testing::IsSupersetOf({1000}));
}

TEST_F(LinuxSessionsTest, ListsOnWhenAFileHasANameThatNoSessionCanHave) {
  run->write("sessions/no-session", sessionFile(1000, "seat0", "x11", "user", "active"));
  run->write("sessions/1", sessionFile(1001, "seat0", "x11", "user", "active"));
  EXPECT_THAT(listed(), testing::UnorderedElementsAre(-1, 1001));
}

TEST_F(LinuxSessionsTest, LeavesOutTheNameOfAUserWhomTheDirectoryLacks) {
  run->write("sessions/1", sessionFile(4242, "seat0", "x11", "user", "active"));
  run->write("seats/seat0", "ACTIVE=1\nACTIVE_UID=4242\n");
  const auto current = sessions.copyCurrentSession();
  ASSERT_TRUE(current);
  EXPECT_EQ(current->at(std::string(session::UserIDKey)), 4242);
  EXPECT_FALSE(current->contains(session::UserNameKey));
}

TEST_F(LinuxSessionsTest, IgnoresASessionWhoseNameHasNoNumberAndSaysSo) {
  run->write("sessions/oddlyNamedOne", sessionFile(1000, "seat0", "x11", "user", "active"));
  EXPECT_THAT(listed(), IsEmpty());
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("Ignoring the session oddlyNamedOne: there is no number for its name."));
}

TEST_F(LinuxSessionsTest, KnowsNoSessionsWithoutLogind) {
  std::filesystem::remove_all("/run/systemd");
  EXPECT_FALSE(sessions.copyCurrentSession());
  EXPECT_THAT(listed(), IsEmpty());
}

TEST(SessionNumber, IsTheNumberThatADecimalNameWrites) {
  EXPECT_EQ(sessionNumber("2"), 2);
  EXPECT_EQ(sessionNumber("0"), 0);
  EXPECT_EQ(sessionNumber("999999999999999999"), 999999999999999999);
}

TEST(SessionNumber, DiffersForDifferentNames) {
  const std::vector<std::string> names = {
      "2",  "c2", "02", "002", "2c", "C2", "c02", "c",          "a",          "A",  "1",
      "11", "cc", "c1", "z",   "Z",  "zZ", "Zz",  "zzzzzzzzzz", "ZZZZZZZZZZ", "00", "0"};
  std::vector<std::int64_t> numbers;
  for (const auto& name : names) {
    const auto number = sessionNumber(name);
    ASSERT_TRUE(number) << name;
    EXPECT_GE(*number, 0) << name;
    EXPECT_THAT(numbers, testing::Not(testing::Contains(*number))) << name;
    numbers.push_back(*number);
  }
}

TEST(SessionNumber, IsMissingForOtherNames) {
  for (const auto* name :
       {"", "c-2", "c 2", "c\xC3\xA9", "abcdefghijk", "1000000000000000000", "../../etc", "2\n"}) {
    EXPECT_FALSE(sessionNumber(name)) << name;
  }
}

}  // namespace
}  // namespace gatehall
