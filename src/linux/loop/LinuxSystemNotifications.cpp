#include "linux/loop/LinuxSystemNotifications.h"

#include <string>
#include <utility>

#include "gatehall/platform/NotificationNames.h"

namespace gatehall {

class LinuxSystemNotifications::Source final : public RunLoopSource {
 public:
  Source(std::string_view name, std::function<void()> handler)
      : mName(name), mHandler(std::move(handler)) {}

  const std::string& name() const { return mName; }
  const std::function<void()>& handler() const { return mHandler; }

 private:
  const std::string mName;
  const std::function<void()> mHandler;
};

std::shared_ptr<RunLoopSource> LinuxSystemNotifications::registerName(
    std::string_view name, std::function<void()> handler) {
  if (name != kConsoleSessionChangedNotification && name != kLocalGroupsChangedNotification) {
    return nullptr;
  }
  auto source = std::make_shared<Source>(name, std::move(handler));
  std::erase_if(mSources, [](const auto& each) { return each.expired(); });
  mSources.push_back(source);
  return source;
}

void LinuxSystemNotifications::post(std::string_view name) {
  for (const auto& each : mSources) {
    const auto source = each.lock();
    if (source != nullptr && source->name() == name) mRunLoop.signal(source, source->handler());
  }
}

}  // namespace gatehall
