#include "ctl/watch/Watch.h"

#include <utility>

#include "ctl/watch/WatchEvents.h"
#include "gatehall/access/NetworkStatus.h"
#include "gatehall/linux/loop/LinuxRunLoop.h"
#include "gatehall/platform/NotificationNames.h"
#include "gatehall/platform/Platform.h"
#include "listing/ListChange.h"

namespace gatehall::ctl {

namespace {

Date now() { return platform().clock().now(); }

}  // namespace

Watch::Watch(const Host& host, const Request& request) : mHost(host), mDisplay(host, request) {}

void Watch::begin() {
  // From now on the machine is listened to, so that no change is missed.
  if (mHost.machine() != nullptr) mHost.machine()->runLoop().descriptor();
  mAccess = UserAccess::sharedUserAccess();
  mDisplay.begin(now(), listed(mAccess->visibleUsersList()));
  const auto network = NetworkStatus::sharedNetworkStatus();
  if (network->hasParentNetwork()) addNetwork();
  addLog();
  print();

  mAccess->addTarget(shared_from_this());
  network->addTarget(shared_from_this());
  network->addTarget(mAccess);
  // The lists observe it too, and earlier, so that they know already what to show.
  platform().distributedNotificationCenter().addObserver(
      this, kKinwatchLoginStatusChangedNotification,
      [this](const Notification&) { reportList(false); });
}

void Watch::end() {
  if (!mAccess) return;
  platform().distributedNotificationCenter().removeObserver(
      this, kKinwatchLoginStatusChangedNotification);
  const auto network = NetworkStatus::sharedNetworkStatus();
  network->removeTarget(mAccess);
  network->removeTarget(shared_from_this());
  mAccess->removeTarget(shared_from_this());
}

void Watch::announce(const std::string& event) {
  mDisplay.add(watchEvent::step(now(), event));
  print();
}

void Watch::printLog() {
  addLog();
  if (!mDisplay.isEmpty()) print();
}

void Watch::visibleUsersListChanged() { reportList(true); }

void Watch::networkStatusChanged() {
  addNetwork();
  printLog();
}

void Watch::reportList(bool isTold) {
  const auto moment = now();
  try {
    auto users = listed(mAccess->visibleUsersList());
    const auto changes = changesBetween(mDisplay.users(), users);
    mDisplay.change(moment, changes, std::move(users));
    if (changes.empty() && isTold) {
      mDisplay.add(watchEvent::unchanged(moment, mDisplay.users()));
    }
  } catch (const PlatformException& failure) {
    mDisplay.add(watchEvent::noList(moment, failure.what()));
  }
  printLog();
}

void Watch::addLog() {
  for (const auto& entry : mHost.log().takeEntries())
    mDisplay.add(watchEvent::logged(now(), entry));
}

void Watch::addNetwork() {
  const auto network = NetworkStatus::sharedNetworkStatus();
  mDisplay.add(
      watchEvent::network(now(), network->networkStatus(), network->parentNetworkExists()));
}

void Watch::print() {
  if (mDisplay.print()) return;
  mIsBroken = true;
  if (mHost.machine() != nullptr) mHost.machine()->runLoop().stop();
}

}  // namespace gatehall::ctl
