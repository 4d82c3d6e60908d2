#include "gatehall/users/KinwatchMonitor.h"

#include <algorithm>
#include <string>

#include "base/ProcessWide.h"
#include "gatehall/platform/Platform.h"

namespace gatehall {

namespace {

ProcessWide<KinwatchMonitor> sharedMonitor;

}  // namespace

std::shared_ptr<KinwatchMonitor> KinwatchMonitor::sharedKWMonitor() {
  if (auto monitor = sharedMonitor.get()) return monitor;
  const auto made = std::make_shared<KinwatchMonitor>();
  auto kept = sharedMonitor.keep(made);
  if (kept == made) {
    platform().distributedNotificationCenter().addObserver(
        made.get(), kKinwatchLoginStatusChangedNotification,
        [observer = std::weak_ptr(made)](const Notification& notification) {
          if (const auto monitor = observer.lock()) monitor->handleNotification(notification);
        });
  }
  return kept;
}

void KinwatchMonitor::addTarget(KinwatchTarget* target) {
  const auto held = lock();
  if (std::find(mTargets.begin(), mTargets.end(), target) == mTargets.end()) {
    mTargets.push_back(target);
  }
}

void KinwatchMonitor::removeTarget(KinwatchTarget* target) {
  const auto held = lock();
  std::erase(mTargets, target);
}

void KinwatchMonitor::handleNotification(const Notification& notification) {
  if (!notification.userInfo) return;
  const auto entry = notification.userInfo->find(kKinwatchUserNameKey);
  if (entry == notification.userInfo->end()) return;
  if (const auto* name = entry->second.string()) notifyTargetsAboutUser(*name);
}

void KinwatchMonitor::notifyTargetsAboutUser(std::optional<std::string_view> name) {
  if (!name) return;
  const auto held = lock();
  for (auto* target : mTargets) {
    if (target != nullptr) target->userStatusChanged(name);
  }
}

}  // namespace gatehall
