#include "tests/platform/contracts/DirectoryContract.h"
#include "tests/platform/contracts/MembershipContract.h"
#include "tests/platform/contracts/NotificationContract.h"
#include "tests/platform/contracts/ParentalControlsContract.h"
#include "tests/platform/contracts/PreferenceContract.h"
#include "tests/platform/contracts/RunLoopContract.h"
#include "tests/platform/contracts/SessionContract.h"
#include "tests/platform/contracts/TextSystemContract.h"
#include "tests/world/SceneWorld.h"
#include "world/World.h"

namespace gatehall::contracts {
namespace {

template <class Host>
class InWorld : public Host {
 public:
  Platform& platform() override { return *mWorld; }

 protected:
  const std::shared_ptr<World> mWorld = sceneWorld();
};

class WorldDirectoryHost final : public InWorld<DirectoryHost> {
 public:
  Strings addNetworkNodes() override {
    auto& directory = mWorld->directory();
    for (const auto* name : {"ldap/one", "ldap/two"}) {
      directory.addNode(name)->addRecord({"Users", {{"RecordName", {"dana"}}}, {}, {}});
    }
    directory.setSearchNode("search", {"local", "unix", "ldap/one", "ldap/two"});
    directory.setReachable("ldap/two", false);
    return {"ldap/one", "ldap/two"};
  }
};

class WorldMembershipHost final : public InWorld<MembershipHost> {
 public:
  void admit(const Account* account) override {
    AccessList list;
    if (account != nullptr) list.members.emplace_back(account->userID);
    mWorld->membership().setAccessList("gatehall", list);
  }
};

class WorldNotificationHost final : public InWorld<NotificationHost> {
 public:
  void postDistributed(std::string_view name, const Dictionary& userInfo) override {
    mWorld->distributedNotificationCenter().post(name, userInfo);
  }
  void deliver() override { mWorld->runLoop().pump(); }
};

class WorldSystemNotificationHost final : public InWorld<SystemNotificationHost> {
 public:
  void changeConsole() override {
    mWorld->systemNotifications().post(kConsoleSessionChangedNotification);
  }
  void changeGroups() override {
    mWorld->systemNotifications().post(kLocalGroupsChangedNotification);
  }
  void deliver() override { mWorld->runLoop().pump(); }
};

class WorldParentalControlsHost final : public InWorld<ParentalControlsHost> {
 public:
  Date allow(const Account& account) override { return limit(account, {true, 0, {}}); }
  Date refuse(const Account& account) override { return limit(account, {false, 3, {}}); }
  void free(const Account& account) override {
    mWorld->parentalControls().removeLimit(account.userID);
  }

 private:
  Date limit(const Account& account, LoginLimit limit) {
    limit.nextCurfew = mWorld->clock().now() + std::chrono::hours(1);
    mWorld->parentalControls().setLimit(account.userID, limit);
    return *limit.nextCurfew;
  }
};

class WorldPreferenceHost final : public InWorld<PreferenceHost> {
 public:
  void storeUserSettings(std::string_view domain, const Dictionary& settings) override {
    mWorld->preferences().setSettings(WorldPreferences::Scope::User, domain, settings);
  }
  void storeSystemSettings(std::string_view domain, const Dictionary& settings) override {
    mWorld->preferences().setSettings(WorldPreferences::Scope::System, domain, settings);
  }
  void storeManagedFile(std::string_view domain, const Value& content) override {
    mWorld->propertyLists().setFile(WorldPropertyLists::managedPath(domain), content);
  }
  void removeManagedFile(std::string_view domain) override {
    mWorld->propertyLists().removeFile(WorldPropertyLists::managedPath(domain));
  }
};

class WorldRunLoopHost final : public InWorld<RunLoopHost> {
 public:
  void runUntil(const std::function<bool()>& condition) override {
    for (int step = 0; step < 10'000 && !condition(); ++step) {
      mWorld->runLoop().runDetachedThreads();
      mWorld->runLoop().advance(0.001);
    }
    ASSERT_TRUE(condition());
  }
};

class WorldSessionHost final : public InWorld<SessionHost> {
 public:
  void open(const Account& account, bool ownsConsole) override {
    const auto id = mNextID++;
    const auto userID = static_cast<std::int32_t>(account.userID);
    mWorld->sessions().open({id, userID, account.name, true});
    if (ownsConsole) mWorld->sessions().setCurrent(id);
    mOpen.emplace(account.name, id);
  }
  void close(const Account& account) override { mWorld->sessions().close(mOpen.at(account.name)); }

 private:
  std::int64_t mNextID = 1;
  std::map<std::string, std::int64_t> mOpen;
};

INSTANTIATE_TEST_SUITE_P(World, TextSystemContract,
                         testing::Values([] { return std::make_unique<WorldTextSystem>(); }));
INSTANTIATE_TEST_SUITE_P(World, DirectoryContract, testing::Values(&make<WorldDirectoryHost>));
INSTANTIATE_TEST_SUITE_P(World, MembershipContract, testing::Values(&make<WorldMembershipHost>));
INSTANTIATE_TEST_SUITE_P(World, NotificationContract,
                         testing::Values(&make<WorldNotificationHost>));
INSTANTIATE_TEST_SUITE_P(World, SystemNotificationContract,
                         testing::Values(&make<WorldSystemNotificationHost>));
INSTANTIATE_TEST_SUITE_P(World, ParentalControlsContract,
                         testing::Values(&make<WorldParentalControlsHost>));
INSTANTIATE_TEST_SUITE_P(World, PreferenceContract, testing::Values(&make<WorldPreferenceHost>));
INSTANTIATE_TEST_SUITE_P(World, RunLoopContract, testing::Values(&make<WorldRunLoopHost>));
INSTANTIATE_TEST_SUITE_P(World, SessionContract, testing::Values(&make<WorldSessionHost>));

}  // namespace
}  // namespace gatehall::contracts
