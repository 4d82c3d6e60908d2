// The real gatehall-switch, as it is installed, on a machine of its own.

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <string>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "tests/tool/Machine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr uid_t kAnn = 1000;
constexpr uid_t kCarol = 1002;

constexpr const char* kSession = "session=2,1000,ann,seat0,x11,user,active";
constexpr const char* kBobRunning = "session=c3,1001,bob,seat0,x11,user,online";
constexpr const char* kCarolRunning = "session=4,1002,carol,seat0,x11,user,online";

constexpr const char* kRoot = "User is root user.";
constexpr const char* kNotTheOwner =
    "Unable to Fast User Switch: User must be the current console user or root.";

constexpr const char* kSettings = "gatehall/com.orvane.gatehall.plist";
constexpr const char* kNoLocalUsers =
    "<plist version=\"1.0\"><dict><key>LocalUserLoginEnabled</key><false/></dict></plist>";

const std::string kSeat = "/org/freedesktop/DisplayManager/Seat0 ";
const std::string kLogin1 = "/org/freedesktop/login1 ";

/// Ann's session is left for Bob's desktop, which asks for no password, once it is locked.
const std::string kLock = kLogin1 + "LockSession '2'\n";
const std::string kSwitchToBob = kSeat + "SwitchToUser 'bob' ''\n";

/// A server on loopback that takes calls and never answers.
class TcpListener {
 public:
  TcpListener() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* general = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (bind(mSocket, general, size) != 0 || listen(mSocket, 8) != 0 ||
        getsockname(mSocket, general, &size) != 0) {
      throw std::system_error(errno, std::generic_category(), "a socket");
    }
    mPort = ntohs(address.sin_port);
  }
  ~TcpListener() { close(mSocket); }
  TcpListener(const TcpListener&) = delete;
  TcpListener& operator=(const TcpListener&) = delete;

  int port() const { return mPort; }

  bool wasCalled() const {
    const int call = accept4(mSocket, nullptr, nullptr, SOCK_CLOEXEC);
    if (call >= 0) close(call);
    return call >= 0;
  }

 private:
  const int mSocket = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  int mPort = 0;
};

/// A file, alone in a folder, that remembers whether somebody opened it.
class OpenedFile {
 public:
  OpenedFile(const std::string& name, const std::string& content) {
    if (mkdtemp(mFolder.data()) == nullptr || chmod(mFolder.data(), 0755) != 0) {
      throw std::system_error(errno, std::generic_category(), "a folder");
    }
    const auto path = folder() + '/' + name;
    std::ofstream(path) << content;
    if (inotify_add_watch(mWatch, path.c_str(), IN_OPEN) < 0) {
      throw std::system_error(errno, std::generic_category(), "a watch");
    }
  }
  ~OpenedFile() {
    close(mWatch);
    std::filesystem::remove_all(folder());
  }
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;

  std::string folder() const { return mFolder.data(); }

  bool wasOpened() const {
    inotify_event event{};
    return read(mWatch, &event, sizeof event) == static_cast<ssize_t>(sizeof event);
  }

 private:
  const int mWatch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  std::array<char, 32> mFolder{"/tmp/gatehall-trap-XXXXXX"};
};

class SwitchTool : public testing::Test {
 protected:
  void SetUp() override {
    if (getuid() != 0) GTEST_SKIP() << "making a machine of its own needs root";
    machine = std::make_unique<Machine>();
  }

  void start(std::vector<std::string> words) {
    words.insert(words.end(), {kSession, "active=2"});
    machine->bus.start(std::move(words));
  }

  /// Runs the tool, which is silent and ends well whatever happens.
  ToolRun run(const std::vector<std::string>& words, const Caller& caller = {},
              const std::function<void(pid_t)>& watch = {}) {
    auto result = machine->run(words, caller, watch);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, "");
    return result;
  }

  std::unique_ptr<Machine> machine;
};

TEST_F(SwitchTool, HasLightDMSwitchToAUserWithoutPasswordForTheConsolesOwner) {
  start({"lightdm", "logind"});
  EXPECT_THAT(run({"-switchToUserID", "1001"}, {.userID = kAnn}).log, IsEmpty());
  EXPECT_EQ(machine->bus.calls(), kLock + kSwitchToBob);
}

TEST_F(SwitchTool, ActivatesARunningSessionOfAUserWithoutPasswordAsItReadsTheHashAsAnn) {
  start({"lightdm", "logind", kBobRunning});
  EXPECT_THAT(run({"-switchToUserID", "1001"}, {.userID = kAnn}).log, IsEmpty());
  EXPECT_EQ(machine->bus.calls(), kLock + kLogin1 + "ActivateSessionOnSeat 'c3' 'seat0'\n");
}

TEST_F(SwitchTool, NeverActivatesARunningSessionOfAUserWithAPassword) {
  start({"lightdm", "logind", kCarolRunning});
  EXPECT_THAT(run({"-switchToUserID", "1002"}, {.userID = kAnn}).log, IsEmpty());
  EXPECT_EQ(machine->bus.calls(), kSeat + "SwitchToUser 'carol' ''\n");
}

TEST_F(SwitchTool, BringsUpTheLoginScreen) {
  start({"lightdm", "logind"});
  EXPECT_THAT(run({"-suspend", "-switchToUserID", "1001"}, {.userID = kAnn}).log, IsEmpty());
  EXPECT_EQ(machine->bus.calls(), kLock + kSeat + "SwitchToGreeter\n");
}

TEST_F(SwitchTool, SwitchesForRootToSeveralUsersInTurn) {
  start({"lightdm", "logind"});
  const auto result = run({"-switchToUserID", "1001", "-x", "-switchToUserID", "1002", "-suspend"});
  EXPECT_THAT(result.log, ElementsAre(kRoot));
  EXPECT_EQ(machine->bus.calls(), kLock + kSwitchToBob + kSeat + "SwitchToUser 'carol' ''\n" +
                                      kSeat + "SwitchToGreeter\n");
}

TEST_F(SwitchTool, ReadsTheHashOfEachOfSeveralUsers) {
  start({"sddm", "logind", kBobRunning});
  run({"-switchToUserID", "1002", "-switchToUserID", "1001"}, {.userID = kAnn});
  EXPECT_THAT(machine->bus.calls(), HasSubstr("ActivateSessionOnSeat 'c3'"));
}

TEST_F(SwitchTool, RefusesWhoDoesNotOwnTheConsole) {
  start({"lightdm", "logind"});
  EXPECT_THAT(run({"-switchToUserID", "1001"}, {.userID = kCarol}).log, ElementsAre(kNotTheOwner));
  EXPECT_EQ(machine->bus.calls(), "");
}

TEST_F(SwitchTool, DoesNothingForAnIdThatNobodyHasAndForAUserWhomTheAccessGroupLeavesOut) {
  start({"lightdm", "logind"});
  EXPECT_THAT(run({"-switchToUserID", "4711"}, {.userID = kAnn}).log, IsEmpty());
  machine->write("group", "root:x:0:\nshadow:x:42:\ngatehall-access:x:900:carol\n");
  EXPECT_THAT(run({"-switchToUserID", "1001"}, {.userID = kAnn}).log, IsEmpty());
  EXPECT_EQ(machine->bus.calls(), "");
}

TEST_F(SwitchTool, SaysWhyWithoutABus) {
  machine->hasBus = false;
  EXPECT_THAT(run({"-switchToUserID", "1001"}).log,
              ElementsAre(kRoot, StartsWith("Unable to connect to the system bus")));
}

TEST_F(SwitchTool, SaysWhyWithoutADisplayManager) {
  start({"logind"});
  EXPECT_THAT(
      run({"-suspend"}).log,
      ElementsAre(kRoot, "Unable to switch: there is no display manager on the system bus."));
}

TEST_F(SwitchTool, SaysWhatAServiceRefused) {
  start({"lightdm=refusing", "logind"});
  EXPECT_THAT(run({"-switchToUserID", "1001"}).log,
              ElementsAre(kRoot, StartsWith("Unable to ask org.freedesktop.DisplayManager for "
                                            "SwitchToUser: ")));
}

TEST_F(SwitchTool, EndsInTimeAndSaysWhyWhenServicesNeverAnswer) {
  start({"lightdm=silent", "logind=silent"});
  const auto result = run({"-switchToUserID", "1001"});
  EXPECT_THAT(result.log, ElementsAre(kRoot, StartsWith("Unable to ask org.freedesktop.login1 "),
                                      StartsWith("Unable to ask org.freedesktop.DisplayManager ")));
  // Five seconds, where sd-bus by itself waits 25 for each of them.
  EXPECT_LT(result.taken, std::chrono::seconds(40));
}

TEST_F(SwitchTool, HasGivenUpTheShadowGroupBeforeItAsksForASwitch) {
  start({"lightdm=silent", "logind"});
  bool gaveUp = false;
  std::string users;
  run({"-switchToUserID", "1001"}, {.userID = kAnn}, [&](pid_t tool) {
    std::ifstream status("/proc/" + std::to_string(tool) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("Uid:")) users = line;
      if (line.starts_with("Gid:")) gaveUp = line == "Gid:\t1000\t1000\t1000\t1000";
    }
  });
  EXPECT_TRUE(gaveUp);
  EXPECT_EQ(users, "Uid:\t1000\t1000\t1000\t1000");
}

TEST_F(SwitchTool, TakesNothingFromItsEnvironment) {
  start({"lightdm", "logind"});
  const Caller hostile{
      .userID = kAnn,
      .environment = {"DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nowhere", "LD_PRELOAD=/nowhere.so",
                      "LD_LIBRARY_PATH=/tmp", "HOME=/nowhere", "XDG_SEAT=seat9", "LANG=tlh_QO",
                      "LC_ALL=tlh_QO", "TZ=:/etc/shadow", "ICU_DATA=/tmp",
                      "SYSTEMD_LOG_LEVEL=debug", "SYSTEMD_LOG_TARGET=console", "MALLOC_PERTURB_=7",
                      "NO_EQUALS_SIGN"}};
  EXPECT_THAT(run({"-switchToUserID", "1001"}, hostile).log, IsEmpty());
  const Caller hostileRoot{.environment = hostile.environment};
  EXPECT_THAT(run({"-switchToUserID", "1001"}, hostileRoot).log.back(), kRoot);
  EXPECT_EQ(machine->bus.calls(), kLock + kSwitchToBob + kSwitchToBob);
}

TEST_F(SwitchTool, WorksWithClosedStandardDescriptors) {
  start({"lightdm", "logind"});
  for (const uid_t caller : {uid_t{0}, kAnn}) {
    run({"-switchToUserID", "1001"}, {.userID = caller, .closesStandardDescriptors = true});
  }
  EXPECT_EQ(machine->bus.calls(), kLock + kSwitchToBob + kSwitchToBob);
}

/// An administrator's setting must not go away because a caller leaves the tool too little to read
/// it.
TEST_F(SwitchTool, NeverSwitchesAgainstASettingHoweverLittleItsCallerLeavesIt) {
  const auto callsWith = [&](const Caller& caller) {
    start({"lightdm", "logind"});
    machine->run({"-switchToUserID", "1001"}, caller);
    return machine->bus.calls();
  };
  machine->write(kSettings, kNoLocalUsers);
  std::vector<std::uint64_t> sizes;
  for (std::uint64_t size = 1U << 20U; size < 512U << 20U; size += size / 3) sizes.push_back(size);
  std::vector<std::uint64_t> counts;
  for (std::uint64_t count = 0; count < 24; ++count) counts.push_back(count);
  for (const auto& [resource, limits] :
       {std::pair(RLIMIT_AS, sizes), {RLIMIT_DATA, sizes}, {RLIMIT_NOFILE, counts}}) {
    for (const auto limit : limits) {
      EXPECT_EQ(callsWith({.userID = kAnn, .limits = {{resource, limit}}}), "")
          << resource << ' ' << limit;
    }
  }
  EXPECT_EQ(callsWith({.userID = kAnn}), "");
  machine->remove(kSettings);
  EXPECT_EQ(callsWith({.userID = kAnn, .limits = {{RLIMIT_AS, sizes.back()}}}),
            kLock + kSwitchToBob);
}

TEST_F(SwitchTool, EndsByASignalAndSaysWhyWhenASettingCanNotBeRead) {
  machine->write(kSettings, kNoLocalUsers);
  machine->brokenFile = kSettings;
  start({"lightdm", "logind"});
  const auto result = machine->run({"-switchToUserID", "1001"});
  EXPECT_EQ(result.exitStatus, -1);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.log, ElementsAre(kRoot, testing::HasSubstr(kSettings)));
  EXPECT_EQ(machine->bus.calls(), "");
}

/// libldap reads a file "ldaprc" there unless told otherwise (ldap.conf(5)).
TEST_F(SwitchTool, ReadsNoFileWhereItsCallerStands) {
  TcpListener silent;
  machine->write("gatehall/directory.toml",
                 "[[directory]]\nname = \"school\"\nbase = \"dc=school\"\ntls = \"off\"\n"
                 "time-limit = 0.2\nservers = [\"ldap://127.0.0.1:" +
                     std::to_string(silent.port()) + "\"]\n");
  const OpenedFile trap("ldaprc", "TIMEOUT 1\n");
  start({"lightdm", "logind"});
  run({"-switchToUserID", "1001"}, {.userID = kAnn, .folder = trap.folder()});
  EXPECT_TRUE(silent.wasCalled());
  EXPECT_FALSE(trap.wasOpened());
  EXPECT_EQ(machine->bus.calls(), kLock + kSwitchToBob);
}

TEST_F(SwitchTool, SaysThatItsCallersLimitsAreTooLow) {
  start({"lightdm", "logind"});
  const auto* tooLow =
      "Unable to Fast User Switch: The caller's limits on memory or open files are too low.";
  for (const auto& limit : std::vector<std::pair<int, std::uint64_t>>{
           {RLIMIT_AS, 200U << 20U}, {RLIMIT_DATA, 200U << 20U}, {RLIMIT_NOFILE, 8}}) {
    EXPECT_THAT(run({"-switchToUserID", "1001"}, {.userID = kAnn, .limits = {limit}}).log,
                ElementsAre(tooLow));
  }
  EXPECT_EQ(machine->bus.calls(), "");
}

TEST_F(SwitchTool, RefusesWhenTheAccessGroupCanNotBeRead) {
  machine->write("group", "root:x:0:\nshadow:x:42:\ngatehall-access:x:many:carol\n");
  start({"lightdm", "logind"});
  run({"-switchToUserID", "1001"}, {.userID = kAnn});
  EXPECT_EQ(machine->bus.calls(), "");
}

TEST_F(SwitchTool, IgnoresWhatItIsCalledAndAnEmptyArgumentVector) {
  start({"lightdm", "logind"});
  EXPECT_THAT(run({}, {.userID = kAnn, .name = {}}).log, IsEmpty());
  const Caller oddlyNamed{.userID = kAnn, .name = {std::string(100000, '%') + "s\n"}};
  EXPECT_THAT(run({"-switchToUserID", "1001"}, oddlyNamed).log, IsEmpty());
  EXPECT_EQ(machine->bus.calls(), kLock + kSwitchToBob);
}

}  // namespace
}  // namespace gatehall
