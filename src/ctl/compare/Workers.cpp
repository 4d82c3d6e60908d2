#include "ctl/compare/Workers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <exception>
#include <list>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/files/FileDescriptor.h"

namespace gatehall::ctl {

namespace {

constexpr std::uint64_t kLongestResult = std::uint64_t{256} << 20U;

/// In front of each result.
struct Head {
  std::uint64_t length = 0;
  std::uint8_t isFailure = 0;
};
constexpr std::size_t kHeadLength = sizeof(std::uint64_t) + 1;

std::string bytesOf(const TaskResult& result) {
  const bool isFailure = !result.failure.empty();
  const auto& text = isFailure ? result.failure : result.content;
  const auto length = std::uint64_t{text.size()};
  std::string bytes(reinterpret_cast<const char*>(&length), sizeof length);
  return bytes.append(1, isFailure ? '\1' : '\0').append(text);
}

Head headOf(const char* bytes) {
  Head head;
  std::memcpy(&head.length, bytes, sizeof head.length);
  head.isFailure = static_cast<std::uint8_t>(bytes[sizeof head.length]);
  return head;
}

bool sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

/// The number of the next task; absent when there is none, or nobody to do it for.
std::optional<std::uint64_t> nextTask(int socket) {
  std::uint64_t number = 0;
  ssize_t got = 0;
  do {
    got = recv(socket, &number, sizeof number, MSG_WAITALL);
  } while (got < 0 && errno == EINTR);
  return got == sizeof number ? std::optional(number) : std::nullopt;
}

/// The whole of a worker's life.
[[noreturn]] void work(int socket, const std::function<std::string(std::size_t)>& task) {
  while (const auto number = nextTask(socket)) {
    TaskResult result;
    try {
      result.content = task(static_cast<std::size_t>(*number));
    } catch (const std::exception& error) {
      const std::string_view why(error.what());
      result.failure = why.empty() ? "it failed" : why;
    }
    if (!sendAll(socket, bytesOf(result))) break;
  }
  // What the other process has open, begun and registered is its own.
  _exit(0);
}

[[noreturn]] void fail(const char* what) {
  const std::string why(std::strerror(errno));
  throw PlatformException(std::string(what).append(": ").append(why));
}

/// How a process ended, in words.
std::string endText(int status) {
  if (WIFSIGNALED(status)) {
    return "its process was ended by signal " + std::to_string(WTERMSIG(status));
  }
  return "its process ended with status " + std::to_string(WEXITSTATUS(status));
}

/// A process and what it is at.
class Worker {
 public:
  Worker(const std::function<std::string(std::size_t)>& task, const std::list<Worker>& others) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) fail("socketpair");
    mSocket = FileDescriptor(ends[0]);
    FileDescriptor theirs(ends[1]);
    mProcess = fork();
    if (mProcess < 0) fail("fork");
    if (mProcess > 0) return;
    // A worker that held the others' ends would keep them from hearing that nobody is left.
    for (const auto& other : others) close(other.mSocket.number());
    close(ends[0]);
    work(theirs.release(), task);
  }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// A worker that is at nothing ends; one that is at something isn't waited for.
  ~Worker() {
    if (mProcess <= 0) return;
    if (mTask) kill(mProcess, SIGKILL);
    mSocket = FileDescriptor();
    wait();
  }

  int socket() const { return mSocket.number(); }
  std::optional<std::size_t> task() const { return mTask; }

  void give(std::size_t task) {
    mTask = task;
    mRead.clear();
    const auto number = std::uint64_t{task};
    // One that is gone tells so where it is read from.
    sendAll(socket(), {reinterpret_cast<const char*>(&number), sizeof number});
  }

  /// Reads on; the result once it is whole. Of a worker that is gone it is the failure.
  std::optional<TaskResult> read() {
    std::array<char, 65536> bytes{};
    const auto got = recv(socket(), bytes.data(), bytes.size(), 0);
    if (got < 0 && errno == EINTR) return std::nullopt;
    if (got <= 0) return gone();
    mRead.append(bytes.data(), static_cast<std::size_t>(got));
    if (mRead.size() < kHeadLength) return std::nullopt;
    const auto head = headOf(mRead.data());
    if (head.length > kLongestResult) {
      kill(mProcess, SIGKILL);
      return gone();
    }
    if (mRead.size() < kHeadLength + head.length) return std::nullopt;
    mTask.reset();
    auto text = mRead.substr(kHeadLength);
    if (head.isFailure != 0) return TaskResult{.failure = std::move(text)};
    return TaskResult{.content = std::move(text)};
  }

  bool isGone() const { return mProcess <= 0; }

 private:
  TaskResult gone() {
    mTask.reset();
    return {.failure = endText(wait())};
  }

  int wait() {
    int status = 0;
    while (waitpid(mProcess, &status, 0) < 0 && errno == EINTR) continue;
    mProcess = 0;
    return status;
  }

  FileDescriptor mSocket;
  pid_t mProcess = 0;
  std::optional<std::size_t> mTask{};
  std::string mRead{};
};

/// The workers of one run.
class Crew {
 public:
  Crew(const Workers& workers, std::size_t tasks, const Workers::Take& take)
      : mWorkers(workers), mTasks(tasks), mTake(take) {}

  void run() {
    const auto processors = std::max(std::thread::hardware_concurrency(), 1U);
    while (mCrew.size() < processors && mNext < mTasks && hire()) continue;
    for (std::size_t done = 0; done < mTasks;) {
      for (auto* worker : readable()) {
        const auto task = *worker->task();
        auto result = worker->read();
        if (!result) continue;
        mTake(task, std::move(*result));
        mWorkers.progress(++done);
        goOn(*worker);
      }
    }
  }

 private:
  /// Gives one more worker the next task. False when no process can be had for it: then those that
  /// are there go on. Raises PlatformException when there are none.
  bool hire() {
    try {
      mCrew.emplace_back(mWorkers.task, mCrew);
    } catch (const PlatformException&) {
      if (mCrew.empty()) throw;
      return false;
    }
    mCrew.back().give(mNext++);
    return true;
  }

  /// Gives a worker that is done the next task, and one that is gone a successor.
  void goOn(Worker& worker) {
    if (worker.isGone()) {
      mCrew.remove_if([&worker](const Worker& each) { return &each == &worker; });
      if (mNext < mTasks) hire();
    } else if (mNext < mTasks) {
      worker.give(mNext++);
    }
  }

  /// Those at work that have something to read, once there are any.
  std::vector<Worker*> readable() {
    std::vector<pollfd> sockets;
    std::vector<Worker*> busy;
    for (auto& worker : mCrew) {
      if (!worker.task()) continue;
      sockets.push_back({.fd = worker.socket(), .events = POLLIN, .revents = 0});
      busy.push_back(&worker);
    }
    if (poll(sockets.data(), sockets.size(), -1) < 0 && errno != EINTR) fail("poll");
    std::vector<Worker*> result;
    for (std::size_t each = 0; each < sockets.size(); ++each) {
      if (sockets[each].revents != 0) result.push_back(busy[each]);
    }
    return result;
  }

  const Workers& mWorkers;
  std::size_t mTasks;
  const Workers::Take& mTake;
  std::size_t mNext = 0;  ///< that nobody is at
  std::list<Worker> mCrew;
};

}  // namespace

void Workers::carryOut(std::size_t tasks, const Take& take) const {
  Crew(*this, tasks, take).run();
}

std::vector<TaskResult> Workers::carryOut(std::size_t tasks) const {
  std::vector<TaskResult> results(tasks);
  carryOut(tasks, [&results](std::size_t number, TaskResult result) {
    results[number] = std::move(result);
  });
  return results;
}

}  // namespace gatehall::ctl
