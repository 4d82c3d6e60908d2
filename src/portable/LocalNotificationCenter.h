#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "gatehall/platform/NotificationCenter.h"

namespace gatehall {

/// Notifications that are posted in this process.
class LocalNotificationCenter final : public NotificationCenter {
 public:
  void addObserver(const void* observer, std::string_view name, Handler handler) override;
  void removeObserver(const void* observer, std::string_view name) override;

  /// Calls the handlers of the name in the order in which they were added. A handler may add and
  /// remove observers: one that was removed meanwhile is not called, one that was added is not
  /// called yet. On the main thread.
  void post(const Notification& notification);

 private:
  struct Observation {
    const void* observer;
    Handler handler;
  };
  using Observations = std::vector<std::shared_ptr<const Observation>>;

  Observations observations(std::string_view name);

  std::mutex mLock;  ///< guards mObservations; not held while handlers run
  std::map<std::string, Observations, std::less<>> mObservations;
};

}  // namespace gatehall
