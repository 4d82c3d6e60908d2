#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "pam/door/Arguments.h"
#include "pam/door/Services.h"

namespace gatehall::pam {
namespace {

Arguments read(const std::vector<std::string_view>& words) { return readArguments(words); }

TEST(Arguments, NeedNotBeThere) {
  const auto arguments = read({});
  EXPECT_EQ(arguments.fault, nullptr);
  EXPECT_EQ(arguments.services, kUsualServices);
  EXPECT_FALSE(arguments.admitsUndecidable);
  EXPECT_FALSE(arguments.hours);
}

TEST(Arguments, SayWhatIsGuardedWhatDoubtLeadsToAndWhetherHoursCount) {
  const auto arguments = read({"services=login,su-l", "on-undecidable=admit", "hours=yes"});
  EXPECT_EQ(arguments.fault, nullptr);
  EXPECT_EQ(arguments.services, "login,su-l");
  EXPECT_TRUE(arguments.admitsUndecidable);
  EXPECT_TRUE(arguments.hours);
  EXPECT_FALSE(read({"on-undecidable=refuse"}).admitsUndecidable);
  EXPECT_FALSE(read({"hours=no"}).hours);
}

TEST(Arguments, ThatAreWrongAreTellNamedAndLeaveNoOtherInForce) {
  for (const std::string_view wrong :
       {"debug", "Services=login", "services", "services=", "services=login,", "services=,login",
        "services=login,,sshd", "services=log in", "services=*", "on-undecidable=", "hours=",
        "on-undecidable=Admit", "on-undecidable=admitted", "hours=true", "hours=YES", ""}) {
    const auto arguments = read({"services=su-l", "on-undecidable=admit", wrong, "hours=yes"});
    EXPECT_NE(arguments.fault, nullptr) << wrong;
    EXPECT_EQ(arguments.faulty, wrong);
    EXPECT_TRUE(guards(arguments, "su-l")) << wrong;
    EXPECT_TRUE(guards(arguments, "login")) << wrong;
    EXPECT_FALSE(guards(arguments, "sudo")) << wrong;
    EXPECT_FALSE(arguments.admitsUndecidable) << wrong;
    EXPECT_FALSE(arguments.hours) << wrong;
  }
}

TEST(Arguments, GuardTheServicesThatTheyNameAndNoOthers) {
  EXPECT_TRUE(guards(read({}), "sshd"));
  EXPECT_FALSE(guards(read({}), "su-l"));
  EXPECT_TRUE(guards(read({"services=su-l"}), "su-l"));
  EXPECT_FALSE(guards(read({"services=su-l"}), "sshd"));
}

TEST(Arguments, StandThereOnce) {
  EXPECT_STREQ(read({"hours=yes", "hours=yes"}).fault, "is there twice");
  EXPECT_STREQ(read({"hours=yes", "services=sshd", "hours=no"}).fault, "is there twice");
}

TEST(Services, AreFoundByTheirWholeNames) {
  EXPECT_TRUE(holdsService("login,sshd,su-l", "login"));
  EXPECT_TRUE(holdsService("login,sshd,su-l", "sshd"));
  EXPECT_TRUE(holdsService("login,sshd,su-l", "su-l"));
  EXPECT_FALSE(holdsService("login,sshd,su-l", "su"));
  EXPECT_FALSE(holdsService("login,sshd,su-l", "ssh"));
  EXPECT_FALSE(holdsService("login,sshd,su-l", "login,sshd"));
  EXPECT_FALSE(holdsService("login,sshd,su-l", ""));
  EXPECT_FALSE(holdsService("", "login"));
}

TEST(Services, ThatAreUsuallyGuardedOpenSessionsForPeople) {
  for (const auto* door : {"login", "sshd", "lightdm", "lightdm-autologin", "gdm-password", "sddm",
                           "xdm", "xrdp-sesman"}) {
    EXPECT_TRUE(holdsService(kUsualServices, door)) << door;
  }
  for (const auto* other : {"sudo", "sudo-i", "su", "su-l", "cron", "systemd-user", "polkit-1",
                            "lightdm-greeter", "sddm-greeter", "gdm-launch-environment", "other"}) {
    EXPECT_FALSE(holdsService(kUsualServices, other)) << other;
  }
}

TEST(Services, AreLocalWhereOneSitsAtTheMachine) {
  EXPECT_TRUE(isLocalDoor("login", ""));
  EXPECT_TRUE(isLocalDoor("lightdm", ""));
  EXPECT_FALSE(isLocalDoor("login", "elsewhere.example.org"));
  EXPECT_FALSE(isLocalDoor("lightdm", "192.0.2.1"));
  EXPECT_FALSE(isLocalDoor("sshd", ""));
  EXPECT_FALSE(isLocalDoor("remote", ""));
  EXPECT_FALSE(isLocalDoor("xrdp-sesman", ""));
  EXPECT_FALSE(isLocalDoor("cockpit", ""));
}

}  // namespace
}  // namespace gatehall::pam
