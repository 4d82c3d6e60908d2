#include "world/WorldNotifications.h"

#include <algorithm>
#include <utility>

namespace gatehall {

void WorldNotificationCenter::addObserver(const void* observer, std::string_view name,
                                          Handler handler) {
  mObservers.addObserver(observer, name, std::move(handler));
}

void WorldNotificationCenter::removeObserver(const void* observer, std::string_view name) {
  mObservers.removeObserver(observer, name);
}

void WorldNotificationCenter::post(std::string_view name, std::optional<Dictionary> userInfo) {
  mRunLoop.post([this, notification = Notification{std::string(name), std::move(userInfo)}] {
    mObservers.post(notification);
  });
}

std::shared_ptr<RunLoopSource> WorldSystemNotifications::registerName(
    std::string_view name, std::function<void()> handler) {
  const std::scoped_lock lock(mMutex);
  if (std::ranges::find(mRefused, name) != mRefused.end()) return nullptr;
  return mSources.add(name, std::move(handler));
}

void WorldSystemNotifications::post(std::string_view name) {
  const std::scoped_lock lock(mMutex);
  mSources.each(name, [this](auto source, auto handler) {
    mRunLoop.signal(std::move(source), std::move(handler));
  });
}

void WorldSystemNotifications::refuse(std::string_view name) {
  const std::scoped_lock lock(mMutex);
  mRefused.emplace_back(name);
}

}  // namespace gatehall
