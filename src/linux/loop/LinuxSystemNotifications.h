#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "gatehall/platform/NotificationCenter.h"
#include "linux/loop/MainLoop.h"

namespace gatehall {

/// What happens on the machine without content: kConsoleSessionChangedNotification and
/// kLocalGroupsChangedNotification. No other name can be registered. On the main thread.
class LinuxSystemNotifications final : public SystemNotifications {
 public:
  explicit LinuxSystemNotifications(MainLoop& runLoop) : mRunLoop(runLoop) {}

  std::shared_ptr<RunLoopSource> registerName(std::string_view name,
                                              std::function<void()> handler) override;

  void post(std::string_view name);

 private:
  class Source;

  MainLoop& mRunLoop;
  std::vector<std::weak_ptr<Source>> mSources;
};

}  // namespace gatehall
