#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "gatehall/platform/NotificationCenter.h"
#include "linux/loop/MainLoop.h"
#include "portable/NotificationSources.h"

namespace gatehall {

/// What happens on the machine without content: kConsoleSessionChangedNotification,
/// kLocalGroupsChangedNotification and kAccountFilesChangedNotification. No other name can be
/// registered. On the main thread.
class LinuxSystemNotifications final : public SystemNotifications {
 public:
  explicit LinuxSystemNotifications(MainLoop& runLoop) : mRunLoop(runLoop) {}

  std::shared_ptr<RunLoopSource> registerName(std::string_view name,
                                              std::function<void()> handler) override;

  void post(std::string_view name);

 private:
  MainLoop& mRunLoop;
  NotificationSources mSources;
};

}  // namespace gatehall
