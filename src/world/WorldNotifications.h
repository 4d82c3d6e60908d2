#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/platform/NotificationCenter.h"
#include "portable/LocalNotificationCenter.h"
#include "portable/NotificationSources.h"
#include "world/WorldRunLoop.h"

namespace gatehall {

/// A notification centre of a world. From any thread.
class WorldNotificationCenter final : public NotificationCenter {
 public:
  explicit WorldNotificationCenter(WorldRunLoop& runLoop) : mRunLoop(runLoop) {}

  void addObserver(const void* observer, std::string_view name, Handler handler) override;
  void removeObserver(const void* observer, std::string_view name) override;

  /// Tells those who observe the name when the main run loop gets to it.
  void post(std::string_view name, std::optional<Dictionary> userInfo = std::nullopt);

 private:
  WorldRunLoop& mRunLoop;
  LocalNotificationCenter mObservers;
};

/// The system-wide notifications of a world. One that is posted while no source of its name is in
/// the run loop is lost. From any thread.
class WorldSystemNotifications final : public SystemNotifications {
 public:
  explicit WorldSystemNotifications(WorldRunLoop& runLoop) : mRunLoop(runLoop) {}

  std::shared_ptr<RunLoopSource> registerName(std::string_view name,
                                              std::function<void()> handler) override;

  void post(std::string_view name);

  /// From now on the name can't be registered.
  void refuse(std::string_view name);

 private:
  WorldRunLoop& mRunLoop;
  std::mutex mMutex;
  NotificationSources mSources;
  Strings mRefused;
};

}  // namespace gatehall
