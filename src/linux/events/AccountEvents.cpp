#include "linux/events/AccountEvents.h"

#include <algorithm>
#include <array>
#include <variant>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/NotificationNames.h"
#include "linux/hours/AccountsServiceUser.h"

namespace gatehall {

namespace {

using accountsService::kName;

/// AccountsService reads the files half a second after they change.
constexpr double kMoment = 0.75;

/// What a login screen shows of an account.
constexpr std::array<std::string_view, 3> kShown = {"RealName", "IconFile", "PasswordHint"};

}  // namespace

std::set<std::string, std::less<>> changedProperties(const BusSignal& signal,
                                                     std::string_view interface) {
  std::set<std::string, std::less<>> names;
  if (signal.values.size() != 3) return names;
  const auto* name = signal.values[0].string();
  const auto* changed = signal.values[1].dictionary();
  const auto* invalidated = signal.values[2].array();
  if (name == nullptr || *name != interface) return names;
  if (changed == nullptr || invalidated == nullptr) return names;
  for (const auto& [property, unused] : *changed) names.insert(property);
  for (const auto& each : *invalidated) {
    if (const auto* property = each.string()) names.insert(*property);
  }
  return names;
}

AccountEvents::AccountEvents(BusWatch& bus, MainLoop& runLoop, LocalNotificationCenter& distributed,
                             AccountNotifications notifications)
    : mBus(bus), mRunLoop(runLoop), mDistributed(distributed), mNotifications(notifications) {
  mBus.follow(kName, [this](bool isThere) {
    // It comes when it is first asked for something; what it missed before is in the files.
    if (isThere && mWasThere) post(kRefreshUserListNotification);
    mWasThere = true;
  });
  mBus.listen(
      kName,
      "type='signal',path='/org/freedesktop/Accounts',interface='" + std::string(kName) + "'",
      [this](const BusSignal& signal) { accountsChanged(signal); });
  mBus.listen(kName,
              "type='signal',path_namespace='/org/freedesktop/Accounts',"
              "interface='org.freedesktop.DBus.Properties',member='PropertiesChanged'",
              [this](const BusSignal& signal) { propertiesChanged(signal); });
}

void AccountEvents::accountsChanged(const BusSignal& signal) {
  if (signal.member == "UserAdded") post(kUserWasAddedNotification);
  if (signal.member == "UserDeleted") post(kUserWasRemovedNotification);
}

void AccountEvents::propertiesChanged(const BusSignal& signal) {
  const auto userID = accountsService::userOf(signal.path);
  if (!userID) return;
  const auto limits = changedProperties(signal, accountsService::kSessionLimits);
  if (!limits.empty()) {
    mNotifications.post(*userID, kKinwatchLoginStatusChangedNotification, kKinwatchUserNameKey,
                        attribute::RecordName);
    // Whether there is a limit at all is read with the account.
    if (limits.contains("LimitType")) post(kRefreshUserListNotification);
    return;
  }
  const auto changed = changedProperties(signal, accountsService::kUser);
  if (changed.contains("Locked")) lockChanged(signal);
  if (std::any_of(kShown.begin(), kShown.end(),
                  [&](std::string_view each) { return changed.contains(each); })) {
    mNotifications.post(*userID, kFullUserNameDidChangeNotification, kGeneratedUIDKey,
                        attribute::GUID);
  }
}

void AccountEvents::lockChanged(const BusSignal& signal) {
  const auto& changed = *signal.values[1].dictionary();
  const auto found = changed.find("Locked");
  const auto* isLocked =
      found == changed.end() ? nullptr : std::get_if<bool>(&found->second.storage());
  if (isLocked == nullptr) {
    post(kRefreshUserListNotification);
  } else {
    post(*isLocked ? kUserWasDisabledNotification : kUserWasEnabledNotification);
  }
}

void AccountEvents::fileChanged() {
  if (!mBus.isThere(kName)) return post(kRefreshUserListNotification);
  mRunLoop.performAfterDelay(kMoment, [this, posted = mPosted] {
    if (posted == mPosted) post(kRefreshUserListNotification);
  });
}

void AccountEvents::post(std::string_view notification) {
  ++mPosted;
  mDistributed.post({std::string(notification), std::nullopt});
}

}  // namespace gatehall
