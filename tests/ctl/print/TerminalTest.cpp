#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <utmp.h>
#include <vector>

// The program as a whole, on a terminal of its own.

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Environment = std::vector<std::pair<const char*, const char*>>;

const std::string kFamily = GATEHALL_EXAMPLES "/family.world.json";

[[noreturn]] void become(const std::vector<std::string>& words, const Environment& environment) {
  clearenv();
  for (const auto& [name, value] : environment) setenv(name, value, 1);
  std::vector<char*> arguments = {const_cast<char*>(GATEHALLCTL)};
  for (const auto& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  execv(GATEHALLCTL, arguments.data());
  _exit(127);
}

/// What comes before `mark`, or before the end.
std::string readAll(int descriptor, std::optional<char> mark = std::nullopt) {
  std::string text;
  std::array<char, 4096> buffer;
  while (!mark.has_value() || !text.ends_with(*mark)) {
    const auto count = read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  if (mark.has_value() && text.ends_with(*mark)) text.pop_back();
  close(descriptor);
  return text;
}

int exitStatusOf(pid_t child) {
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string onATerminal(const std::vector<std::string>& words, const Environment& environment,
                        unsigned short columns = 0) {
  int reading = -1;
  int terminal = -1;
  const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
  EXPECT_EQ(openpty(&reading, &terminal, nullptr, nullptr, &size), 0);
  const auto child = fork();
  if (child == 0) {
    close(reading);
    login_tty(terminal);
    become(words, environment);
  }
  // Linux may call a terminal closed before it hands over what was written to it last: it stays
  // open, and a mark tells the end.
  int status = -1;
  std::thread end([&] {
    status = exitStatusOf(child);
    EXPECT_EQ(write(terminal, "", 1), 1);
  });
  auto text = readAll(reading, '\0');
  end.join();
  close(terminal);
  EXPECT_EQ(status, 0) << text;
  return text;
}

std::string throughAPipe(const std::vector<std::string>& words, const Environment& environment) {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe(ends.data()), 0);
  const auto child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    become(words, environment);
  }
  close(ends[1]);
  auto text = readAll(ends[0]);
  EXPECT_EQ(exitStatusOf(child), 0) << text;
  return text;
}

const std::vector<std::string> kQuestion = {"--world", kFamily, "can-log-in", "1001"};

TEST(Colour, IsUsedOnATerminal) {
  EXPECT_THAT(onATerminal(kQuestion, {{"TERM", "xterm"}}), HasSubstr("\x1B[32myes\x1B[0m"));
  EXPECT_THAT(onATerminal(kQuestion, {{"TERM", "xterm"}, {"NO_COLOR", ""}}), HasSubstr("\x1B["));
}

TEST(Colour, IsNotUsedWhereItIsNotWanted) {
  EXPECT_THAT(onATerminal(kQuestion, {{"TERM", "xterm"}, {"NO_COLOR", "1"}}),
              Not(HasSubstr("\x1B")));
  EXPECT_THAT(onATerminal(kQuestion, {{"TERM", "dumb"}}), Not(HasSubstr("\x1B")));
  EXPECT_THAT(throughAPipe(kQuestion, {{"TERM", "xterm"}}), Not(HasSubstr("\x1B")));
}

TEST(Colour, IsNotUsedInJson) {
  auto question = kQuestion;
  question.emplace_back("--json");
  EXPECT_THAT(onATerminal(question, {{"TERM", "xterm"}}), StartsWith("{\r\n  \"users\""));
}

const std::vector<std::string> kUsers = {"--world", kFamily, "users", "--no-legend"};
const std::string kBob = "1001  bob    Bob Lee    local  local";
const std::string kBobsGUID = "  F0A11CE0-51D2-4B6E-9C04-000000001001";

TEST(Guids, AreShownOnATerminalThatHasRoomForThem) {
  EXPECT_THAT(onATerminal(kUsers, {}, 84), HasSubstr(kBob + "          " + kBobsGUID + "\r\n"));
  EXPECT_THAT(onATerminal(kUsers, {}, 83), HasSubstr(kBob + "\r\n"));
  EXPECT_THAT(onATerminal(kUsers, {}, 0), HasSubstr(kBob + "\r\n"));
}

TEST(Guids, AreShownElsewhereOnRequest) {
  EXPECT_THAT(throughAPipe(kUsers, {}), HasSubstr(kBob + "\n"));
  auto wide = kUsers;
  wide.emplace_back("--wide");
  EXPECT_THAT(throughAPipe(wide, {}), HasSubstr(kBobsGUID + "\n"));
  EXPECT_THAT(onATerminal(wide, {}, 80), HasSubstr(kBobsGUID + "\r\n"));
}

TEST(Program, SaysSoWhenItsOutputCanNotBeWritten) {
  const auto child = fork();
  if (child == 0) {
    dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
    become(kQuestion, {});
  }
  EXPECT_EQ(exitStatusOf(child), 3);
}

}  // namespace
