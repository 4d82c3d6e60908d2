#include "linux/loop/LinuxSystemNotifications.h"

#include <utility>

#include "gatehall/platform/NotificationNames.h"

namespace gatehall {

std::shared_ptr<RunLoopSource> LinuxSystemNotifications::registerName(
    std::string_view name, std::function<void()> handler) {
  if (name != kConsoleSessionChangedNotification && name != kLocalGroupsChangedNotification &&
      name != kAccountFilesChangedNotification) {
    return nullptr;
  }
  return mSources.add(name, std::move(handler));
}

void LinuxSystemNotifications::post(std::string_view name) {
  mSources.each(name, [this](auto source, auto handler) {
    mRunLoop.signal(std::move(source), std::move(handler));
  });
}

}  // namespace gatehall
