#include "ctl/watch/Watch.h"

#include <array>
#include <ctime>

#include "ctl/print/TerminalText.h"
#include "ctl/print/UserEntries.h"
#include "ctl/watch/WatchEvents.h"
#include "gatehall/access/NetworkStatus.h"
#include "gatehall/linux/loop/LinuxRunLoop.h"
#include "gatehall/platform/NotificationNames.h"
#include "gatehall/platform/Platform.h"

namespace gatehall::ctl {

namespace {

constexpr const char* kWithoutList = "no list of users can be had";

Date now() { return platform().clock().now(); }

}  // namespace

Watch::Watch(const Host& host, const Request& request) : mHost(host), mRequest(request) {}

void Watch::begin() {
  // From now on the machine is listened to, so that no change is missed.
  if (mHost.machine() != nullptr) mHost.machine()->runLoop().descriptor();
  mAccess = UserAccess::sharedUserAccess();
  mUsers = watchEvent::usersOf(mAccess->visibleUsersList());
  const auto list = watchEvent::list(now(), mUsers);
  if (mRequest.json) {
    add(list);
  } else if (!isOnTerminal()) {
    addTable();
  }
  const auto network = NetworkStatus::sharedNetworkStatus();
  if (network->hasParentNetwork()) addNetwork();
  addLog();
  print();
  if (isOnTerminal() && !mTable.isShown()) {
    addTable();
    print();
  }

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
  add(watchEvent::step(now(), event));
  print();
}

void Watch::printLog() {
  addLog();
  if (!mPending.empty()) print();
}

void Watch::visibleUsersListChanged() { reportList(true); }

void Watch::networkStatusChanged() {
  addNetwork();
  printLog();
}

void Watch::reportList(bool isTold) {
  const auto moment = now();
  try {
    auto users = watchEvent::usersOf(mAccess->visibleUsersList());
    const auto changes = changesBetween(mUsers, users);
    mUsers = std::move(users);
    for (const auto& change : changes) add(watchEvent::change(moment, change));
    if (changes.empty() && isTold) add(watchEvent::unchanged(moment, mUsers));
  } catch (const PlatformException& failure) {
    add(watchEvent::noList(moment, failure.what()));
  }
  printLog();
}

void Watch::addLog() {
  for (const auto& entry : mHost.log().takeEntries()) add(watchEvent::logged(now(), entry));
}

void Watch::addNetwork() {
  const auto network = NetworkStatus::sharedNetworkStatus();
  add(watchEvent::network(now(), network->networkStatus(), network->parentNetworkExists()));
}

/// Where the table can be painted again.
bool Watch::isOnTerminal() const {
  return !mRequest.json && mHost.machine() != nullptr && mRequest.screen.size();
}

void Watch::addTable() {
  mPending += tableText(usersTable(mUsers, kWithoutList), mRequest.style);
  if (mRequest.style.legend) mPending += '\n';
}

void Watch::add(const Json& event) {
  if (mRequest.json) {
    mPending += lineText(event);
    return;
  }
  const auto line = forTerminal(clockText(now()) + "  " + watchEvent::text(event)).text;
  const char* colour = "";
  if (mRequest.style.colour && event.at("event") == "added") colour = "\x1B[32m";
  if (mRequest.style.colour && event.at("event") == "removed") colour = "\x1B[31m";
  mPending += *colour == '\0' ? line + "\n" : colour + line + "\x1B[0m\n";
}

void Watch::print() {
  if (isOnTerminal()) {
    mPending = mTable.repainted(mPending, usersTable(mUsers, kWithoutList), mRequest.style,
                                mRequest.screen.size().value_or(ScreenSize()));
  }
  if (!mRequest.screen.write(mPending)) {
    mIsBroken = true;
    if (mHost.machine() != nullptr) mHost.machine()->runLoop().stop();
  }
  mPending.clear();
}

/// A world lives by UTC, as its files do, a machine by its local time.
std::string Watch::clockText(Date moment) const {
  if (mHost.world() != nullptr) return isoText(moment).substr(11, 8);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count();
  const std::time_t time = seconds;
  std::tm parts{};
  localtime_r(&time, &parts);
  std::array<char, 16> text;
  std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
  return text.data();
}

}  // namespace gatehall::ctl
