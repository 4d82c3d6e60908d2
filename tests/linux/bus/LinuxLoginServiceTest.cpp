#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/bus/SystemBus.h"
#include "linux/switch/LinuxLoginService.h"
#include "tests/Patience.h"
#include "tests/linux/bus/fixture/PrivateBus.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class KeptLog final : public Log {
 public:
  void error(std::string_view text) override { errors.emplace_back(text); }
  void diagnostic(std::string_view text) override { diagnostics.emplace_back(text); }

  Strings errors;
  Strings diagnostics;
};

/// ann sits at the seat; bob has no password.
constexpr const char* kAnnActive = "session=2,1000,ann,seat0,x11,user,active";
constexpr const char* kBobRunning = "session=c3,1001,bob,seat0,wayland,user,online";

constexpr const char* kLockAnn = "/org/freedesktop/login1 LockSession '2'\n";
constexpr const char* kBobLocked = "session=c3,1001,bob,seat0,wayland,user,online,locked";
constexpr const char* kActivateBob = "/org/freedesktop/login1 ActivateSessionOnSeat 'c3' 'seat0'\n";
constexpr const char* kUnlockBob = "/org/freedesktop/login1 UnlockSession 'c3'\n";
constexpr const char* kSwitchToBob =
    "/org/freedesktop/DisplayManager/Seat0 SwitchToUser 'bob' ''\n";
constexpr const char* kGreeter = "/org/freedesktop/DisplayManager/Seat0 SwitchToGreeter\n";
constexpr const char* kTransient =
    "/org/gnome/DisplayManager/LocalDisplayFactory CreateTransientDisplay\n";

Dictionary user(const char* name, const char* userID) {
  return {{std::string(attribute::RecordName), Strings{name}},
          {std::string(attribute::UniqueID), Strings{userID}},
          {std::string(attribute::MetaNodeLocation), Strings{"local"}}};
}

Dictionary withoutPassword(Dictionary attributes) {
  attributes.insert_or_assign(std::string(kUserPasswordKey), "");
  return attributes;
}

Dictionary guest() {
  auto attributes = user("gus", "1009");
  attributes.insert_or_assign(std::string(attribute::Guest), Strings{"1"});
  return attributes;
}

const auto bob = withoutPassword(user("bob", "1001"));
const auto carol = user("carol", "1002");

class LinuxLoginServiceTest : public testing::Test {
 protected:
  /// The machine's services, ann's session in front.
  void start(std::vector<std::string> words) {
    words.insert(words.end(), {kAnnActive, "active=2"});
    bus.start(std::move(words));
  }

  LinuxLoginService& service() { return mService; }
  /// What the services were asked to do, and that the log has nothing to say.
  std::string callsWithoutTrouble() {
    EXPECT_THAT(log.errors, IsEmpty());
    return bus.calls();
  }

  PrivateBus bus;
  KeptLog log;

 private:
  LinuxLoginService mService{
      {.root = "", .systemBusAddress = bus.address(), .callTimeout = kPatience}, log};
};

TEST_F(LinuxLoginServiceTest, LocksAndShowsTheGreeterOfLightDM) {
  start({"lightdm", "logind"});
  EXPECT_EQ(service().switchToLoginScreen(), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kGreeter);
}

TEST_F(LinuxLoginServiceTest, LocksAndShowsTheGreeterOfSDDM) {
  start({"sddm", "logind"});
  EXPECT_EQ(service().switchToLoginScreen(), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kGreeter);
}

TEST_F(LinuxLoginServiceTest, LocksAndLetsGDMMakeADisplay) {
  start({"gdm", "logind"});
  EXPECT_EQ(service().switchToLoginScreen(), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kTransient);
}

TEST_F(LinuxLoginServiceTest, LetsLightDMAuthenticateAUserWithAPassword) {
  start({"lightdm", "logind", "session=4,1002,carol,seat0,x11,user,online"});
  EXPECT_EQ(service().switchToUser(carol), 0);
  EXPECT_EQ(callsWithoutTrouble(),
            "/org/freedesktop/DisplayManager/Seat0 SwitchToUser 'carol' ''\n");
}

TEST_F(LinuxLoginServiceTest, ShowsTheLoginScreenForAUserWithAPasswordElsewhere) {
  start({"sddm", "logind", "session=4,1002,carol,seat0,x11,user,online"});
  EXPECT_EQ(service().switchToUser(carol), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kGreeter);
  start({"gdm", "logind", "session=4,1002,carol,seat0,x11,user,online"});
  EXPECT_EQ(service().switchToUser(carol), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kTransient);
}

TEST_F(LinuxLoginServiceTest, ActivatesARunningSessionOfAUserWithoutPassword) {
  for (const auto* displayManager : {"lightdm", "sddm", "gdm"}) {
    start({displayManager, "logind", kBobRunning});
    EXPECT_EQ(service().switchToUser(bob), 0);
    EXPECT_EQ(
        callsWithoutTrouble(),
        std::string(kLockAnn) + "/org/freedesktop/login1 ActivateSessionOnSeat 'c3' 'seat0'\n")
        << displayManager;
  }
}

TEST_F(LinuxLoginServiceTest, ActivatesWithoutAnyDisplayManager) {
  start({"logind", kBobRunning});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_THAT(callsWithoutTrouble(), HasSubstr("ActivateSessionOnSeat 'c3'"));
}

TEST_F(LinuxLoginServiceTest, DoesNothingWhenTheUsersSessionIsInFront) {
  start({"lightdm", "logind"});
  EXPECT_EQ(service().switchToUser(withoutPassword(user("ann", "1000"))), 0);
  EXPECT_EQ(callsWithoutTrouble(), "");
}

TEST_F(LinuxLoginServiceTest, StartsASessionOfAUserWithoutPassword) {
  start({"lightdm", "logind"});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kSwitchToBob);
  start({"sddm", "logind"});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kGreeter);
  start({"gdm", "logind"});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kTransient);
}

TEST_F(LinuxLoginServiceTest, ActivatesOnlyGraphicalUserSessionsOnTheSeatThatAreLoggedIn) {
  start({"lightdm", "logind", "session=5,1001,bob,,x11,user,online",
         "session=6,1001,bob,seat1,x11,user,online", "session=7,1001,bob,seat0,tty,user,online",
         "session=8,1001,bob,seat0,x11,background,online",
         "session=9,1001,bob,seat0,x11,user,closing", "session=10,1003,dana,seat0,x11,user,online",
         "gone=11,1001,bob,seat0"});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kSwitchToBob);
}

TEST_F(LinuxLoginServiceTest, BringsNoSessionOfAnotherNameToTheFrontAndSwitchesNothing) {
  for (const auto* other : {"session=c3,1001,rob,seat0,x11,user,online",
                            "session=c3,1001,rob,seat0,x11,user,online,locked"}) {
    start({"lightdm", "logind", other});
    EXPECT_EQ(service().switchToUser(bob), 1);
    EXPECT_EQ(bus.calls(), "");
  }
  EXPECT_THAT(log.errors, testing::Each("The session c3 is not brought to the front: it is of rob, "
                                        "not of bob."));
}

/// root is a local account everywhere, by its name and by its id.
TEST_F(LinuxLoginServiceTest, BringsNoLocalSessionToTheFrontForATwinInTheNetwork) {
  auto twin = withoutPassword(user("root", "1001"));
  twin.insert_or_assign(std::string(attribute::MetaNodeLocation), Strings{"ldap/school"});
  auto nowhere = withoutPassword(user("zero", "0"));
  nowhere.erase(std::string(attribute::MetaNodeLocation));
  start({"lightdm", "logind", "session=c3,1001,root,seat0,x11,user,online",
         "session=c4,0,zero,seat0,x11,user,online"});
  EXPECT_EQ(service().switchToUser(twin), 1);
  EXPECT_EQ(service().switchToUser(nowhere), 1);
  EXPECT_EQ(bus.calls(), "");
  EXPECT_THAT(log.errors, testing::Each(HasSubstr("a local account has the name or the id")));
}

TEST_F(LinuxLoginServiceTest, ActivatesNothingForAPasswordThatIsNotEmptyOrIsNoText) {
  start({"lightdm", "logind", kBobRunning});
  for (const auto& password : {Value("secret"), Value(false), Value(Strings{""})}) {
    auto attributes = user("bob", "1001");
    attributes.insert_or_assign(std::string(kUserPasswordKey), password);
    EXPECT_EQ(service().switchToUser(attributes), 0);
  }
  EXPECT_THAT(callsWithoutTrouble(), testing::Not(HasSubstr("Activate")));
}

TEST_F(LinuxLoginServiceTest, StartsAGuestSessionWithLightDM) {
  start({"lightdm", "logind"});
  EXPECT_EQ(service().switchToUser(guest()), 0);
  EXPECT_EQ(callsWithoutTrouble(),
            std::string(kLockAnn) + "/org/freedesktop/DisplayManager/Seat0 SwitchToGuest ''\n");
}

TEST_F(LinuxLoginServiceTest, ShowsTheLoginScreenForAGuestElsewhere) {
  start({"sddm", "logind"});
  EXPECT_EQ(service().switchToUser(withoutPassword(guest())), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kGreeter);
}

TEST_F(LinuxLoginServiceTest, TakesTheFirstSeatWhenThereIsNoSeat0) {
  start({"lightdm", "logind", "seat=/org/freedesktop/DisplayManager/Seat3",
         "seat=/org/freedesktop/DisplayManager/Seat4"});
  EXPECT_EQ(service().switchToLoginScreen(), 0);
  EXPECT_EQ(callsWithoutTrouble(),
            std::string(kLockAnn) + "/org/freedesktop/DisplayManager/Seat3 SwitchToGreeter\n");
}

TEST_F(LinuxLoginServiceTest, LocksNoLoginScreen) {
  bus.start({"lightdm", "logind", "session=c1,112,lightdm,seat0,x11,greeter,active", "active=c1"});
  EXPECT_EQ(service().switchToLoginScreen(), 0);
  EXPECT_EQ(callsWithoutTrouble(), kGreeter);
}

TEST_F(LinuxLoginServiceTest, LocksNothingOnASeatWithoutASession) {
  bus.start({"lightdm", "logind"});
  EXPECT_EQ(service().switchToLoginScreen(), 0);
  EXPECT_EQ(callsWithoutTrouble(), kGreeter);
}

TEST_F(LinuxLoginServiceTest, RefusesWithoutADisplayManager) {
  start({"logind"});
  EXPECT_EQ(service().switchToLoginScreen(), 1);
  EXPECT_EQ(service().switchToUser(carol), 1);
  const auto* line = "Unable to switch: there is no display manager on the system bus.";
  EXPECT_THAT(log.errors, ElementsAre(line, line));
  EXPECT_EQ(bus.calls(), "");
}

TEST_F(LinuxLoginServiceTest, RefusesAUserWithoutAName) {
  start({"lightdm", "logind"});
  EXPECT_EQ(service().switchToUser({}), 1);
  EXPECT_THAT(log.errors, ElementsAre("Unable to switch to a user without a name."));
  EXPECT_EQ(bus.calls(), "");
}

TEST_F(LinuxLoginServiceTest, SaysWhatADisplayManagerRefusedAndWhy) {
  start({"lightdm=refusing", "logind"});
  EXPECT_EQ(service().switchToUser(carol), 1);
  EXPECT_THAT(log.errors, ElementsAre("Unable to ask org.freedesktop.DisplayManager for "
                                      "SwitchToUser: Not?today"));
}

TEST_F(LinuxLoginServiceTest, ShowsTheLoginScreenInsteadOfADesktopWhenItMayNotLock) {
  start({"lightdm", "logind=LockSession", kBobRunning});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_THAT(log.errors,
              ElementsAre("Unable to ask org.freedesktop.login1 for LockSession: Not?today; the "
                          "session in front is not left for the desktop of bob, which asks for no "
                          "password."));
  EXPECT_EQ(bus.calls(), std::string(kLockAnn) + kGreeter);
}

TEST_F(LinuxLoginServiceTest, LeavesItToTheDisplayManagerWhenItMayNotActivate) {
  const std::string refused =
      "Unable to ask org.freedesktop.login1 for ActivateSessionOnSeat: Not?today";
  start({"lightdm", "logind=ActivateSessionOnSeat", kBobRunning});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_EQ(bus.calls(), std::string(kLockAnn) + kActivateBob + kSwitchToBob);
  start({"sddm", "logind=ActivateSessionOnSeat", kBobRunning});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_EQ(bus.calls(), std::string(kLockAnn) + kActivateBob + kGreeter);
  EXPECT_THAT(log.errors, ElementsAre(refused, refused));
}

TEST_F(LinuxLoginServiceTest, UnlocksALockedSessionBeforeItActivatesIt) {
  for (const auto* displayManager : {"lightdm", "sddm", "gdm"}) {
    start({displayManager, "logind", kBobLocked});
    EXPECT_EQ(service().switchToUser(bob), 0);
    EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kUnlockBob + kActivateBob);
  }
}

TEST_F(LinuxLoginServiceTest, LeavesALockedSessionToLightDMWhenItMayNotUnlock) {
  start({"lightdm", "logind=UnlockSession", kBobLocked});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_EQ(callsWithoutTrouble(), std::string(kLockAnn) + kUnlockBob + kSwitchToBob);
}

TEST_F(LinuxLoginServiceTest, ActivatesALockedSessionElsewhereWhenItMayNotUnlock) {
  start({"sddm", "logind=UnlockSession", kBobLocked});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_EQ(bus.calls(), std::string(kLockAnn) + kUnlockBob + kActivateBob);
  EXPECT_THAT(log.errors,
              ElementsAre("Unable to ask org.freedesktop.login1 for UnlockSession: Not?today"));
}

TEST_F(LinuxLoginServiceTest, ShowsTheLoginScreenEvenWhenItCanNotLock) {
  bus.start({"lightdm"});
  EXPECT_EQ(service().switchToLoginScreen(), 0);
  EXPECT_THAT(log.errors,
              ElementsAre(StartsWith("Unable to ask org.freedesktop.login1 for ActiveSession: ")));
  EXPECT_EQ(bus.calls(), kGreeter);
}

TEST_F(LinuxLoginServiceTest, ShowsTheLoginScreenInsteadOfADesktopWhenThereIsNoLogind) {
  bus.start({"lightdm"});
  EXPECT_EQ(service().switchToUser(bob), 0);
  EXPECT_THAT(log.errors,
              ElementsAre(StartsWith("Unable to ask org.freedesktop.login1 for ListSessions: "),
                          StartsWith("Unable to ask org.freedesktop.login1 for ActiveSession: ")));
  EXPECT_EQ(bus.calls(), kGreeter);
}

TEST_F(LinuxLoginServiceTest, LeavesAUserWithAPasswordToLightDMWhenThereIsNoLogind) {
  bus.start({"lightdm"});
  EXPECT_EQ(service().switchToUser(carol), 0);
  EXPECT_EQ(callsWithoutTrouble(),
            "/org/freedesktop/DisplayManager/Seat0 SwitchToUser 'carol' ''\n");
}

TEST_F(LinuxLoginServiceTest, WithstandsAnswersOfAnyType) {
  bus.start({"lightdm=nonsense", "logind=nonsense"});
  service().switchToLoginScreen();
  service().switchToUser(bob);
  service().switchToUser(guest());
  EXPECT_EQ(bus.calls(), "");
}

/// With a limit that lets those answer who do, and leaves a part of a switch's five seconds to them
/// when one does not.
class LinuxLoginServiceInTime : public testing::Test {
 protected:
  using Clock = std::chrono::steady_clock;

  /// sd-bus's own limit, which holds where there is no other, is made a long one.
  LinuxLoginServiceInTime() { setenv("SYSTEMD_BUS_TIMEOUT", "120", 1); }
  ~LinuxLoginServiceInTime() override { unsetenv("SYSTEMD_BUS_TIMEOUT"); }

  LinuxLoginService service(const std::string& address) {
    return {{.root = "", .systemBusAddress = address, .callTimeout = std::chrono::seconds(2)}, log};
  }
  void expectItEndedInTime() const { EXPECT_LT(Clock::now() - mStart, kPatience); }

  KeptLog log;

 private:
  Clock::time_point mStart = Clock::now();
};

TEST_F(LinuxLoginServiceInTime, GivesUpOnADisplayManagerThatNeverAnswers) {
  PrivateBus bus;
  bus.start({"lightdm=silent"});
  EXPECT_EQ(service(bus.address()).switchToUser(carol), 1);
  expectItEndedInTime();
  EXPECT_THAT(log.errors, ElementsAre("Unable to ask org.freedesktop.DisplayManager for "
                                      "Introspect: Connection timed out"));
}

TEST_F(LinuxLoginServiceInTime, GoesOnWhenLogindNeverAnswers) {
  PrivateBus bus;
  bus.start({"lightdm"});
  bus.start({"logind=silent"});
  EXPECT_EQ(service(bus.address()).switchToUser(bob), 0);
  expectItEndedInTime();
  EXPECT_THAT(log.errors, ElementsAre("Unable to ask org.freedesktop.login1 for ListSessions: "
                                      "Connection timed out",
                                      StartsWith("Unable to ask org.freedesktop.login1 for "
                                                 "ActiveSession: Connection timed out; ")));
}

TEST_F(LinuxLoginServiceInTime, GivesUpOnAGDMThatNeverAnswers) {
  PrivateBus bus;
  bus.start({"gdm=silent"});
  bus.start({"logind"});
  EXPECT_EQ(service(bus.address()).switchToLoginScreen(), 1);
  expectItEndedInTime();
  EXPECT_THAT(log.errors, ElementsAre("Unable to ask org.gnome.DisplayManager for "
                                      "CreateTransientDisplay: Connection timed out"));
}

/// A socket that takes connections and says nothing.
class SilentSocket {
 public:
  SilentSocket() : mSocket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const auto name =
        (std::filesystem::temp_directory_path() / ("gatehall-silent-" + std::to_string(getpid())))
            .string();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, sizeof address.sun_path - 1);
    unlink(name.c_str());
    const auto* generic = reinterpret_cast<const sockaddr*>(&address);
    EXPECT_EQ(bind(mSocket, generic, sizeof address), 0);
    EXPECT_EQ(listen(mSocket, 5), 0);
    mName = name;
  }
  ~SilentSocket() {
    close(mSocket);
    unlink(mName.c_str());
  }
  SilentSocket(const SilentSocket&) = delete;
  SilentSocket& operator=(const SilentSocket&) = delete;

  std::string address() const { return "unix:path=" + mName; }

 private:
  int mSocket;
  std::string mName;
};

TEST_F(LinuxLoginServiceInTime, GivesUpOnABusThatNeverWelcomesIt) {
  const SilentSocket silent;
  EXPECT_EQ(service(silent.address()).switchToLoginScreen(), 1);
  expectItEndedInTime();
  EXPECT_THAT(log.errors, ElementsAre("Unable to connect to the system bus at " + silent.address() +
                                      ": Connection timed out"));
}

TEST_F(LinuxLoginServiceInTime, GivesUpACallLongBeforeTheWholeOperation) {
  PrivateBus bus;
  bus.start({"lightdm=silent"});
  const HostOptions options{
      .root = "", .systemBusAddress = bus.address(), .callTimeout = std::chrono::seconds(2)};
  SystemBus connection(options, Clock::now() + 2 * kPatience);
  try {
    connection.call({"org.freedesktop.DisplayManager", "/org/freedesktop/DisplayManager",
                     "org.freedesktop.DBus.Introspectable", "Introspect"});
    FAIL();
  } catch (const BusError& late) {
    EXPECT_THAT(late.what(), HasSubstr("Connection timed out"));
  }
  expectItEndedInTime();
}

TEST_F(LinuxLoginServiceInTime, SaysThatThereIsNoBus) {
  EXPECT_EQ(service("unix:path=/nonexistent/bus").switchToUser(carol), 1);
  EXPECT_THAT(log.errors, ElementsAre("Unable to connect to the system bus at "
                                      "unix:path=/nonexistent/bus: No such file or directory"));
}

}  // namespace
}  // namespace gatehall
