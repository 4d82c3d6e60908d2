#include "ctl/service/TerminalAgent.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "linux/files/FileDescriptor.h"

namespace gatehall::ctl {

namespace {

constexpr std::chrono::milliseconds kLongestStart{5000};

/// The agent's end of the pipe that it closes when polkit knows it.
constexpr int kNotified = 3;

/// Waits for the other end to be closed.
void waitForEnd(int file) {
  const auto until = std::chrono::steady_clock::now() + kLongestStart;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        until - std::chrono::steady_clock::now());
    if (left.count() <= 0) return;
    pollfd event{file, POLLIN, 0};
    if (poll(&event, 1, static_cast<int>(left.count())) >= 0 || errno != EINTR) return;
  }
}

}  // namespace

TerminalAgent::TerminalAgent(const std::string& program) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
  const FileDescriptor ours(ends[0]);
  FileDescriptor theirs(ends[1]);
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) return;
  std::string notified = "--notify-fd=" + std::to_string(kNotified);
  std::string fallback = "--fallback";
  std::string name = program;
  std::array<char*, 4> words = {name.data(), notified.data(), fallback.data(), nullptr};
  const bool isStarted =
      posix_spawn_file_actions_adddup2(&actions, theirs.number(), kNotified) == 0 &&
      posix_spawn(&mProcess, program.c_str(), &actions, nullptr, words.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  if (!isStarted) {
    mProcess = -1;
    return;
  }
  theirs = FileDescriptor();
  waitForEnd(ours.number());
}

TerminalAgent::~TerminalAgent() {
  if (mProcess < 0) return;
  kill(mProcess, SIGTERM);
  kill(mProcess, SIGCONT);  // one that waits in the background for its terminal ends, too
  while (waitpid(mProcess, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace gatehall::ctl
