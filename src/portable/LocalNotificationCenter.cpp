#include "portable/LocalNotificationCenter.h"

#include <algorithm>
#include <utility>

namespace gatehall {

void LocalNotificationCenter::addObserver(const void* observer, std::string_view name,
                                          Handler handler) {
  const std::scoped_lock lock(mLock);
  mObservations[std::string(name)].push_back(
      std::make_shared<const Observation>(Observation{observer, std::move(handler)}));
}

void LocalNotificationCenter::removeObserver(const void* observer, std::string_view name) {
  const std::scoped_lock lock(mLock);
  if (const auto found = mObservations.find(name); found != mObservations.end()) {
    std::erase_if(found->second, [&](const auto& each) { return each->observer == observer; });
  }
}

void LocalNotificationCenter::post(const Notification& notification) {
  for (const auto& each : observations(notification.name)) {
    const auto present = observations(notification.name);
    if (std::find(present.begin(), present.end(), each) != present.end()) {
      each->handler(notification);
    }
  }
}

LocalNotificationCenter::Observations LocalNotificationCenter::observations(std::string_view name) {
  const std::scoped_lock lock(mLock);
  const auto found = mObservations.find(name);
  return found == mObservations.end() ? Observations() : found->second;
}

}  // namespace gatehall
