#include <cstdlib>
#include <gtest/gtest.h>

#include "tests/access/VisibleListWorld.h"
#include "world/file/WorldFile.h"

namespace gatehall {
namespace {

using namespace cast;

constexpr std::string_view kAdded = "com.orvane.UserWasAddedNotification";
constexpr std::string_view kFullNameChanged = "com.orvane.FullUserNameDidChangeNotification";
constexpr std::string_view kSessionUserChanged = "com.orvane.vexa.GUISessionUserChanged";
constexpr std::string_view kRefresh = "com.orvane.gatehall.refreshuserlist";
constexpr std::string_view kConsole = "com.orvane.vexa.GUIConsoleSessionChanged";
constexpr std::string_view kGroups = "com.orvane.system.Lexidir.update.Local.groups";

class ChangeNotifications : public VisibleListWorld {
 protected:
  ChangeNotifications() {
    install(machineOfAll());
    access()->addTarget(mTarget);
  }

  void post(std::string_view name, std::optional<Dictionary> userInfo = std::nullopt) {
    mWorld->distributedNotificationCenter().post(name, std::move(userInfo));
    mWorld->runLoop().pump();
  }

  void postSystem(std::string_view name) {
    mWorld->systemNotifications().post(name);
    mWorld->runLoop().pump();
  }

  std::shared_ptr<CountingTarget> mTarget = std::make_shared<CountingTarget>();
};

class AccountChange : public ChangeNotifications,
                      public ::testing::WithParamInterface<std::string_view> {};

TEST_P(AccountChange, DropsTheListAndRebuildsItASecondLater) {
  const auto list = access()->visibleUsersList();
  addUser("zoe", "1005");
  post(GetParam());
  advance(0.9);
  EXPECT_EQ(mTarget->told, 0);
  advance(0.2);
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_NE(access()->visibleUsersList(), list);
  EXPECT_EQ(shown(), "gus ann bob carol erin zoe");
}

TEST_P(AccountChange, SchedulesARebuildEvenWithoutAList) {
  post(GetParam());
  advance(1.0);
  EXPECT_EQ(mTarget->told, 1);
}

INSTANTIATE_TEST_SUITE_P(Names, AccountChange,
                         ::testing::Values("com.orvane.UserWasRemovedNotification", kAdded,
                                           "com.orvane.UserWasEnabledNotification",
                                           "com.orvane.UserWasDisabledNotification",
                                           kSessionUserChanged));

TEST_F(ChangeNotifications, ADroppedListIsTakenApartByTheRebuildNotByWhoDropsIt) {
  const std::weak_ptr<CachedUserList> dropped = access()->visibleUsersList();
  post(kAdded);
  EXPECT_FALSE(dropped.expired());
  advance(1.0);
  EXPECT_TRUE(dropped.expired());
}

TEST_F(ChangeNotifications, AListAskedForBeforeTheRebuildIsBuiltAtOnce) {
  access()->visibleUsersList();
  addUser("zoe", "1005");
  post(kAdded);
  EXPECT_EQ(shown(), "gus ann bob carol erin zoe");
}

TEST_F(ChangeNotifications, AChangedFullNameIsReadAgainAndTheTargetsAreToldWithoutARebuild) {
  const auto list = access()->visibleUsersList();
  const auto bob = list->findUserByShortName("bob");
  mWorld->directory().node(kLocalNode)->record("Users", "bob")->setValues("FullName", {"Robert"});
  EXPECT_EQ(bob->longName(), "Bob Ray");
  post(kFullNameChanged, Dictionary{{"generatedUID", std::string(kBobGUID)}});
  EXPECT_EQ(bob->longName(), "Robert");
  EXPECT_EQ(mTarget->told, 1);
  advance(2.0);
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_EQ(access()->visibleUsersList(), list);
}

TEST_F(ChangeNotifications, AChangedFullNameThatCanNotBeReadStillTellsTheTargets) {
  fail({{"synchronize", Fault::Kind::PlatformException}});
  access()->addTarget(mTarget);
  const auto list = access()->visibleUsersList();
  post(kFullNameChanged, Dictionary{{"generatedUID", std::string(kBobGUID)}});
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_EQ(access()->visibleUsersList(), list);
  EXPECT_EQ(list->findUserByShortName("bob")->longName(), "Bob Ray");
}

TEST_F(ChangeNotifications, AChangedFullNameOfSomebodyNotListedStillTellsTheTargets) {
  access()->visibleUsersList();
  post(kFullNameChanged, Dictionary{{"generatedUID", std::string(kDanaGUID)}});
  post(kFullNameChanged, Dictionary{{"generatedUID", 5}});
  post(kFullNameChanged);
  EXPECT_EQ(mTarget->told, 3);
}

TEST_F(ChangeNotifications, AChangedFullNameWithoutAListTellsTheTargetsToo) {
  post(kFullNameChanged, Dictionary{{"generatedUID", std::string(kBobGUID)}});
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(ChangeNotifications, ASettingsRefreshDropsAllowAndDenyListsEvenWithoutAVisibleList) {
  prefer("DenyList", Array{std::string(kDanaGUID)});
  EXPECT_TRUE(access()->denyList()->holds(std::string(kDanaGUID)));
  prefer("DenyList", Array{"*"});
  mWorld->preferences().synchronizePreferences(kDomain);
  EXPECT_FALSE(access()->denyList()->holdsEveryone());
  post(kRefresh);
  EXPECT_TRUE(access()->denyList()->holdsEveryone());
  advance(2.0);
  EXPECT_EQ(mTarget->told, 0);
}

TEST_F(ChangeNotifications, ASettingsRefreshRebuildsAListThatIsThere) {
  EXPECT_EQ(shown(), "gus ann bob carol erin");
  prefer("HideAdminUsers", true);
  post(kRefresh);
  advance(1.0);
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_EQ(shown(), "gus bob carol erin");
}

TEST_F(ChangeNotifications, AGroupChangeDropsAllowAndDenyListsAndRebuilds) {
  prefer("AllowList", Array{std::string(kStaffGroupGUID)});
  EXPECT_EQ(access()->allowList()->guids.size(), 0U);
  access()->visibleUsersList();
  mWorld->directory()
      .node(kLocalNode)
      ->record("Groups", "staff")
      ->setValues("GroupMembership", {"dana"});
  postSystem(kGroups);
  EXPECT_EQ(access()->allowList()->guids, Strings{std::string(kDanaGUID)});
  advance(1.0);
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(ChangeNotifications, GroupChangesAreNotHeardWhileTheRunLoopIsInAModalMode) {
  access()->visibleUsersList();
  mWorld->systemNotifications().post(kGroups);
  mWorld->systemNotifications().post(kConsole);
  mWorld->runLoop().pump(RunLoopMode::Common);
  advance(1.0);
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(ChangeNotifications, AConsoleChangeRebuildsAListThatIsThere) {
  access()->visibleUsersList();
  mWorld->sessions().bringToFront(1001, "bob");
  postSystem(kConsole);
  advance(1.0);
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_TRUE(access()->visibleUsersList()->findUserByShortName("bob")->isCurrentUser());
}

TEST_F(ChangeNotifications, AConsoleChangeWithoutAListSchedulesNothing) {
  postSystem(kConsole);
  advance(2.0);
  EXPECT_EQ(mTarget->told, 0);
}

TEST_F(ChangeNotifications, UpdateLoggedInUsersWithoutAListSchedulesNothing) {
  access()->updateLoggedInUsers();
  advance(2.0);
  EXPECT_EQ(mTarget->told, 0);
}

TEST_F(ChangeNotifications, ANetworkChangeRebuildsOnlyAListThatIsThereAndKeepsAllowAndDenyLists) {
  access()->networkStatusChanged();
  advance(2.0);
  EXPECT_EQ(mTarget->told, 0);

  prefer("DenyList", Array{std::string(kDanaGUID)});
  const auto denied = access()->denyList();
  access()->visibleUsersList();
  access()->networkStatusChanged();
  EXPECT_EQ(access()->denyList(), denied);
  advance(1.0);
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(ChangeNotifications, ALocaleChangeSortsTheListAnewAndTellsTheTargetsWithoutARebuild) {
  const auto list = access()->visibleUsersList();
  const auto bob = mWorld->directory().node(kLocalNode)->record("Users", "bob");
  bob->setValues("FullName", {"Zed"});
  list->findUserByShortName("bob")->updateUserAttributes();
  EXPECT_EQ(names(list), "gus ann bob carol erin");
  mWorld->notificationCenter().post(kCurrentLocaleDidChangeNotification);
  mWorld->runLoop().pump();
  EXPECT_EQ(names(list), "gus ann carol erin bob");
  EXPECT_EQ(mTarget->told, 1);
  advance(2.0);
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_EQ(access()->visibleUsersList(), list);
}

TEST_F(ChangeNotifications, ALocaleChangeWithoutAListTellsNobody) {
  mWorld->notificationCenter().post(kCurrentLocaleDidChangeNotification);
  mWorld->runLoop().pump();
  EXPECT_EQ(mTarget->told, 0);
}

TEST_F(ChangeNotifications, EachChangeSchedulesARebuildOfItsOwn) {
  post(kAdded);
  mWorld->runLoop().advance(0.5);
  post(kAdded);
  advance(0.5);
  advance(0.5);
  EXPECT_EQ(mTarget->told, 2);
}

TEST_F(ChangeNotifications, ASecondBuildRequestWhileOneRunsDoesNothing) {
  access()->buildVisibleUsersList();
  access()->buildVisibleUsersList();
  settle();
  EXPECT_EQ(mTarget->told, 1);
  access()->buildVisibleUsersList();
  settle();
  EXPECT_EQ(mTarget->told, 2);
}

TEST_F(ChangeNotifications, ATargetAddedTwiceIsToldOnceAndRemovedAtOnce) {
  access()->addTarget(mTarget);
  access()->addTarget(nullptr);
  access()->notifyTargets();
  EXPECT_EQ(mTarget->told, 1);
  access()->removeTarget(mTarget);
  access()->removeTarget(nullptr);
  access()->notifyTargets();
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(ChangeNotifications, ATargetIsHeldUntilRemoved) {
  std::weak_ptr<CountingTarget> target = mTarget;
  mTarget.reset();
  EXPECT_FALSE(target.expired());
  access()->removeTarget(target.lock());
  EXPECT_TRUE(target.expired());
}

class MeddlingTarget : public UserAccessTarget {
 public:
  explicit MeddlingTarget(std::shared_ptr<UserAccessTarget> other) : mOther(std::move(other)) {}
  void visibleUsersListChanged() override {
    const auto access = UserAccess::sharedUserAccess();
    access->removeTarget(mOther);
    access->addTarget(std::make_shared<CountingTarget>());
  }

 private:
  std::shared_ptr<UserAccessTarget> mOther;
};

TEST_F(ChangeNotifications, ATargetMayAddAndRemoveTargetsWhileTold) {
  access()->removeTarget(mTarget);
  access()->addTarget(std::make_shared<MeddlingTarget>(mTarget));
  access()->addTarget(mTarget);
  access()->notifyTargets();
  EXPECT_EQ(mTarget->told, 1);
  access()->notifyTargets();
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(ChangeNotifications, UnregisteringLeavesSessionUsersGroupsAndLocaleObserved) {
  access()->unregisterForNotifications();
  post(kAdded);
  post("com.orvane.UserWasRemovedNotification");
  post(kFullNameChanged);
  post("com.orvane.UserWasEnabledNotification");
  post("com.orvane.UserWasDisabledNotification");
  advance(2.0);
  EXPECT_EQ(mTarget->told, 0);

  access()->visibleUsersList();
  post(kRefresh);
  postSystem(kConsole);
  advance(2.0);
  EXPECT_EQ(mTarget->told, 0);

  postSystem(kGroups);
  advance(2.0);
  EXPECT_EQ(mTarget->told, 1);
  post(kSessionUserChanged);
  advance(2.0);
  EXPECT_EQ(mTarget->told, 2);
  mWorld->notificationCenter().post(kCurrentLocaleDidChangeNotification);
  mWorld->runLoop().pump();
  EXPECT_EQ(mTarget->told, 3);
}

TEST_F(ChangeNotifications, AnInstanceThatIsGoneIsToldNothingThoughObservationsStay) {
  const auto target = std::make_shared<CountingTarget>();
  // Made by new, its memory goes with it, so that a sanitizer sees who still reads there.
  std::shared_ptr<UserAccess> own(new UserAccess);
  own->registerForNotifications();
  own->addTarget(target);
  own.reset();
  post(kSessionUserChanged);
  postSystem(kGroups);
  mWorld->notificationCenter().post(kCurrentLocaleDidChangeNotification);
  advance(2.0);
  EXPECT_EQ(target->told, 0);
  EXPECT_GT(mTarget->told, 0) << "the instance that is still there";
}

TEST_F(ChangeNotifications, AHostThatIsInstalledAnewTellsTheNewInstanceAlone) {
  install(mWorld);
  access()->addTarget(mTarget);
  post(kSessionUserChanged);
  advance(2.0);
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(ChangeNotifications, ANameThatCanNotBeRegisteredLeavesTheOthersObserved) {
  auto world = worldFromText(machineOfAll(), "world.json");
  world->systemNotifications().refuse(kConsole);
  install(world);
  access()->addTarget(mTarget);
  access()->visibleUsersList();
  postSystem(kConsole);
  advance(2.0);
  EXPECT_EQ(mTarget->told, 0);
  postSystem(kGroups);
  advance(1.0);
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(ChangeNotifications, LetTheProcessEndWhileTheHostIsInstalled) {
  EXPECT_EXIT(
      {
        UserAccess::sharedUserAccess();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace gatehall
