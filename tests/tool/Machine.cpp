#include "tests/tool/Machine.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <poll.h>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace gatehall {

namespace {

constexpr gid_t kShadowGroup = 42;

/// The password "secret", salted with "salt" (sha512crypt).
constexpr const char* kCarolHash =
    "$6$salt$egUxKNxDs8kPfh8iPMNcosMhb2eWah6d3R44JDm5Rj/j/XWR5E33QPd0YmHXoDHOIDR6kL5D3JcQcz0O8FHE00"
    "g.";

void require(bool holds, const char* what) {
  if (!holds) throw std::system_error(errno, std::generic_category(), what);
}

/// In the child, where no exception may pass.
void must(bool holds) {
  if (!holds) _exit(126);
}

/// In the child: opens so many descriptors that as many are free, and none more can be had.
void leaveDescriptors(int count) {
  constexpr int kMost = 64;
  const rlimit both{kMost, kMost};
  must(setrlimit(RLIMIT_NOFILE, &both) == 0);
  for (int number = STDERR_FILENO + 1; number < kMost - count; ++number) {
    must(dup2(STDIN_FILENO, number) == number);
  }
}

std::string socketPath(const std::string& address) {
  const std::string prefix = "unix:path=";
  const auto start = address.find(prefix) + prefix.size();
  return address.substr(start, address.find(',', start) - start);
}

void append(std::string& text, int descriptor) {
  std::array<char, 4096> room{};
  for (ssize_t count = 0; (count = read(descriptor, room.data(), room.size())) > 0;) {
    text.append(room.data(), static_cast<std::size_t>(count));
  }
}

std::vector<char*> pointers(const std::vector<std::string>& words) {
  std::vector<char*> result;
  for (const auto& word : words) result.push_back(const_cast<char*>(word.c_str()));
  result.push_back(nullptr);
  return result;
}

}  // namespace

Machine::Machine() {
  std::array<char, 32> name{"/tmp/gatehall-tool-XXXXXX"};
  require(mkdtemp(name.data()) != nullptr, "mkdtemp");
  // Its own socket is for everybody, but not the folder that it is in.
  const auto busFolder = std::filesystem::path(socketPath(bus.address())).parent_path();
  require(chmod(busFolder.c_str(), 0755) == 0, "chmod");
  mFolder = name.data();
  require(chmod(mFolder.c_str(), 0755) == 0, "chmod");
  std::filesystem::create_directories(mFolder / "etc");
  std::filesystem::create_directories(mFolder / "host");

  write("passwd",
        "root:x:0:0:root:/root:/bin/sh\n"
        "ann:x:1000:1000:Ann Lee:/home/ann:/bin/sh\n"
        "bob:x:1001:1001:Bob Ray:/home/bob:/bin/sh\n"
        "carol:x:1002:1002:Carol Diaz:/home/carol:/bin/sh\n");
  write("shadow", std::string("root:*:19000::::::\nann:!:19000::::::\nbob::19000::::::\ncarol:") +
                      kCarolHash + ":19000::::::\n");
  write("group", "root:x:0:\nshadow:x:42:\nann:x:1000:\nbob:x:1001:\ncarol:x:1002:\n");
  shareWithShadow("shadow");

  const auto tool = mFolder / "gatehall-switch";
  std::filesystem::copy_file(GATEHALL_SWITCH, tool);
  require(chown(tool.c_str(), 0, kShadowGroup) == 0, "chown");
  require(chmod(tool.c_str(), 02755) == 0, "chmod");

  mLogSocket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  (mFolder / "log").string().copy(address.sun_path, sizeof address.sun_path - 1);
  require(bind(mLogSocket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
  require(chmod((mFolder / "log").c_str(), 0666) == 0, "chmod");
}

Machine::~Machine() {
  close(mLogSocket);
  std::error_code ignored;
  std::filesystem::remove_all(mFolder, ignored);
}

void Machine::write(const std::string& name, const std::string& content) const {
  const auto path = mFolder / "etc" / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path) << content;
}

void Machine::add(const std::string& name, const std::string& content) const {
  std::ofstream(mFolder / "etc" / name, std::ios::app) << content;
}

void Machine::remove(const std::string& name) const {
  std::filesystem::remove(mFolder / "etc" / name);
}

void Machine::shareWithShadow(const std::string& name) const {
  const auto path = mFolder / "etc" / name;
  require(chown(path.c_str(), 0, kShadowGroup) == 0, "chown");
  require(chmod(path.c_str(), 0640) == 0, "chmod");
}

/// In the child: puts the machine's files, its bus, its sessions and its log where the tool finds
/// them.
void Machine::enter() const {
  must(unshare(CLONE_NEWNS) == 0);
  must(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0);
  umask(0);
  const auto host = mFolder / "host";
  must(mount("/etc", host.c_str(), nullptr, MS_BIND, nullptr) == 0);
  must(mount("tmpfs", "/etc", "tmpfs", 0, "mode=0755") == 0);
  for (const auto& folder : {mFolder / "etc", host}) {
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
      const auto target = "/etc" / file.path().filename();
      if (folder != host && file.is_directory()) {  // policy files stand behind no link
        must(mkdir(target.c_str(), 0755) == 0);
        must(mount(file.path().c_str(), target.c_str(), nullptr, MS_BIND, nullptr) == 0);
        continue;
      }
      must(symlink(file.path().c_str(), target.c_str()) == 0 || errno == EEXIST);
    }
  }

  must(mount("tmpfs", "/dev", "tmpfs", 0, "mode=0755") == 0);
  must(mknod("/dev/null", S_IFCHR | 0666, makedev(1, 3)) == 0);
  must(mknod("/dev/full", S_IFCHR | 0666, makedev(1, 7)) == 0);
  must(symlink((mFolder / "log").c_str(), "/dev/log") == 0);

  must(mount("tmpfs", "/run", "tmpfs", 0, "mode=0755") == 0);
  std::filesystem::create_directories("/run/systemd/seats");
  std::filesystem::create_directories("/run/systemd/sessions");
  std::ofstream("/run/systemd/seats/seat0") << "IS_SEAT0=1\nACTIVE=2\nACTIVE_UID=1000\n";
  std::ofstream("/run/systemd/sessions/2")
      << "UID=1000\nUSER=ann\nACTIVE=1\nSTATE=active\nTYPE=x11\nCLASS=user\nSEAT=seat0\n";
  if (!brokenFile.empty()) {
    // Reading it from its beginning ends with EIO: nothing is mapped there (proc(5)).
    const auto target = "/etc" / std::filesystem::path(brokenFile);
    must(mount("/proc/self/mem", target.c_str(), nullptr, MS_BIND, nullptr) == 0);
  }
  if (hasBus) {
    std::filesystem::create_directories("/run/dbus");
    must(symlink(socketPath(bus.address()).c_str(), "/run/dbus/system_bus_socket") == 0);
  }
}

void Machine::takeLog(ToolRun& run) const {
  std::array<char, 8192> room{};
  for (ssize_t count = 0; (count = recv(mLogSocket, room.data(), room.size(), 0)) > 0;) {
    std::string line(room.data(), static_cast<std::size_t>(count));
    // 11: facility user, level error; 85 and 86: facility authpriv, level notice and info. The
    // process id stands behind the name.
    const auto identity = line.find(" gatehall-switch[");
    const bool isOurs = identity != std::string::npos;
    const auto text = isOurs ? line.substr(line.find("]: ", identity) + 3) : "UNEXPECTED " + line;
    const bool isDecision = line.starts_with("<85>") || line.starts_with("<86>");
    const bool isError = line.starts_with("<11>");
    if (isOurs && isDecision) {
      run.decisions.push_back(text);
    } else {
      run.log.push_back(isOurs && !isError ? "UNEXPECTED " + line : text);
    }
  }
}

ToolRun Machine::run(const std::vector<std::string>& words, const Caller& caller,
                     const std::function<void(pid_t)>& watch) {
  return runUntil(words, caller, false, [&](pid_t tool) {
    int status = 0;
    if (watch) {
      while (waitpid(tool, &status, WNOHANG) == 0) watch(tool);
    } else {
      waitpid(tool, &status, 0);
    }
    return status;
  });
}

ToolRun Machine::trace(const std::vector<std::string>& words, const Caller& caller,
                       const std::function<int(pid_t)>& tracer) {
  return runUntil(words, caller, true, tracer);
}

ToolRun Machine::runUntil(const std::vector<std::string>& words, const Caller& caller,
                          bool isStopped, const std::function<int(pid_t)>& wait) {
  auto arguments = caller.name;
  if (!arguments.empty()) arguments.insert(arguments.end(), words.begin(), words.end());
  const auto tool = (mFolder / "gatehall-switch").string();
  auto argv = pointers(arguments);
  auto environment = pointers(caller.environment);
  std::array<int, 2> output{};
  require(pipe2(output.data(), O_CLOEXEC) == 0, "pipe");

  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  require(child >= 0, "fork");
  if (child == 0) {
    enter();
    must(dup2(output[1], STDOUT_FILENO) >= 0 && dup2(output[1], STDERR_FILENO) >= 0);
    if (caller.closesStandardDescriptors) {
      for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(descriptor);
    }
    must(caller.folder.empty() || chdir(caller.folder.c_str()) == 0);
    if (caller.freeDescriptors) leaveDescriptors(*caller.freeDescriptors);
    for (const auto& [resource, limit] : caller.limits) {
      const rlimit both{limit, limit};
      must(setrlimit(static_cast<__rlimit_resource>(resource), &both) == 0);
    }
    must(setgroups(0, nullptr) == 0);
    must(setresgid(caller.userID, caller.userID, caller.userID) == 0);
    must(setresuid(caller.userID, caller.userID, caller.userID) == 0);
    if (isStopped) raise(SIGSTOP);
    execve(tool.c_str(), argv.data(), environment.data());
    _exit(127);
  }
  close(output[1]);

  const int status = wait(child);
  ToolRun result;
  result.taken = std::chrono::steady_clock::now() - start;
  append(result.output, output[0]);
  close(output[0]);
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  takeLog(result);
  return result;
}

}  // namespace gatehall
