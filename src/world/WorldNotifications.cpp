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

class WorldSystemNotifications::Source final : public RunLoopSource {
 public:
  Source(std::string_view name, std::function<void()> handler)
      : mName(name), mHandler(std::move(handler)) {}

  const std::string& name() const { return mName; }
  const std::function<void()>& handler() const { return mHandler; }

 private:
  const std::string mName;
  const std::function<void()> mHandler;
};

std::shared_ptr<RunLoopSource> WorldSystemNotifications::registerName(
    std::string_view name, std::function<void()> handler) {
  const std::scoped_lock lock(mMutex);
  if (std::ranges::find(mRefused, name) != mRefused.end()) return nullptr;
  auto source = std::make_shared<Source>(name, std::move(handler));
  std::erase_if(mSources, [](const auto& each) { return each.expired(); });
  mSources.push_back(source);
  return source;
}

void WorldSystemNotifications::post(std::string_view name) {
  const std::scoped_lock lock(mMutex);
  for (const auto& each : mSources) {
    const auto source = each.lock();
    if (source != nullptr && source->name() == name) mRunLoop.signal(source, source->handler());
  }
}

void WorldSystemNotifications::refuse(std::string_view name) {
  const std::scoped_lock lock(mMutex);
  mRefused.emplace_back(name);
}

}  // namespace gatehall
