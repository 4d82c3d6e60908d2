#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "ctl/request/Host.h"
#include "tests/ctl/RunWorld.h"
#include "tests/linux/Machine.h"

// A machine under a folder.

namespace gatehall {
namespace {

using ctl::ExitStatus;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

class Root : public testing::Test {
 protected:
  Root() {
    machine.write("/etc/passwd",
                  "root:x:0:0:root:/root:/bin/bash\n"
                  "ann:x:1000:1000:Ann Lee:/home/ann:/bin/bash\n"
                  "bob:x:1001:1001:Bob Ray:/home/bob:/bin/bash\n");
    machine.write("/etc/group", "sudo:x:27:ann\nann:x:1000:\nbob:x:1001:\n");
    machine.write("/etc/shadow", "root:*:19000::::::\nann:$6$a$b:19000::::::\nbob::19000::::::\n");
  }

  ctl::Outcome ask(Strings words) const {
    words.insert(words.begin(), {"--root", machine.options.root});
    return run(words);
  }
  Json told(Strings words) const {
    words.insert(words.begin(), "--json");
    return documentOf(ask(std::move(words)));
  }
  void close(const char* place) const {
    machine.write(place,
                  "<plist version=\"1.0\"><dict><key>LocalUserLoginEnabled</key><false/></dict>"
                  "</plist>");
  }

  Machine machine;
};

TEST_F(Root, ItsFilesDecide) {
  close("/etc/gatehall/managed/com.orvane.gatehall.plist");
  const auto outcome = ask({"can-log-in", "1000", "1001"});
  EXPECT_EQ(outcome.status, ExitStatus::No);
  EXPECT_THAT(outcome.output, HasSubstr("administrator"));
  EXPECT_THAT(outcome.output, HasSubstr("local login disabled"));
}

TEST_F(Root, ItHasNoSessionsWhoeverIsLoggedInHere) {
  const auto document = told({"users"});
  for (const auto& user : document["users"]) {
    EXPECT_FALSE(user["current"].get<bool>() || user["suspended"].get<bool>()) << user;
  }
}

TEST_F(Root, ItsDoorsAreThoseOfItsOwnPAM) {
  machine.write("/etc/pam.d/login", "account requisite pam_gatehall.so\n");
  machine.write("/usr/lib/x86_64-linux-gnu/security/pam_gatehall.so", "module");
  const auto doors = told({"check"})["doors"];
  ASSERT_EQ(doors.size(), 1U) << doors;
  EXPECT_EQ(doors[0]["service"], "login");
  EXPECT_EQ(doors[0]["guarded"], "yes");
}

TEST_F(Root, AModuleThatThisMachineHasIsNotInstalledThere) {
  machine.write("/etc/pam.d/login", "account requisite pam_gatehall.so\n");
  std::filesystem::create_directories(machine.path("/usr"));
  // An absolute link, which leads to this machine's own folder for who doesn't take care.
  std::filesystem::create_directory_symlink("/usr/lib", machine.path("/lib"));
  EXPECT_EQ(told({"check"})["doors"][0]["guarded"], "can't be told");
}

TEST_F(Root, ADoorAsksItsOwnAccounts) {
  machine.write("/etc/pam.d/login", "account requisite pam_gatehall.so\n");
  machine.write("/usr/lib/security/pam_gatehall.so", "module");
  close("/etc/gatehall/com.orvane.gatehall.plist");
  const auto users = told({"can-log-in", "--at", "login", "1000", "1001", "65534"})["users"];
  EXPECT_EQ(users[0]["rule"], "never shut out");
  EXPECT_EQ(users[1]["rule"], "local login disabled");
  EXPECT_EQ(users[2]["name"], nullptr) << "nobody there, whoever has the id here";
}

TEST_F(Root, ALinkToThisMachinesPolicyIsNotFollowed) {
  std::filesystem::create_directories(machine.path("/etc/gatehall"));
  std::filesystem::create_symlink("/etc/gatehall/com.orvane.gatehall.plist",
                                  machine.path("/etc/gatehall/com.orvane.gatehall.plist"));
  EXPECT_EQ(ask({"prefs"}).status, ExitStatus::HostFailure);
}

TEST_F(Root, WhoUnpackedItStandsForItsRoot) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  close("/etc/gatehall/com.orvane.gatehall.plist");
  for (const auto* place : {"", "/etc", "/etc/gatehall"}) {
    ASSERT_EQ(chown(machine.path(place).c_str(), 4242, 4242), 0);
  }
  EXPECT_THAT(ask({"prefs"}).errors, HasSubstr("belongs to user 0")) << "a stranger's by now";
  ASSERT_EQ(chown(machine.path("/etc/gatehall/com.orvane.gatehall.plist").c_str(), 4242, 4242), 0);
  EXPECT_EQ(told({"prefs"})["localUserLoginEnabled"]["value"], false);
}

TEST_F(Root, ItsZoneIsTheTimesZone) {
  const auto hour = [] {
    const std::time_t moment = 0;
    std::tm parts{};
    localtime_r(&moment, &parts);
    return parts.tm_hour;
  };
  const ctl::Host::Source source{.world = std::nullopt, .root = machine.options.root};
  setenv("TZ", "XYZ-9", 1);
  tzset();
  EXPECT_EQ(hour(), 9);
  {
    const ctl::Host host(source, Trace::Keeps::LastOperation);
    EXPECT_EQ(hour(), 0) << "there is no zone: UTC";
  }
  EXPECT_EQ(hour(), 9);
  // What tzfile(5) has of a zone with one time, five hours east, by its version 2.
  const auto header = "TZif2" + std::string(34, '\0') + '\1' + std::string(3, '\0') + '\4';
  const std::string content("\0\0\x46\x50\0\0ABC\0", 10);
  machine.write("/usr/share/zoneinfo/There", header + content + header + content + "\nABC-5\n");
  std::filesystem::create_symlink("/usr/share/zoneinfo/There", machine.path("/etc/localtime"));
  {
    const ctl::Host host(source, Trace::Keeps::LastOperation);
    EXPECT_EQ(hour(), 5);
  }
  unsetenv("TZ");
  tzset();
}

TEST_F(Root, AZoneThatIsNoFileIsUTC) {
  const ctl::Host::Source source{.world = std::nullopt, .root = machine.options.root};
  const auto zone = machine.path("/etc/localtime");
  const auto expectUTC = [&] {
    const ctl::Host host(source, Trace::Keeps::LastOperation);
    EXPECT_STREQ(std::getenv("TZ"), "UTC0");
  };
  ASSERT_EQ(mkfifo(zone.c_str(), 0644), 0);
  expectUTC();
  std::filesystem::remove(zone);
  std::filesystem::create_symlink("localtime", zone);
  expectUTC();
}

TEST_F(Root, AFolderThatIsMissingIsRefused) {
  const auto outcome = run({"--root", machine.path("/none"), "users"});
  EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
  EXPECT_THAT(outcome.errors, HasSubstr("is no folder"));
}

}  // namespace
}  // namespace gatehall
