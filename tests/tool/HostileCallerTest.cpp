// Whatever its caller does to gatehall-switch, a refusal stays one.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <netinet/in.h>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "tests/Patience.h"
#include "tests/tool/Machine.h"
#include "tests/tool/Tracer.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr uid_t kAnn = 1000;
const std::string kSwitchToBob =
    "/org/freedesktop/login1 LockSession '2'\n"
    "/org/freedesktop/DisplayManager/Seat0 SwitchToUser 'bob' ''\n";

/// Words that ask for erin, whom the deny list holds, and then for carol, who has a password and a
/// running session.
const std::vector<std::string> kErinAndCarol{"-switchToUserID", "1004", "-switchToUserID", "1002"};
const std::vector<std::string> kBob{"-switchToUserID", "1001"};

class HostileCaller : public testing::Test {
 protected:
  void SetUp() override {
    if (getuid() != 0) GTEST_SKIP() << "making a machine of its own needs root";
    machine = std::make_unique<Machine>();
    machine->write("passwd",
                   "root:x:0:0:root:/root:/bin/sh\n"
                   "ann:x:1000:1000:Ann Lee:/home/ann:/bin/sh\n"
                   "bob:x:1001:1001:Bob Ray:/home/bob:/bin/sh\n"
                   "carol:x:1002:1002:Carol Diaz:/home/carol:/bin/sh\n"
                   "erin:x:1004:1004:Erin Ito:/home/erin:/bin/sh\n");
    machine->add("shadow", "erin::19000::::::\n");
    machine->write("userdb/erin.user",
                   "{\"userName\":\"erin\",\"uid\":1004,"
                   "\"uuid\":\"6C6B2F1E-0000-4000-8000-000000001004\","
                   "\"com.orvane.gatehall\":{\"CopyTimestamp\":\"2026-01-01\"}}");
    machine->write("gatehall/com.orvane.gatehall.plist",
                   "<plist version=\"1.0\"><dict><key>DenyList</key><array>"
                   "<string>6C6B2F1E-0000-4000-8000-000000001004</string></array></dict></plist>");
    start();
  }

  void start() {
    machine->bus.start({"lightdm", "logind", "session=2,1000,ann,seat0,x11,user,active",
                        "session=4,1002,carol,seat0,x11,user,online",
                        "session=5,1004,erin,seat0,x11,user,online", "active=2"});
  }

  /// Before the tool begins, the program loader may have to say that it can't load it.
  static void expectSilence(const ToolRun& run) {
    const bool isLoaders =
        run.output.find("error while loading shared libraries") != std::string::npos ||
        run.output.find("cannot allocate TLS") != std::string::npos;
    EXPECT_TRUE(run.output.empty() || (isLoaders && run.exitStatus == 127)) << run.output;
  }

  /// Nothing was asked for erin, and nobody's session was brought to the front.
  void expectNobodyLetIn() {
    const auto calls = machine->bus.calls();
    EXPECT_EQ(calls.find("erin"), std::string::npos) << calls;
    EXPECT_EQ(calls.find("Activate"), std::string::npos) << calls;
    EXPECT_EQ(calls.find("Unlock"), std::string::npos) << calls;
  }

  ToolRun trace(const std::vector<std::string>& words, Tracer tracer) {
    return machine->trace(words, {.userID = kAnn}, [&](pid_t tool) { return tracer.follow(tool); });
  }

  /// How many system calls the tool, or its monitor, makes for these words.
  int countCalls(const std::vector<std::string>& words, bool monitors) {
    int count = 0;
    trace(words, Tracer([&](const SystemCall& call) { count += call.isMonitors == monitors; }));
    return count;
  }

  /// Runs the tool once for each of at most so many of its system calls, or of its monitor's,
  /// spread evenly over all of them, and sends a signal before that call.
  std::vector<std::string> signalAt(bool monitors, int signal, int mostRuns,
                                    bool continuesStopped = true) {
    const int all = countCalls(kErinAndCarol, monitors);
    EXPECT_GT(all, 10);
    std::vector<std::string> logged;
    const int step = std::max(1, (all + mostRuns - 1) / mostRuns);
    for (int chosen = step / 2; chosen < all; chosen += step) {
      int number = 0;
      const auto run = trace(kErinAndCarol, Tracer(
                                                [&](const SystemCall& call) {
                                                  if (call.isMonitors != monitors) return;
                                                  if (number++ == chosen)
                                                    kill(call.process, signal);
                                                },
                                                continuesStopped));
      EXPECT_EQ(run.output, "");
      logged.insert(logged.end(), run.log.begin(), run.log.end());
    }
    expectNobodyLetIn();
    return logged;
  }

  std::unique_ptr<Machine> machine;
};

TEST_F(HostileCaller, IsAdmittedToBobAndRefusedErinOnAGoodDay) {
  const auto run =
      machine->run({"-switchToUserID", "1004", "-switchToUserID", "1001"}, {.userID = kAnn});
  EXPECT_THAT(run.log, IsEmpty());
  EXPECT_THAT(
      run.decisions,
      ElementsAre("uid 1000 asked for erin (1004): refused: denied by GUID (preferences)",
                  "uid 1000 asked for bob (1001): admitted: local login enabled (default)"));
  EXPECT_EQ(machine->bus.calls(), kSwitchToBob);
}

TEST_F(HostileCaller, IsRefusedWhomNobodyIsAndTheLogSaysSo) {
  EXPECT_THAT(machine->run({"-switchToUserID", "4711"}, {.userID = kAnn}).decisions,
              ElementsAre("uid 1000 asked for uid 4711: not found"));
}

TEST_F(HostileCaller, IsRefusedWhatIsUndecidableAndTheLogSaysWhy) {
  machine->brokenFile = "gatehall/com.orvane.gatehall.plist";
  for (const auto user : {uid_t{0}, kAnn}) {
    const auto run = machine->run({"-switchToUserID", "1004"}, {.userID = user});
    EXPECT_THAT(run.decisions,
                ElementsAre(testing::AllOf(testing::StartsWith("uid " + std::to_string(user) +
                                                               " asked for erin (1004): "
                                                               "undecidable: "),
                                           HasSubstr("com.orvane.gatehall.plist"))));
  }
  expectNobodyLetIn();
}

/// The program loader reads its libraries before.
TEST_F(HostileCaller, MeetsAToolWithoutTheGroupInAllThatItReads) {
  bool isGone = false;
  int changes = 0;
  std::set<std::string> before;
  std::vector<std::string> shadowReaders;
  int heard = 0;
  trace(kErinAndCarol, Tracer([&](const SystemCall& call) {
          const bool opens = call.number == SYS_openat || call.number == SYS_open;
          const auto path = opens ? call.text(call.number == SYS_openat ? 1 : 0) : std::string();
          if (path.find("shadow") != std::string::npos) {
            shadowReaders.emplace_back(call.isMonitors ? "monitor" : "tool");
          }
          if (call.isMonitors) return;
          if (call.number == SYS_setresgid) {
            isGone = true;
            ++changes;
            EXPECT_THAT(call.arguments, testing::Contains(kAnn).Times(testing::Ge(3)));
          }
          const bool hears = call.number == SYS_connect || call.number == SYS_recvfrom ||
                             call.number == SYS_recvmsg;
          heard += hears;
          if (isGone) return;
          EXPECT_FALSE(hears) << call.number;
          if (opens && path.find("/lib") == std::string::npos) before.insert(path);
        }));
  EXPECT_EQ(changes, 1);
  EXPECT_GT(heard, 0);
  EXPECT_THAT(before, testing::IsSubsetOf({"/etc/ld.so.cache", "/dev/null"}));
  EXPECT_THAT(shadowReaders, testing::Each("monitor"));
  EXPECT_THAT(shadowReaders, testing::Not(IsEmpty()));
}

TEST_F(HostileCaller, StopsAndContinuesToolAndMonitorAtEverySystemCallInVain) {
  // A call that is begun again is left alone: fork(2) would never come to an end.
  std::map<pid_t, SystemCall> last;
  const auto stop = [&](const SystemCall& call) {
    auto& before = last[call.process];
    const bool isAgain = call.number == SYS_restart_syscall ||
                         (call.number == before.number && call.arguments == before.arguments);
    before = call;
    if (!isAgain) kill(call.process, SIGSTOP);
  };
  EXPECT_EQ(trace(kErinAndCarol, Tracer(stop)).output, "");
  expectNobodyLetIn();
  start();
  EXPECT_THAT(trace(kBob, Tracer(stop)).decisions, ElementsAre(HasSubstr("bob (1001): admitted")));
  EXPECT_EQ(machine->bus.calls(), kSwitchToBob);
}

TEST_F(HostileCaller, KillsTheToolAtItsSystemCallsInVain) { signalAt(false, SIGKILL, 60); }

TEST_F(HostileCaller, KillsTheMonitorAtItsSystemCallsInVain) { signalAt(true, SIGKILL, 100); }

/// Each waits for as long as an answer may take.
TEST_F(HostileCaller, StopsTheMonitorForGoodInVain) {
  EXPECT_THAT(signalAt(true, SIGSTOP, 2, false), testing::Contains(HasSubstr("it takes too long")));
}

TEST_F(HostileCaller, LeavesNoProcessForTheMonitorInVain) {
  const Caller caller{.userID = kAnn, .limits = {{RLIMIT_NPROC, 1}}};
  auto run = machine->run(kBob, caller);
  // A process of ann's that is just ending counts, and then even the tool can't be started.
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (run.exitStatus == 127 && std::chrono::steady_clock::now() < end) {
    run = machine->run(kBob, caller);
  }
  if (run.exitStatus == 127) GTEST_SKIP() << "ann's user id has processes here";
  EXPECT_THAT(run.log, ElementsAre(HasSubstr("There can be no process that reads passwords")));
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(machine->bus.calls(), "");
}

TEST_F(HostileCaller, SetsEveryLimitInVain) {
  for (int resource = 0; resource < static_cast<int>(RLIM_NLIMITS); ++resource) {
    for (const std::uint64_t limit :
         {0ULL, 1ULL, 2ULL, 3ULL, 7ULL, 20ULL, 4095ULL, 100'000ULL, 9'999'999ULL, 300'000'000ULL}) {
      const auto run = machine->run(kErinAndCarol, {.userID = kAnn, .limits = {{resource, limit}}});
      expectSilence(run);
    }
  }
  expectNobodyLetIn();
}

TEST_F(HostileCaller, LeavesFewDescriptorsInVainAndNothingIsPrinted) {
  for (int free = 0; free <= 8; ++free) {
    const auto run = machine->run(kErinAndCarol, {.userID = kAnn, .freeDescriptors = free});
    expectSilence(run);
  }
  expectNobodyLetIn();
  start();
  machine->run(kBob, {.userID = kAnn, .freeDescriptors = 1});
  EXPECT_EQ(machine->bus.calls(), kSwitchToBob);
}

/// A certificate and its key are written to files in memory before anything is sent.
TEST_F(HostileCaller, LimitsFilesOfAToolWithACertificateInVainAndTheLogSaysSo) {
  const int listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* any = reinterpret_cast<sockaddr*>(&address);
  ASSERT_EQ(bind(listening, any, length), 0);
  ASSERT_EQ(listen(listening, 64), 0);
  ASSERT_EQ(getsockname(listening, any, &length), 0);
  machine->write("gatehall/directory.toml",
                 "[[directory]]\nname = \"school\"\nbase = \"dc=school\"\ntls = \"unverified\"\n"
                 "certificate = \"/etc/gatehall/host.pem\"\nkey = \"/etc/gatehall/host.key\"\n"
                 "time-limit = 60\ntotal-time-limit = 60\n"
                 "servers = [\"ldaps://127.0.0.1:" +
                     std::to_string(ntohs(address.sin_port)) + "\"]\n");
  machine->write("gatehall/host.pem", "a certificate");
  machine->write("gatehall/host.key", "its key");
  machine->shareWithShadow("gatehall/host.key");
  const auto asked = [&](std::uint64_t limit) {
    const auto run = machine->run({"-switchToUserID", "4711"},
                                  {.userID = kAnn, .limits = {{RLIMIT_FSIZE, limit}}});
    EXPECT_EQ(run.exitStatus, 0) << limit;
    expectSilence(run);
    return run.decisions;
  };
  for (const std::uint64_t limit : {0ULL, 1ULL, 12ULL}) {
    EXPECT_THAT(asked(limit), ElementsAre(HasSubstr("can't be held in memory"))) << limit;
  }
  EXPECT_THAT(asked(13), ElementsAre(HasSubstr("are no certificate and its key in PEM")));
  close(listening);
  expectNobodyLetIn();
}

/// Threads look the server's name up, and what ends a thread may want a library mapped.
TEST_F(HostileCaller, LeavesFewDescriptorsToAToolWithADirectoryInVainAndNothingIsPrinted) {
  machine->write("gatehall/directory.toml",
                 "[[directory]]\nname = \"school\"\nbase = \"dc=school\"\ntls = \"off\"\n"
                 "time-limit = 0.2\nservers = [\"ldap://localhost:1\", \"ldap://127.0.0.1:1\"]\n");
  for (std::uint64_t limit = 4; limit <= 24; ++limit) {
    expectSilence(
        machine->run(kErinAndCarol, {.userID = kAnn, .limits = {{RLIMIT_NOFILE, limit}}}));
  }
  expectNobodyLetIn();
}

}  // namespace
}  // namespace gatehall
