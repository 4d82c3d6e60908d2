#include <array>
#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <pty.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "tests/ctl/RunWorld.h"

// Without a world file. What comes out is up to the machine; these hold on any.

namespace gatehall {
namespace {

using ctl::ExitStatus;
using Json = nlohmann::ordered_json;

TEST(ThisMachine, SwitchIsARehearsal) {
  const auto outcome = run({"--json", "switch", "-suspend"});
  EXPECT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
  const auto document = documentOf(outcome);
  if (geteuid() == 0) {
    EXPECT_EQ(document, Json::parse(R"({
        "exitStatus": 0,
        "log": [ { "level": "error", "text": "User is root user." } ],
        "loginService": [ { "operation": "switchToLoginScreen" } ] })"));
  } else {
    EXPECT_EQ(document["log"].empty(), !document["loginService"].empty());
  }
}

TEST(ThisMachine, ItsPreferencesAndItsNetworkAreShown) {
  EXPECT_EQ(documentOf(run({"--json", "prefs"})).size(), 9U);
  EXPECT_EQ(documentOf(run({"--json", "network"})).size(), 5U);
}

TEST(ThisMachine, ItsDoorsAreToldWithWhatIsWrongWithThem) {
  const auto outcome = run({"--json", "check"});
  const auto document = documentOf(outcome);
  EXPECT_TRUE(document["doors"].is_array());
  EXPECT_EQ(outcome.status == ExitStatus::Done, document["findings"].empty()) << outcome.output;
}

TEST(ThisMachine, SaysWhatADoorThatNobodyGuardsAnswers) {
  const auto outcome = run({"--json", "can-log-in", "--at", "gatehall-unknown", "0"});
  EXPECT_EQ(outcome.status, ExitStatus::No) << outcome.errors;
  const auto document = documentOf(outcome);
  EXPECT_EQ(document["door"]["service"], "gatehall-unknown");
  EXPECT_NE(document["door"]["guarded"], "yes") << "it is none of the services that are guarded";
  EXPECT_EQ(document["users"][0]["name"], "root");
}

TEST(ThisMachine, FindsNobodyWithTheReservedUserID) {
  const auto outcome = run({"--json", "user", "4294967294"});
  EXPECT_EQ(outcome.status, ExitStatus::No) << outcome.errors;
}

/// The program itself, whose output is read while it runs.
class RunningProgram {
 public:
  /// Its output is a pipe, or a terminal of so many rows.
  explicit RunningProgram(Strings words, unsigned short rows = 0) {
    words.insert(words.begin(), GATEHALLCTL);
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    std::array<int, 2> ends{};
    const winsize size{.ws_row = rows, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0};
    if ((rows == 0 ? pipe(ends.data()) : openpty(&ends[0], &ends[1], nullptr, nullptr, &size)) !=
        0) {
      throw std::runtime_error("pipe or openpty");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const int error =
        posix_spawn(&mProcess, GATEHALLCTL, &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    mOutput.reset(fdopen(ends[0], "r"));
    if (error != 0) throw std::runtime_error("posix_spawn");
  }
  ~RunningProgram() {
    if (mProcess != 0) end(SIGKILL);
  }
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  std::string line() {
    std::string text;
    for (int c = getc(mOutput.get()); c != EOF && c != '\n'; c = getc(mOutput.get())) {
      text += static_cast<char>(c);
    }
    return text;
  }

  /// What waitpid(2) says of it then.
  int end(int signal) {
    int status = 0;
    kill(mProcess, signal);
    waitpid(std::exchange(mProcess, 0), &status, 0);
    return status;
  }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  pid_t mProcess = 0;
  std::unique_ptr<std::FILE, Close> mOutput;
};

TEST(ThisMachine, IsWatchedUntilItIsInterruptedWhichIsNoFailure) {
  for (const int signal : {SIGINT, SIGTERM}) {
    RunningProgram program({"--json", "watch"});
    const auto first = Json::parse(program.line());
    EXPECT_EQ(first["event"], "list");
    EXPECT_TRUE(first["users"].is_array());
    EXPECT_EQ(program.end(signal), 0);
  }
}

TEST(ThisMachine, ShowsAListThatIsTooLongForTheTerminalOnce) {
  RunningProgram program({"watch"}, 2);
  auto line = program.line();
  while (line.find("logged") != std::string::npos) line = program.line();
  EXPECT_TRUE(line.starts_with("UID") || line.starts_with("0 users")) << line;
  EXPECT_EQ(program.end(SIGINT), 0);
}

}  // namespace
}  // namespace gatehall
