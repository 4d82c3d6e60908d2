#include "service/list/Publisher.h"

#include <algorithm>
#include <array>
#include <malloc.h>
#include <string_view>
#include <utility>

#include "gatehall/access/NetworkStatus.h"
#include "gatehall/access/USPrefs.h"
#include "gatehall/platform/NotificationNames.h"
#include "gatehall/platform/Platform.h"

namespace gatehall::service {

namespace {

/// In seconds.
constexpr double kFirstPause = 1;
constexpr double kLongestPause = 30;
constexpr double kShortestRest = 0.1;

/// Other than changed names, which the layer tells of at once.
constexpr std::array kNews = {kRefreshUserListNotification, kUserWasAddedNotification,
                              kUserWasRemovedNotification,  kUserWasEnabledNotification,
                              kUserWasDisabledNotification, kSessionUserChangedNotification};

std::shared_ptr<RunLoopSource> observe(std::string_view name, RunLoopMode mode,
                                       std::function<void()> handler) {
  auto source = platform().systemNotifications().registerName(name, std::move(handler));
  if (source) platform().runLoop().addSource(source, mode);
  return source;
}

}  // namespace

Publisher::Publisher(Audience audience) : mAudience(std::move(audience)), mPause(kFirstPause) {}

void Publisher::begin() {
  mAccess = UserAccess::sharedUserAccess();
  tellNetwork();
  publish();
  const auto network = NetworkStatus::sharedNetworkStatus();
  mAccess->addTarget(shared_from_this());
  network->addTarget(mAccess);
  network->addTarget(shared_from_this());
  observeNews();
}

void Publisher::end() {
  if (!mAccess) return;
  auto& distributed = platform().distributedNotificationCenter();
  distributed.removeObserver(this, kKinwatchLoginStatusChangedNotification);
  for (const auto name : kNews) distributed.removeObserver(this, name);
  if (mConsole) platform().runLoop().removeSource(mConsole, RunLoopMode::Common);
  if (mGroups) platform().runLoop().removeSource(mGroups, RunLoopMode::Default);
  if (mFiles) platform().runLoop().removeSource(mFiles, RunLoopMode::Default);
  const auto network = NetworkStatus::sharedNetworkStatus();
  network->removeTarget(shared_from_this());
  network->removeTarget(mAccess);
  mAccess->removeTarget(shared_from_this());
  mAccess.reset();
}

/// The lists observe all of it, too, and earlier, so that they know already what is different.
void Publisher::observeNews() {
  auto& distributed = platform().distributedNotificationCenter();
  distributed.addObserver(this, kKinwatchLoginStatusChangedNotification,
                          [this](const Notification&) { publish(); });
  for (const auto name : kNews) {
    distributed.addObserver(this, name, [this](const Notification&) { buildNow(); });
  }
  mConsole =
      observe(kConsoleSessionChangedNotification, RunLoopMode::Common, [this] { buildNow(); });
  mGroups = observe(kLocalGroupsChangedNotification, RunLoopMode::Default, [this] { buildNow(); });
  // The layer hears of it most of a second later.
  mFiles = observe(kAccountFilesChangedNotification, RunLoopMode::Default, [this] { buildNow(); });
}

void Publisher::visibleUsersListChanged() {
  if (std::exchange(mIsBuilding, false)) rest();
  publish();
}

/// What could not be asked before may be now.
void Publisher::networkStatusChanged() {
  tellNetwork();
  buildNow();
}

void Publisher::tellNetwork() {
  const auto network = NetworkStatus::sharedNetworkStatus();
  mAudience.network({.hasParentNetwork = network->hasParentNetwork(),
                     .parentNetworkExists = network->parentNetworkExists(),
                     .networkStatus = network->networkStatus()});
}

void Publisher::buildNow() {
  if (!mAccess || !mList.users()) return;
  if (mIsBuilding || mIsResting) {
    mIsStale = true;
    return;
  }
  try {
    // The build itself looks for new settings only after it has used some.
    USPrefs::synchronize();
  } catch (const PlatformException& failure) {
    platform().log().diagnostic(std::string("Unable to read the settings: ") + failure.what());
  }
  mBegan = std::chrono::steady_clock::now();
  mIsBuilding = mAccess->buildVisibleUsersList();
  mIsStale = !mIsBuilding;  // the build that runs may have begun before the news
  if (mIsStale) rest();
}

/// Whoever keeps sending news has a part of the processor, not all of it.
void Publisher::rest() {
  if (std::exchange(mIsResting, true)) return;
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - mBegan;
  platform().runLoop().performAfterDelay(std::max(kShortestRest, 2 * taken.count()),
                                         [observer = weak_from_this()] {
                                           const auto self = observer.lock();
                                           if (!self) return;
                                           self->mIsResting = false;
                                           // What the list before took isn't needed for a while.
                                           malloc_trim(0);
                                           if (self->mIsStale) self->buildNow();
                                         });
}

void Publisher::publish() {
  if (!mAccess) return;
  try {
    const auto& before = mList.users();
    auto list = mList.next(listed(mAccess->visibleUsersList(), before ? *before : ListedUsers()));
    mPause = kFirstPause;
    if (!list) return;
    auto withoutHours = mWithoutHours.next(gatehall::withoutHours(*list->users));
    mAudience.list(std::move(*list), std::move(withoutHours));
  } catch (const PlatformException& failure) {
    platform().log().diagnostic(std::string("No list of users can be had: ") + failure.what());
    if (!mList.users()) mAudience.noList(failure.what());
    tryAgain();
  }
}

void Publisher::tryAgain() {
  if (std::exchange(mIsToTryAgain, true)) return;
  platform().runLoop().performAfterDelay(mPause, [observer = weak_from_this()] {
    const auto self = observer.lock();
    if (!self) return;
    self->mIsToTryAgain = false;
    self->publish();
  });
  mPause = std::min(mPause * 2, kLongestPause);
}

}  // namespace gatehall::service
