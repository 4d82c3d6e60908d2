#include "linux/process/Monitor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <poll.h>
#include <string.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "gatehall/base/PlatformException.h"
#include "linux/process/ExtraGroup.h"

namespace gatehall {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr unsigned kLongestLifeSeconds = 60;
constexpr int kOnlyDescriptor = 0;

Monitor* processMonitor = nullptr;

[[noreturn]] void fail(const std::string& why) {
  throw PlatformException("The passwords' process does not answer: " + why + ".");
}

/// Open files, processes and core files are what a child has no use for; memory it has.
bool restrictChild(pid_t program) {
  const rlimit none{0, 0};
  return prctl(PR_SET_DUMPABLE, 0) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         setrlimit(RLIMIT_CORE, &none) == 0 && setrlimit(RLIMIT_FSIZE, &none) == 0 &&
         setrlimit(RLIMIT_NPROC, &none) == 0 && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 &&
         getppid() == program;
}

/// The child. No destructor of the program's runs in it.
[[noreturn]] void serve(int socket, pid_t program, Monitor::Answerer answerer) {
  alarm(kLongestLifeSeconds);
  if (extraGroup::isThere()) extraGroup::use();
  if (dup2(socket, kOnlyDescriptor) != kOnlyDescriptor ||
      close_range(kOnlyDescriptor + 1, ~0U, 0) != 0 || !restrictChild(program)) {
    _exit(EXIT_FAILURE);
  }
  MonitorMessage question;
  for (;;) {
    const auto count = recv(kOnlyDescriptor, &question, sizeof question, MSG_TRUNC);
    if (count < 0 && errno == EINTR) continue;
    if (count != static_cast<ssize_t>(sizeof question)) _exit(EXIT_SUCCESS);
    MonitorMessage answer;
    try {
      answerer(question, answer);
    } catch (...) {
      _exit(EXIT_FAILURE);
    }
    if (send(kOnlyDescriptor, &answer, sizeof answer, MSG_NOSIGNAL) < 0) _exit(EXIT_FAILURE);
    explicit_bzero(&answer, sizeof answer);
  }
}

/// Waits until the socket has something to read. False when the time is over.
bool waitForAnswer(int socket, SteadyClock::time_point end) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - SteadyClock::now());
    pollfd waited{socket, POLLIN, 0};
    // Also when the time is over: somebody may have stopped both for a while.
    const int ready = poll(&waited, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) fail(strerrordesc_np(errno));
    if (ready == 0 && left.count() <= 0) return false;
  }
}

}  // namespace

Monitor::Monitor(Answerer answerer, std::chrono::milliseconds longestAnswer)
    : mLongestAnswer(longestAnswer) {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    fail(strerrordesc_np(errno));
  }
  const auto program = getpid();
  mChild = fork();
  if (mChild == 0) serve(ends[1], program, answerer);
  const int error = errno;
  close(ends[1]);
  mSocket = ends[0];
  if (mChild < 0) {
    stop();
    fail(strerrordesc_np(error));
  }
}

Monitor::~Monitor() { end(); }

bool Monitor::begin(Answerer answerer) {
  if (!extraGroup::isThere()) return true;
  try {
    // As long as the process: what is asked after it ended is refused.
    processMonitor = new Monitor(answerer);
  } catch (const PlatformException&) {
    processMonitor = nullptr;
  }
  extraGroup::giveUp();
  return processMonitor != nullptr;
}

Monitor* Monitor::ofProcess() { return processMonitor; }

MonitorMessage Monitor::ask(const MonitorMessage& question) {
  const std::lock_guard lock(mMutex);
  try {
    return exchange(question);
  } catch (const PlatformException&) {
    stop();
    throw;
  }
}

MonitorMessage Monitor::exchange(const MonitorMessage& question) const {
  if (mSocket < 0) fail("it has ended");
  const auto end = SteadyClock::now() + mLongestAnswer;
  constexpr int kFlags = MSG_DONTWAIT | MSG_NOSIGNAL;
  if (send(mSocket, &question, sizeof question, kFlags) != ssize_t{sizeof question}) {
    fail(strerrordesc_np(errno));
  }
  if (!waitForAnswer(mSocket, end)) fail("it takes too long");
  MonitorMessage answer;
  const auto count = recv(mSocket, &answer, sizeof answer, MSG_DONTWAIT | MSG_TRUNC);
  if (count < 0) fail(strerrordesc_np(errno));
  if (count == 0) fail("it has ended");
  if (count != ssize_t{sizeof answer}) fail("its answer is cut short");
  return answer;
}

void Monitor::end() {
  const std::lock_guard lock(mMutex);
  stop();
}

/// A stopped child is ended, too. It is not waited for.
void Monitor::stop() {
  if (mSocket >= 0) close(mSocket);
  mSocket = -1;
  if (mChild <= 0) return;
  kill(mChild, SIGKILL);
  waitpid(mChild, nullptr, WNOHANG);
  mChild = -1;
}

}  // namespace gatehall
