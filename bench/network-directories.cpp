// A directory of 70,000 users and 2,000 groups in a slapd: gatehallctl against ldapsearch(1) for
// all users and for a group of 20,000 through three levels, and against getent(1) through nslcd(8)
// for all users, for one, and for a group that lists the login names of all. And what one directory
// of three costs that accepts nothing. It runs in a mount namespace of its own, in which /etc is a
// copy. Needs root.
//
// Environment: NSLCD_ROOT is the folder in which the packages nslcd and libnss-ldapd are unpacked.

#include <algorithm>
#include <array>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <thread>

#include "bench/DirectoryServer.h"
#include "gatehall/linux/LinuxPlatform.h"
#include "gatehall/users/GroupMembership.h"
#include "gatehall/users/UserLists.h"
#include "linux/LinuxLog.h"
#include "linux/ldap/client/Connection.h"
#include "linux/ldap/client/Entry.h"

namespace {

using namespace gatehall;
using namespace gatehall::bench;

constexpr int kUsers = 70000;
constexpr int kGroups = 2000;
constexpr int kRuns = 5;
constexpr int kFirstUserID = 10000;
constexpr double kTimeLimit = 2;

/// The group that lists the login names of all users.
constexpr int kNamesGroup = kGroups;
constexpr const char* kNamesGroupName = "names";

/// The members of the three levels; each but the last holds the next level besides, and fills whole
/// filters.
constexpr std::array kLevels{6999, 6999, 6002};
constexpr int kFilterTerms = 500;

std::string userDN(int number) {
  return "uid=user" + std::to_string(number) + ",ou=people," + kSuffix;
}
std::string levelDN(std::size_t level) {
  return "cn=level" + std::to_string(level) + ",ou=groups," + kSuffix;
}
std::string guid(char kind, int number) {
  char text[40];
  std::snprintf(text, sizeof(text), "6c6b2f1e-000%c-4000-8000-%012d", kind, number);
  return text;
}

std::vector<std::string> membersOf(std::size_t level) {
  std::vector<std::string> members;
  int number = 0;
  for (std::size_t before = 0; before < level; ++before) number += kLevels[before];
  for (int member = 0; member < kLevels[level]; ++member) members.push_back(userDN(number++));
  if (level + 1 < kLevels.size()) members.push_back(levelDN(level + 1));
  return members;
}

void writeLdif(const std::filesystem::path& file) {
  std::ofstream ldif(file);
  ldif << "dn: " << kSuffix
       << "\nobjectClass: dcObject\nobjectClass: organization\ndc: example\no: Example\n\n";
  for (const char* unit : {"people", "groups"}) {
    ldif << "dn: ou=" << unit << "," << kSuffix << "\nobjectClass: organizationalUnit\nou: " << unit
         << "\n\n";
  }
  for (int number = 0; number < kUsers; ++number) {
    ldif << "dn: " << userDN(number)
         << "\nobjectClass: inetOrgPerson\nobjectClass: posixAccount\nuid: user" << number
         << "\ncn: Person Number " << number << "\nsn: " << number
         << "\nuidNumber: " << kFirstUserID + number
         << "\ngidNumber: 100\nhomeDirectory: /home/user" << number
         << "\nloginShell: /bin/bash\nentryUUID: " << guid('1', number) << "\n\n";
  }
  const auto writeGroup = [&](const std::string& dn, const std::string& name, int number,
                              const std::vector<std::string>& members) {
    ldif << "dn: " << dn << "\nobjectClass: groupOfNames\nobjectClass: posixGroup\ncn: " << name
         << "\ngidNumber: " << 200000 + number << "\nentryUUID: " << guid('2', number) << "\n";
    for (const auto& member : members) ldif << "member: " << member << "\n";
    ldif << "\n";
  };
  for (std::size_t level = 0; level < kLevels.size(); ++level) {
    writeGroup(levelDN(level), "level" + std::to_string(level), static_cast<int>(level),
               membersOf(level));
  }
  for (int number = static_cast<int>(kLevels.size()); number < kGroups; ++number) {
    const auto name = "group" + std::to_string(number);
    writeGroup("cn=" + name + ",ou=groups," + kSuffix, name, number,
               {userDN(number), userDN(number * 7), userDN(number * 31)});
  }
  ldif << "dn: cn=" << kNamesGroupName << ",ou=groups," << kSuffix
       << "\nobjectClass: organizationalRole\nobjectClass: posixGroup\ncn: " << kNamesGroupName
       << "\ngidNumber: " << 200000 + kNamesGroup << "\nentryUUID: " << guid('2', kNamesGroup)
       << "\n";
  for (int number = 0; number < kUsers; ++number) ldif << "memberUid: user" << number << "\n";
}

std::string table(const std::string& name, const std::string& uri,
                  const std::string& base = kSuffix) {
  return "[[directory]]\nname = \"" + name + "\"\nservers = [\"" + uri + "\"]\nbase = \"" + base +
         "\"\nprofile = \"rfc2307bis\"\ntls = \"off\"\ntime-limit = 2\n";
}

void configure(const std::string& tables) {
  std::ofstream("/etc/gatehall/directory.toml") << tables;
}

/// ldapsearch for the filter, with the attributes that the layer asks for.
Command search(const std::string& uri, const std::string& filter, const Strings& attributes,
               bool isPaged) {
  Command command{"/usr/bin/ldapsearch", "-x", "-LLL", "-H", uri, "-b", kSuffix};
  if (isPaged) command.insert(command.end(), {"-E", "pr=1000/noprompt"});
  command.push_back(filter);
  command.insert(command.end(), attributes.begin(), attributes.end());
  return command;
}

/// What this process and those that it has waited for had of the processor, in seconds.
double processorSeconds() {
  double seconds = 0;
  for (const int whose : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage used{};
    getrusage(whose, &used);
    for (const auto& time : {used.ru_utime, used.ru_stime}) {
      seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    }
  }
  return seconds;
}

/// Reports the times of both works, in turns, without the servers'.
template <class Ours, class Theirs>
void compare(const std::string& name, int runs, Ours ours, Theirs theirs, const std::string& peer,
             double aim) {
  const auto timesOf = [](const auto& work) {
    const double before = processorSeconds();
    const double wall = secondsOf(work);
    return Spent{.milliseconds = wall * 1e3,
                 .processorMilliseconds = (processorSeconds() - before) * 1e3,
                 .megabytes = 0};
  };
  const auto taken = inTurns(
      runs, [&] { return timesOf(ours); }, [&] { return timesOf(theirs); });
  reportTimes(name, taken, peer, aim);
}

/// The searches of the expansion: one for the group, then its members by filters of hundreds.
std::vector<Command> expansionSearches(const std::string& uri, const ldap::Schemas& schemas) {
  auto attributes = schemas.users.wanted();
  for (const auto& each : schemas.groups.wanted()) {
    if (std::ranges::find(attributes, each) == attributes.end()) attributes.push_back(each);
  }
  const auto either = "(|" + schemas.users.filter() + schemas.groups.filter() + ")";
  std::vector<Command> searches{
      search(uri, "(&" + either + "(entryUUID=" + guid('2', 0) + "))", attributes, false)};
  for (std::size_t level = 0; level < kLevels.size(); ++level) {
    const auto members = membersOf(level);
    for (std::size_t begin = 0; begin < members.size(); begin += kFilterTerms) {
      std::string terms;
      for (auto at = begin; at < std::min(members.size(), begin + kFilterTerms); ++at) {
        terms += "(entryDN=" + members[at] + ")";
      }
      searches.push_back(search(uri, "(&" + either + "(|" + terms + "))", attributes, false));
    }
  }
  return searches;
}

/// Runs the work in this process, on this machine.
template <class Work>
auto onThisMachine(Work work) {
  Platform::install(std::make_shared<LinuxPlatform>(
      LinuxOptions(), std::make_shared<LinuxLog>("network-directories")));
  const auto result = work();
  Platform::install(nullptr);
  return result;
}

/// How many searches the expansion sends.
std::uint64_t roundTrips() {
  return onThisMachine([] {
    const auto before = ldap::Connection::searchesSent();
    const auto found = expandGUIDList(Strings{guid('2', 0)});
    if (!found || found->size() != 20000) fail("expansion");
    return ldap::Connection::searchesSent() - before;
  });
}

/// The values that a record of the middle has.
std::size_t attributeBytes() {
  std::size_t bytes = 0;
  for (const char* value : {"user35000", "Person Number 35000", "45000", "100", "/home/user35000",
                            "/bin/bash", "6c6b2f1e-0001-4000-8000-000000035000"}) {
    bytes += std::strlen(value);
  }
  return bytes;
}

/// Bytes a user that the list takes above the users' attributes.
void reportMemory(const Command& listUsers, const std::string& uri) {
  const auto megabytes = [&](const std::string& base) {
    configure(table("example", uri, base));
    return spent(listUsers).megabytes;
  };
  const auto without = std::string("ou=groups,") + kSuffix;
  const auto bytes = samples(kRuns, [&] {
    const double more = megabytes(kSuffix) - megabytes(without);
    return more * 1024 * 1024 / kUsers - static_cast<double>(attributeBytes());
  });
  report({.name = "network-users-memory",
          .unit = "bytes a user above its attributes",
          .ours = bytes,
          .aim = 1536});
}

/// nslcd, and what asks it.
class NameService {
 public:
  NameService(const std::filesystem::path& root, const std::string& uri) {
    // Its paths are built in; /etc is a copy, and /run is given a layer of its own.
    if (mount("tmpfs", "/run", "tmpfs", 0, nullptr) != 0) fail("mount /run");
    std::filesystem::create_directories("/run/nslcd");
    std::ofstream("/etc/nslcd.conf") << "uri " << uri << "\nbase " << kSuffix << "\n";
    std::ofstream("/etc/nsswitch.conf") << "passwd: files ldap\ngroup: files ldap\n";
    mLibraries = (root / "lib/x86_64-linux-gnu").string();
    mProcess = start({root / "usr/sbin/nslcd", "--nofork"});
    for (int attempt = 0; attempt < 500; ++attempt) {
      if (ask({"passwd", "user1"}) == 0) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    fail("nslcd");
  }
  ~NameService() {
    kill(mProcess, SIGTERM);
    waitpid(mProcess, nullptr, 0);
    umount2("/run", MNT_DETACH);
  }
  NameService(const NameService&) = delete;
  NameService& operator=(const NameService&) = delete;

  /// getent for one of a database, or for all; how it ended.
  int ask(Command command) const {
    command.insert(command.begin(), "/usr/bin/getent");
    setenv("LD_LIBRARY_PATH", mLibraries.c_str(), 1);
    const auto child = start(command);
    unsetenv("LD_LIBRARY_PATH");
    int status = 0;
    waitpid(child, &status, 0);
    return status;
  }

 private:
  std::string mLibraries;
  pid_t mProcess = 0;
};

/// False where there is none to compare with.
bool compareWithNameService(const std::string& ctl, const std::string& uri) {
  const char* root = std::getenv("NSLCD_ROOT");
  if (root == nullptr || !std::filesystem::exists(std::filesystem::path(root) / "usr/sbin/nslcd")) {
    std::fprintf(stderr, "network-directories: there is no nslcd; NSLCD_ROOT names none\n");
    return false;
  }
  const NameService names(root, uri);
  compare(
      "network-can-log-in", 41,
      [&] {
        run({ctl, "can-log-in", std::to_string(kFirstUserID + kUsers / 2)});
      },
      [&] {
        if (names.ask({"passwd", "user" + std::to_string(kUsers / 2)}) != 0) fail("getent");
      },
      "getent through nslcd", 1.8);
  compare(
      "network-users-nslcd", kRuns,
      [&] {
        run({ctl, "network-users"});
      },
      [&] {
        if (names.ask({"passwd"}) != 0) fail("getent");
      },
      "getent through nslcd", 1.2);
  compare(
      "network-member-names", kRuns,
      [&] {
        run({ctl, "--json", "expand", guid('2', kNamesGroup)});
      },
      [&] {
        if (names.ask({"group", kNamesGroupName}) != 0) fail("getent");
      },
      "getent through nslcd", 2.0);
  return true;
}

/// What a directory that accepts nothing costs among two that answer: it leaves the answer open.
void reportSilent(const Command& verb, const std::string& uri) {
  const Listener silent;
  const auto others = table("one", uri) + table("two", uri);
  const auto secondsWith = [&](const std::string& tables, int status) {
    configure(tables);
    return secondsOf([&] { run(verb, status); });
  };
  constexpr int kUndecidable = 3;
  const auto taken = inTurns(
      kRuns, [&] { return secondsWith(table("silent", silent.uri()) + others, kUndecidable); },
      [&] { return kTimeLimit + 2 * secondsWith(others, 0); });
  report({.name = "network-silent",
          .unit = "s",
          .ours = taken.ours,
          .theirs = taken.theirs,
          .peer = "the limit and two runs without it",
          .aim = 1.0});
}

void isolate(const std::filesystem::path& folder) {
  if (unshare(CLONE_NEWNS) != 0) fail("unshare");
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) fail("mount");
  run({"cp", "-a", "/etc", folder});
  std::filesystem::create_directories(folder / "etc/gatehall");
  if (mount((folder / "etc").c_str(), "/etc", nullptr, MS_BIND, nullptr) != 0) fail("mount /etc");
}

}  // namespace

int main() {
  const auto ctl = (programs() / "gatehallctl").string();
  auto folderTemplate = (std::filesystem::temp_directory_path() / "gatehall-bench-XXXXXX").string();
  const std::filesystem::path folder = mkdtemp(folderTemplate.data());
  isolate(folder);
  writeLdif(folder / "data.ldif");
  bool isComplete = false;
  {
    const DirectoryServer server(folder, folder / "data.ldif");
    const auto& uri = server.uri();
    ldap::Settings settings;
    settings.usersBase = settings.groupsBase = kSuffix;
    settings.profile = ldap::Profile::Rfc2307bis;
    const ldap::Schemas schemas(settings);
    reportMemory({ctl, "network-users"}, uri);

    configure(table("example", uri));
    const double most = static_cast<double>(kLevels.size()) + 20000.0 / kFilterTerms;
    report({.name = "network-expand-round-trips",
            .unit = "searches",
            .ours = {static_cast<double>(roundTrips())},
            .aim = most});
    const auto searches = expansionSearches(uri, schemas);
    compare(
        "network-expand", kRuns,
        [&] {
          run({ctl, "--json", "expand", guid('2', 0)});
        },
        [&] {
          for (const auto& each : searches) run(each);
        },
        std::to_string(searches.size()) + " times ldapsearch", 0.4);
    reportSilent({ctl, "can-log-in", std::to_string(kFirstUserID)}, uri);
    configure(table("example", uri));

    const auto searchAll = [&] {
      run(search(uri, schemas.users.filter(), schemas.users.wanted(), true));
    };
    compare(
        "network-list", kRuns,
        [] {
          if (onThisMachine([] { return networkUsers()->count(); }) != kUsers) fail("list");
        },
        searchAll, "paged ldapsearch", 1.0);
    compare(
        "network-users", kRuns,
        [&] {
          run({ctl, "network-users"});
        },
        searchAll, "paged ldapsearch", 1.0);
    isComplete = compareWithNameService(ctl, uri);
  }
  umount2("/etc", MNT_DETACH);
  std::filesystem::remove_all(folder);
  return isComplete ? 0 : 1;
}
