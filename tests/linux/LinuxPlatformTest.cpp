#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "gatehall/linux/LinuxPlatform.h"
#include "gatehall/platform/NotificationNames.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

bool isMapped(const char* library) {
  std::ifstream maps("/proc/self/maps");
  const std::string text((std::istreambuf_iterator<char>(maps)), {});
  return text.find(library) != std::string::npos;
}

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "It does not hold that %s.\n", what);
  std::exit(1);
}

TEST(LinuxPlatform, MapsALibraryOnlyWhenAServiceNeedsIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process that has mapped nothing yet
  EXPECT_EXIT(
      {
        Machine machine;
        LinuxPlatform platform(machine.linuxOptions(), std::make_shared<KeptLog>());
        platform.directory().defaultSession()->nodeByType(NodeType::Local);
        platform.sessions();
        platform.loginService();
        platform.preferences().copyApplicationValue("DenyList", "com.orvane.gatehall");
        platform.parentalControls();
        platform.distributedNotificationCenter().addObserver(&machine, "any", [](const auto&) {});
        platform.systemNotifications().registerName(kLocalGroupsChangedNotification, [] {});
        platform.runLoop().performAfterDelay(0, [] {});
        platform.propertyLists().readPropertyList("/Library/Managed Preferences/a.plist");
        auto& collation = platform.collation();
        for (const auto* library : {"libsystemd.so", "libplist", "libicui18n", "libldap"}) {
          require(!isMapped(library), library);
        }
        collation.compare("a", "b");
        require(isMapped("libicui18n"), "a comparison maps ICU");
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(LinuxPlatform, MakesEachServiceOnceForAllThreads) {
  Machine machine;
  LinuxPlatform platform(machine.linuxOptions(), std::make_shared<KeptLog>());
  std::vector<PreferenceStore*> stores(4);
  std::vector<std::thread> threads;
  for (auto& store : stores) {
    threads.emplace_back([&] { store = &platform.preferences(); });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(stores, testing::Each(&platform.preferences()));
}

TEST(LinuxPlatform, CollatesByTheMachinesLocale) {
  Machine machine;
  machine.write("/etc/locale.conf", "LANG=sv_SE.UTF-8\n");
  LinuxPlatform platform(machine.linuxOptions(), std::make_shared<KeptLog>());
  EXPECT_EQ(platform.collation().compare("ärla", "zorn"), 1);
}

TEST(LinuxPlatform, KnowsItsProcessAndTheTime) {
  Machine machine;
  LinuxPlatform platform(machine.linuxOptions(), std::make_shared<KeptLog>());
  EXPECT_EQ(platform.process().effectiveUserID(), geteuid());
  const Date before = std::chrono::system_clock::now();
  const auto now = platform.clock().now();
  EXPECT_LE(before, now);
  EXPECT_LE(now, Date(std::chrono::system_clock::now()));
}

TEST(LinuxPlatform, IsDrivenByTheThreadThatMadeIt) {
  Machine machine;
  LinuxPlatform platform(machine.linuxOptions(), std::make_shared<KeptLog>());
  std::thread other([&] { platform.runLoop(); });
  other.join();
  bool ran = false;
  platform.runLoop().performOnMainThreadAndWait([&] { ran = true; });
  EXPECT_TRUE(ran);
}

TEST(LinuxPlatform, EndsItsThreadsBeforeAnotherHostTakesItsPlace) {
  Machine machine;
  auto host = std::make_shared<LinuxPlatform>(machine.linuxOptions(), std::make_shared<KeptLog>());
  std::weak_ptr<Platform> seen = host;
  Platform::install(std::move(host));
  platform().runLoop().detachNewThread([] {
    while (true) platform().runLoop().sleep(0);
  });
  Platform::install(nullptr);
  EXPECT_TRUE(seen.expired());
}

}  // namespace
}  // namespace gatehall
