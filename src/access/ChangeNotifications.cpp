#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

#include "gatehall/access/UserAccess.h"
#include "gatehall/platform/NotificationNames.h"
#include "gatehall/platform/Platform.h"

namespace gatehall {

namespace {

/// Changes come in bursts; a rebuild waits for the burst to be over.
constexpr double kRebuildDelay = 1.0;

/// Observes a system notification; nullptr, silently, when that can't be had.
std::shared_ptr<RunLoopSource> observeSystem(std::string_view name, RunLoopMode mode,
                                             std::function<void()> handler) {
  try {
    auto source = platform().systemNotifications().registerName(name, std::move(handler));
    if (source) platform().runLoop().addSource(source, mode);
    return source;
  } catch (const PlatformException&) {
    return nullptr;
  }
}

}  // namespace

void UserAccess::observe(NotificationCenter& center, std::string_view name,
                         void (UserAccess::*handler)(const Notification&)) {
  center.addObserver(this, name,
                     [observer = weak_from_this(), handler](const Notification& notification) {
                       if (const auto self = observer.lock()) ((*self).*handler)(notification);
                     });
}

void UserAccess::registerForNotifications() {
  observe(platform().notificationCenter(), kCurrentLocaleDidChangeNotification,
          &UserAccess::handleLocaleChange);
  auto& distributed = platform().distributedNotificationCenter();
  observe(distributed, kRefreshUserListNotification, &UserAccess::handleTavloNotification);
  for (const auto name : {kUserWasRemovedNotification, kUserWasAddedNotification,
                          kFullUserNameDidChangeNotification, kUserWasEnabledNotification,
                          kUserWasDisabledNotification, kSessionUserChangedNotification}) {
    observe(distributed, name, &UserAccess::handleUserChangeNotification);
  }
  const auto update = [observer = weak_from_this()] {
    if (const auto self = observer.lock()) self->updateLoggedInUsers();
  };
  mRunloopSourceSession =
      observeSystem(kConsoleSessionChangedNotification, RunLoopMode::Common, update);
  registerForRosterdChanges();
}

void UserAccess::registerForRosterdChanges() {
  observeSystem(kLocalGroupsChangedNotification, RunLoopMode::Default,
                [observer = weak_from_this()] {
                  if (const auto self = observer.lock()) self->handleRosterdChangeNoficiation();
                });
}

void UserAccess::unregisterForNotifications() {
  if (mRunloopSourceSession) {
    platform().runLoop().removeSource(mRunloopSourceSession, RunLoopMode::Common);
  }
  auto& distributed = platform().distributedNotificationCenter();
  for (const auto name : {kRefreshUserListNotification, kUserWasRemovedNotification,
                          kUserWasAddedNotification, kFullUserNameDidChangeNotification,
                          kUserWasEnabledNotification, kUserWasDisabledNotification}) {
    distributed.removeObserver(this, name);
  }
}

void UserAccess::rebuildLater() {
  platform().runLoop().performAfterDelay(kRebuildDelay, [observer = weak_from_this()] {
    if (const auto self = observer.lock()) self->buildVisibleUsersList();
  });
}

/// False when there was none.
bool UserAccess::dropList() {
  auto list = mVisibleUsersList.exchange(nullptr);
  if (!list) return false;
  mDroppedList.store(std::move(list));
  return true;
}

void UserAccess::dropLoginLists() {
  mAllowList.store(nullptr);
  mDenyList.store(nullptr);
}

void UserAccess::handleUserChangeNotification(const Notification& notification) {
  if (notification.name != kFullUserNameDidChangeNotification) {
    dropList();
    rebuildLater();
    return;
  }
  const auto list = mVisibleUsersList.load();
  if (list && notification.userInfo) {
    const auto entry = notification.userInfo->find(kGeneratedUIDKey);
    const auto* guid = entry != notification.userInfo->end() ? entry->second.string() : nullptr;
    const auto user = guid != nullptr ? list->findUserByGUID(*guid) : nullptr;
    if (user) user->updateUserAttributes();
  }
  notifyTargets();
}

void UserAccess::handleTavloNotification(const Notification&) { handleRosterdChangeNoficiation(); }

void UserAccess::handleRosterdChangeNoficiation() {
  dropLoginLists();
  updateLoggedInUsers();
}

void UserAccess::networkStatusChanged() { updateLoggedInUsers(); }

void UserAccess::handleLocaleChange(const Notification&) {
  const auto list = mVisibleUsersList.load();
  if (!list) return;
  list->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
  notifyTargets();
}

void UserAccess::addTarget(std::shared_ptr<UserAccessTarget> target) {
  if (!target) return;
  const auto present = mTargets.load();
  auto targets = present ? *present : Targets();
  if (std::find(targets.begin(), targets.end(), target) != targets.end()) return;
  targets.push_back(std::move(target));
  mTargets.store(std::make_shared<const Targets>(std::move(targets)));
}

void UserAccess::removeTarget(const std::shared_ptr<UserAccessTarget>& target) {
  const auto present = mTargets.load();
  if (!present) return;
  auto targets = *present;
  std::erase(targets, target);
  mTargets.store(std::make_shared<const Targets>(std::move(targets)));
}

void UserAccess::notifyTargets() {
  const auto targets = mTargets.load();
  if (!targets) return;
  for (const auto& target : *targets) {
    platform().runLoop().performOnMainThreadAndWait(
        [&target] { target->visibleUsersListChanged(); });
  }
}

}  // namespace gatehall
