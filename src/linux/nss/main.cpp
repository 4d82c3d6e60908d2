#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <limits>
#include <linux/capability.h>
#include <memory>
#include <optional>
#include <pwd.h>
#include <set>
#include <span>
#include <string.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "gatehall/base/PlatformException.h"
#include "linux/files/FileDescriptor.h"
#include "linux/nss/Message.h"
#include "linux/nss/Services.h"
#include "linux/process/ResourceLimits.h"
#include "linux/records/AccountID.h"

/// Asks the C library's name service for a directory, in a process of its own: one question comes
/// through standard input, a socket, and one answer goes back.

namespace gatehall::nss {

namespace {

/// For a group of some ten thousand members; a service may look anew for each size.
constexpr std::size_t kFirstBuffer = std::size_t{1} << 20U;
constexpr std::size_t kLargestBuffer = std::size_t{128} << 20U;

/// A folder with more homes is a server's: who has one of them need not have been here.
constexpr std::size_t kMostHomes = 1000;

[[noreturn]] void fail(const std::string& why) { throw PlatformException(why); }
[[noreturn]] void fail(const std::string& what, int error) {
  fail(what + ": " + strerrordesc_np(error));
}

const char* textOf(const char* text) { return text != nullptr ? text : ""; }

Account copyOf(const passwd& entry) {
  return {textOf(entry.pw_name),  entry.pw_uid,         entry.pw_gid,
          textOf(entry.pw_gecos), textOf(entry.pw_dir), textOf(entry.pw_shell)};
}

AccountGroup copyOf(const group& entry) {
  AccountGroup copy{textOf(entry.gr_name), entry.gr_gid, {}};
  if (entry.gr_mem == nullptr) return copy;
  std::size_t count = 0;
  while (entry.gr_mem[count] != nullptr) ++count;
  copy.members.reserve(count);
  for (const char* each : std::span(entry.gr_mem, count)) {
    if (*each != '\0') copy.members.emplace_back(each);
  }
  return copy;
}

/// Room for one entry's texts, which grows with what has come.
class Buffer {
 public:
  /// Calls ask(entry, buffer, size, found), a function such as getpwnam_r(3); whether it has found
  /// something. Raises when it can't tell.
  template <class Entry, class Ask>
  bool fetch(const std::string& what, Entry& entry, Ask ask) {
    for (;;) {
      Entry* found = nullptr;
      const int error = ask(&entry, mBytes.get(), mSize, &found);
      if (error == EINTR) continue;
      if (error == ERANGE && mSize < kLargestBuffer) {
        mSize *= 2;
        mBytes = std::make_unique_for_overwrite<char[]>(mSize);
        continue;
      }
      // These two say that there is none, says getpwnam(3).
      if (error != 0 && error != ENOENT && error != ESRCH) fail(what, error);
      return error == 0 && found != nullptr;
    }
  }

 private:
  // Not filled: most of it stays memory that nobody touches.
  std::size_t mSize = kFirstBuffer;
  std::unique_ptr<char[]> mBytes = std::make_unique_for_overwrite<char[]>(kFirstBuffer);
};

std::uint32_t idOf(const std::string& text) {
  const auto id = accountID(text);
  if (!id) fail("an id is none");
  return *id;
}

class Lookup {
 public:
  Answer answerTo(const Question& question) {
    const auto& values = question.values;
    switch (question.asked) {
      case Asked::Nothing:
        tryService();
        break;
      case Asked::UsersByName:
        for (const auto& name : values) findUser(name);
        break;
      case Asked::UsersByID:
        for (const auto& id : values) findUser(idOf(id));
        break;
      case Asked::UsersWithHome:
        for (const auto& folder : values) findOwners(folder);
        break;
      case Asked::AllUsers:
        findAllUsers();
        break;
      case Asked::GroupsByName:
        for (const auto& name : values) {
          findGroup(name, [&](auto... rest) { return getgrnam_r(name.c_str(), rest...); });
        }
        break;
      case Asked::GroupsByID:
        for (const auto& id : values) {
          findGroup(id, [number = idOf(id)](auto... rest) { return getgrgid_r(number, rest...); });
        }
        break;
      case Asked::AllGroups:
        findAllGroups();
        break;
      case Asked::GroupsOfUsers:
        askDaemons();
        for (std::size_t index = 0; index + 1 < values.size(); index += 2) {
          findGroupsOf(values[index], idOf(values[index + 1]));
        }
        break;
    }
    return std::move(mAnswer);
  }

 private:
  /// SSSD's module has a user out of a memory that its daemon left behind, whatever became of the
  /// daemon since, unless the environment says so (sssd.conf(5), memcache_timeout).
  static void askDaemons() {
    if (setenv("SSS_NSS_USE_MEMCACHE", "NO", 1) != 0) fail("the environment", errno);
  }

  template <class Ask>
  bool findUserBy(const std::string& what, Ask ask) {
    passwd entry{};
    if (!mBuffer.fetch("the user " + what, entry, ask)) return false;
    mAnswer.users.push_back(copyOf(entry));
    return true;
  }
  void findUser(const std::string& name) {
    findUserBy(name, [&](auto... rest) { return getpwnam_r(name.c_str(), rest...); });
  }
  void findUser(uid_t id) {
    findUserBy(std::to_string(id), [&](auto... rest) { return getpwuid_r(id, rest...); });
  }

  void findOwners(const std::string& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> homes(opendir(folder.c_str()), closedir);
    if (!homes) {
      if (errno == ENOENT || errno == ENOTDIR || errno == EACCES) return;
      fail(folder, errno);
    }
    std::set<uid_t> owners;
    std::size_t count = 0;
    for (;;) {
      errno = 0;
      const auto* each = readdir(homes.get());
      if (each == nullptr) break;
      if (each->d_name[0] == '.') continue;
      if (++count > kMostHomes) return;
      struct stat status {};
      if (fstatat(dirfd(homes.get()), each->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
          S_ISDIR(status.st_mode) && status.st_uid != 0) {
        owners.insert(status.st_uid);
      }
    }
    if (errno != 0) fail(folder, errno);
    for (const auto owner : owners) findUser(owner);
  }

  /// Whether the service tells of an account with exactly that name.
  bool isUser(const std::string& name) {
    passwd entry{};
    return mBuffer.fetch("the user " + name, entry, [&](auto... rest) {
      return getpwnam_r(name.c_str(), rest...);
    }) && name == textOf(entry.pw_name);
  }

  /// In front of what has no word for a service that fails, as getpwent(3). A lookup has.
  void tryService() { isUser("gatehall-asks-for-nobody"); }

  void findAllUsers() {
    tryService();
    setpwent();
    const auto next = [](auto... rest) { return getpwent_r(rest...); };
    while (findUserBy("after another", next)) {
    }
    endpwent();
  }

  template <class Ask>
  bool findGroup(const std::string& what, Ask ask) {
    group entry{};
    if (!mBuffer.fetch("the group " + what, entry, ask)) return false;
    mAnswer.groups.push_back(copyOf(entry));
    return true;
  }

  void findAllGroups() {
    tryService();
    setgrent();
    const auto next = [](auto... rest) { return getgrent_r(rest...); };
    while (findGroup("after another", next)) {
    }
    endgrent();
  }

  /// getgrouplist(3) has no word for a service that fails or that knows nobody of that name, and
  /// leaves out its groups: the user is looked up in front of it and behind it.
  void findGroupsOf(const std::string& name, gid_t primary) {
    auto& told = mAnswer.groupIDs.emplace_back();
    if (!isUser(name)) return;
    // More than the kernel's NGROUPS_MAX: a service may know of more than a process can have.
    constexpr int kMostGroups = 1 << 20;
    std::vector<gid_t> groups(64);
    for (;;) {
      int count = static_cast<int>(groups.size());
      const bool isWhole = getgrouplist(name.c_str(), primary, groups.data(), &count) >= 0;
      if (isWhole) groups.resize(static_cast<std::size_t>(count));
      if (isWhole) break;
      if (groups.size() >= kMostGroups) fail(name + " is in more groups than can be told");
      groups.resize(groups.size() * 2);
    }
    if (isUser(name)) told.assign(groups.begin(), groups.end());
  }

  Buffer mBuffer;
  Answer mAnswer;
};

std::string readSwitch() {
  struct stat status {};
  int error = 0;
  const auto file = openRegularFile(kSwitchFile, Symlinks::Follow, status, error);
  auto text = error == 0 ? readWhole(file, 65536, error) : std::nullopt;
  // Without the file the C library has defaults of its own.
  if (!text && error != ENOENT) fail(kSwitchFile, error);
  return text.value_or("");
}

Answer answerTo(const Question& question) {
  // Limits of the caller's could keep a service's module from being loaded, and it would count as
  // one that knows nobody.
  if (!raiseResourceLimits()) fail("the limits on memory or open files are too low");
  if (const auto silent = whySilent(networkServices(readSwitch())); !silent.empty()) fail(silent);
  return Lookup().answerTo(question);
}

/// What is left of capabilities(7): those that a service's unit gives are handed on to programs.
bool giveUpCapabilities() {
  if (prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0) != 0) return false;
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
  if (syscall(SYS_capget, &header, sets.data()) != 0) return false;
  const auto isEmpty = [](const auto& set) { return (set.permitted | set.inheritable) == 0; };
  // Where nothing is to be changed, nothing is asked for: some services may not.
  if (std::ranges::all_of(sets, isEmpty)) return true;
  sets = {};
  return syscall(SYS_capset, &header, sets.data()) == 0;
}

/// Whoever may gives up the caller's supplementary groups; for others the kernel keeps them.
bool giveUpGroups() {
  return getgroups(0, nullptr) == 0 || setgroups(0, nullptr) == 0 || errno == EPERM;
}

/// What asks the name service needs no rights: every account may. Whoever starts it from a program
/// with others' rights hands on those, too: root's go to nobody, and of all others only the
/// caller's own are left.
bool giveUpRights() {
  constexpr id_t kNobody = 65534;
  const rlimit none{0, 0};
  uid_t real = 0;
  uid_t effective = 0;
  uid_t saved = 0;
  if (setrlimit(RLIMIT_CORE, &none) != 0 || getresuid(&real, &effective, &saved) != 0) return false;
  const bool hasRoots = real == 0 || effective == 0 || saved == 0;
  // Whose effective one isn't root's has to be root again for a moment.
  if (hasRoots && (setresuid(0, 0, 0) != 0 || setgroups(0, nullptr) != 0)) return false;
  if (!giveUpGroups()) return false;
  const auto user = hasRoots ? kNobody : real;
  const auto group = hasRoots ? kNobody : getgid();
  // Where nothing is to be changed, nothing is asked for: some services may not.
  gid_t realGroup = 0;
  gid_t effectiveGroup = 0;
  gid_t savedGroup = 0;
  if (getresgid(&realGroup, &effectiveGroup, &savedGroup) != 0) return false;
  const bool hasGroup = realGroup == group && effectiveGroup == group && savedGroup == group;
  if (!hasGroup && setresgid(group, group, group) != 0) return false;
  const bool hasUser = !hasRoots && effective == user && saved == user;
  if (!hasUser && setresuid(user, user, user) != 0) return false;
  return giveUpCapabilities() && prctl(PR_SET_DUMPABLE, 0) == 0 &&
         prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0;
}

std::optional<std::string> receive(std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t come = 0;
  while (come < size) {
    const auto count = read(STDIN_FILENO, bytes.data() + come, size - come);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return std::nullopt;
    come += static_cast<std::size_t>(count);
  }
  return bytes;
}

bool send(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::send(STDIN_FILENO, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool run() {
  const auto length = receive(kLengthBytes);
  if (!length || lengthOf(*length) > kLongestQuestion) return false;
  const auto question = receive(lengthOf(*length));
  if (!question) return false;
  std::string text;
  try {
    text = written(answerTo(readQuestion(*question)));
  } catch (const PlatformException& failure) {
    Answer answer;
    answer.fault = failure.what();
    text = written(answer);
  }
  return send(text);
}

}  // namespace

}  // namespace gatehall::nss

/// An exception that nobody catches ends the process without a word.
void __gnu_cxx::__verbose_terminate_handler() { std::abort(); }

int main() {
  return gatehall::nss::giveUpRights() && gatehall::nss::run() ? EXIT_SUCCESS : EXIT_FAILURE;
}
