#include "greeter/machine/InstalledLanguages.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "linux/files/FileDescriptor.h"

namespace gatehall::greeter {

namespace {

/// glibc has some 500 locales.
constexpr std::size_t kLongestAnswer = 65536;

}  // namespace

struct InstalledLanguages::Program {
  FileDescriptor output;
  pid_t id = -1;
  std::string answer{};

  Program() = default;
  /// Whatever it still does, nobody waits for it.
  ~Program() {
    if (id == -1) return;
    kill(id, SIGKILL);
    waitpid(id, nullptr, 0);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  bool start(std::string path) {
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) return false;
    output = FileDescriptor(ends[0]);
    const FileDescriptor input(ends[1]);
    if (fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0) return false;
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, input.number(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::string all = "-a";
    std::string locale = "LC_ALL=C";
    const std::array<char*, 3> words{path.data(), all.data(), nullptr};
    const std::array<char*, 2> environment{locale.data(), nullptr};
    const int result =
        posix_spawn(&id, path.c_str(), &actions, nullptr, words.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    if (result != 0) id = -1;
    return result == 0;
  }
};

InstalledLanguages::InstalledLanguages(EventLoop& events, Handler handler,
                                       const std::string& program)
    : mHandler(std::move(handler)), mProgram(std::make_unique<Program>()) {
  if (!mProgram->start(program)) {
    mProgram.reset();
    return;
  }
  mSource = events.whenReadable(mProgram->output.number(), [this] { read(); });
}

InstalledLanguages::~InstalledLanguages() = default;

void InstalledLanguages::read() {
  if (!mProgram) return;
  std::array<char, 4096> bytes{};
  const auto length = ::read(mProgram->output.number(), bytes.data(), bytes.size());
  if (length < 0 && (errno == EINTR || errno == EAGAIN)) return;
  if (length > 0) {
    mProgram->answer.append(bytes.data(), static_cast<std::size_t>(length));
    if (mProgram->answer.size() <= kLongestAnswer) return;
  }
  const auto answer = std::exchange(mProgram->answer, {});
  const auto source = std::exchange(mSource, nullptr);
  mProgram.reset();
  mHandler(languagesIn(answer));
}

}  // namespace gatehall::greeter
