#include "linux/nss/NameServiceProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string.h>
#include <string_view>
#include <sys/auxv.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "linux/files/FileDescriptor.h"
#include "linux/records/NetworkNode.h"

// glibc 2.36 forgets to say so.
extern "C" {
#include <sys/pidfd.h>
}

namespace gatehall::nss {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// How long the end of a killed process is waited for: one that the kernel itself holds up is left.
constexpr int kLongestEndMilliseconds = 1000;

[[noreturn]] void fail(const std::string& why) { throw DirectoryUnreachable(why); }
[[noreturn]] void failToStart(int error) {
  fail("the name service's process can't be started: " + std::string(strerrordesc_np(error)));
}

/// The attributes and actions of posix_spawn(3).
class Start {
 public:
  Start() {
    posix_spawn_file_actions_init(&mActions);
    posix_spawnattr_init(&mAttributes);
  }
  ~Start() {
    posix_spawnattr_destroy(&mAttributes);
    posix_spawn_file_actions_destroy(&mActions);
  }
  Start(const Start&) = delete;
  Start& operator=(const Start&) = delete;

  /// The process; the socket becomes its standard input.
  pid_t run(const std::string& program, int socket) {
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    constexpr int kFlags = POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
    std::string file = program;
    const std::array<char*, 2> arguments{file.data(), nullptr};
    const std::array<char*, 1> environment{nullptr};
    pid_t process = 0;
    for (const int error :
         {posix_spawnattr_setsigdefault(&mAttributes, &all),
          posix_spawnattr_setsigmask(&mAttributes, &none),
          posix_spawnattr_setflags(&mAttributes, kFlags),
          posix_spawn_file_actions_adddup2(&mActions, socket, STDIN_FILENO),
          posix_spawn_file_actions_addopen(&mActions, STDOUT_FILENO, "/dev/null", O_RDWR, 0),
          posix_spawn_file_actions_adddup2(&mActions, STDOUT_FILENO, STDERR_FILENO),
          posix_spawn_file_actions_addclosefrom_np(&mActions, STDERR_FILENO + 1),
          posix_spawn_file_actions_addchdir_np(&mActions, "/")}) {
      if (error != 0) failToStart(error);
    }
    const int error = posix_spawn(&process, file.c_str(), &mActions, &mAttributes, arguments.data(),
                                  environment.data());
    if (error != 0) failToStart(error);
    return process;
  }

 private:
  posix_spawn_file_actions_t mActions{};
  posix_spawnattr_t mAttributes{};
};

/// The process, which is over with this. A program that waits for all of its children may have
/// taken its end away, so that its number is somebody else's: it is held by a descriptor.
class Process {
 public:
  explicit Process(pid_t process) : mDescriptor(pidfd_open(process, 0)) {
    // It ends by itself without a question.
    if (!mDescriptor.isOpen()) failToStart(errno);
  }
  ~Process() {
    pidfd_send_signal(mDescriptor.number(), SIGKILL, nullptr, 0);
    pollfd ended{mDescriptor.number(), POLLIN, 0};
    poll(&ended, 1, kLongestEndMilliseconds);
    siginfo_t info{};
    waitid(P_PIDFD, static_cast<id_t>(mDescriptor.number()), &info, WEXITED | WNOHANG);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

 private:
  FileDescriptor mDescriptor;
};

/// Waits until the socket can be read or written. Raises when the time is over.
void waitFor(int socket, short events, SteadyClock::time_point end) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - SteadyClock::now());
    pollfd waited{socket, events, 0};
    // Also when the time is over: somebody may have stopped both for a while.
    const int ready = poll(&waited, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
    if (ready > 0) return;
    if (ready < 0 && errno != EINTR) fail(strerrordesc_np(errno));
    if (ready == 0 && left.count() <= 0) fail("the name service does not answer in time");
  }
}

bool isForNow(int error) { return error == EINTR || error == EAGAIN; }

void send(int socket, std::string_view bytes, SteadyClock::time_point end) {
  while (!bytes.empty()) {
    const auto count = ::send(socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (count < 0 && !isForNow(errno)) {
      fail("the name service's process ended without an answer");
    } else {
      waitFor(socket, POLLOUT, end);
    }
  }
}

/// Exactly that many bytes.
std::string receive(int socket, std::size_t size, SteadyClock::time_point end) {
  // What is promised need not come.
  constexpr std::size_t kMostAtOnce = std::size_t{1} << 20U;
  std::string bytes;
  while (bytes.size() < size) {
    const auto before = bytes.size();
    bytes.resize(before + std::min(size - before, kMostAtOnce));
    const auto count = recv(socket, bytes.data() + before, bytes.size() - before, MSG_DONTWAIT);
    const int error = errno;
    bytes.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count > 0) continue;
    if (count == 0 || !isForNow(error)) {
      fail("the name service's process ended without an answer");
    }
    waitFor(socket, POLLIN, end);
  }
  return bytes;
}

std::string exchange(int socket, const std::string& question, SteadyClock::time_point end) {
  send(socket, question, end);
  const auto length = lengthOf(receive(socket, kLengthBytes, end));
  if (length > kLongestAnswer) fail("the name service's answer is none: it is too long");
  return receive(socket, length, end);
}

/// Whether this process has rights that its caller doesn't.
bool hasMoreRights() { return getauxval(AT_SECURE) != 0 && getuid() != 0; }

}  // namespace

Answer askNameService(const std::string& program, const Question& question,
                      std::chrono::milliseconds limit) {
  const auto end = SteadyClock::now() + limit;
  const auto text = written(question);
  if (hasMoreRights() && access(program.c_str(), R_OK) == 0) {
    fail(program + " can be read by whoever asks, who could answer in its place");
  }
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) failToStart(errno);
  const FileDescriptor own(ends[0]);
  FileDescriptor others(ends[1]);
  const Process process(Start().run(program, others.number()));
  others = FileDescriptor();
  const auto bytes = exchange(own.number(), text, end);
  Answer answer;
  try {
    answer = readAnswer(bytes);
  } catch (const PlatformException& failure) {
    fail(std::string("the name service's answer is none: ") + failure.what());
  }
  if (!answer.fault.empty()) fail(answer.fault);
  return answer;
}

}  // namespace gatehall::nss
