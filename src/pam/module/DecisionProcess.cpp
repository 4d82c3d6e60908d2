#include "pam/module/DecisionProcess.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace gatehall::pam {

namespace {

constexpr std::size_t kStackSize = 16384;

/// Both processes that come in between run in this one's memory, while it waits.
struct Start {
  const char* program;
  int socket;
  int error;  ///< errno(3) of what went wrong; 0: nothing did
  alignas(16) char innerStack[kStackSize];
};

// The sanitizers know nothing of the stacks that these three run on.

[[noreturn, gnu::no_sanitize_address, gnu::no_sanitize_thread]] void fail(Start& start) {
  start.error = errno;
  _exit(127);
}

/// What becomes the program. Its signals are blocked until the program resets them.
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] int becomeProgram(void* argument) {
  auto& start = *static_cast<Start*>(argument);
  // Away from the terminal, whose keys would end it.
  if (setsid() < 0 || dup2(start.socket, STDIN_FILENO) < 0) fail(start);
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (nothing < 0 || dup2(nothing, STDOUT_FILENO) < 0 || dup2(nothing, STDERR_FILENO) < 0 ||
      close_range(STDERR_FILENO + 1, ~0U, 0) != 0 || chdir("/") != 0) {
    fail(start);
  }
  // For a program that stands where one of the three was closed.
  if (fcntl(STDIN_FILENO, F_SETFD, 0) != 0 || fcntl(STDOUT_FILENO, F_SETFD, 0) != 0 ||
      fcntl(STDERR_FILENO, F_SETFD, 0) != 0) {
    fail(start);
  }
  char* const arguments[] = {const_cast<char*>(start.program), nullptr};
  char* const environment[] = {nullptr};
  execve(start.program, arguments, environment);
  fail(start);
}

/// What ends at once, so that the program is nobody's child here.
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] int startProgram(void* argument) {
  auto& start = *static_cast<Start*>(argument);
  if (clone(becomeProgram, start.innerStack + kStackSize, CLONE_VM | CLONE_VFORK | SIGCHLD,
            argument) < 0) {
    fail(start);
  }
  _exit(0);
}

/// 0, or the errno(3) for which there is no program.
int begin(const char* program, int socket) {
  Start start;
  start.program = program;
  start.socket = socket;
  start.error = 0;
  alignas(16) char stack[kStackSize];
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  // Without a signal at its end: a handler of this process's would take it for a child of its own.
  const int child = clone(startProgram, stack + kStackSize, CLONE_VM | CLONE_VFORK, &start);
  const int error = errno;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (child < 0) return error;
  while (waitpid(child, nullptr, static_cast<int>(__WCLONE)) < 0 && errno == EINTR) {
  }
  return start.error;
}

std::int64_t millisecondsNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

/// False when the time is over, or nothing can come any more.
bool waitForAnswer(int socket, unsigned longest) {
  const auto end = millisecondsNow() + std::int64_t{longest} * 1000;
  for (;;) {
    const auto left = end - millisecondsNow();
    pollfd waited{socket, POLLIN, 0};
    // Also when the time is over: somebody may have stopped both for a while.
    const int ready = poll(&waited, 1, left > 0 ? static_cast<int>(left) : 0);
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return false;
    if (ready == 0 && left <= 0) return false;
  }
}

bool isWhole(const Answer& answer) {
  return answer.verdict >= Verdict::Undecidable && answer.verdict <= Verdict::Unknown &&
         strnlen(answer.sentence.bytes.data(), answer.sentence.bytes.size()) <
             answer.sentence.bytes.size();
}

const char* exchange(int socket, const Question& question, Answer& answer, unsigned longest) {
  constexpr int kFlags = MSG_DONTWAIT | MSG_NOSIGNAL;
  if (send(socket, &question, sizeof question, kFlags) != ssize_t{sizeof question}) {
    return "the decision's program can't be asked";
  }
  if (!waitForAnswer(socket, longest)) return "the decision takes too long";
  const auto count = recv(socket, &answer, sizeof answer, MSG_DONTWAIT | MSG_TRUNC);
  if (count == 0) return "the decision's program ended without an answer";
  if (count != ssize_t{sizeof answer} || !isWhole(answer)) return "the decision's answer is none";
  return nullptr;
}

}  // namespace

const char* askDecisionProcess(const char* program, const Question& question, Answer& answer,
                               unsigned longest) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
    return "there are no descriptors left";
  }
  const int error = begin(program, ends[1]);
  close(ends[1]);
  const char* fault =
      error != 0 ? strerrordesc_np(error) : exchange(ends[0], question, answer, longest);
  close(ends[0]);
  return fault;
}

}  // namespace gatehall::pam
