#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "gatehall/base/Export.h"
#include "gatehall/platform/NotificationCenter.h"
#include "gatehall/platform/NotificationNames.h"
#include "gatehall/users/KinwatchTarget.h"

namespace gatehall {

/// Hears of changed parental controls and passes them on to its targets, which are not held: each
/// takes itself out before it goes. From any thread.
class GATEHALL_EXPORT KinwatchMonitor {
 public:
  /// The process's one monitor, observing from its first use on.
  static std::shared_ptr<KinwatchMonitor> sharedKWMonitor();

  /// Adds the target unless it is there already; nullptr is kept as an entry that is never told.
  void addTarget(KinwatchTarget* target);

  /// Takes out the target. Waits for a delivery that is under way.
  void removeTarget(KinwatchTarget* target);

  /// A notification without user info or user name is ignored.
  void handleNotification(const Notification& notification);

  /// Tells every target in the order of registration, under the lock. Without a name it tells none.
  void notifyTargetsAboutUser(std::optional<std::string_view> name);

  /// Holds deliveries off while a target changes what it would walk.
  [[nodiscard]] std::unique_lock<std::mutex> lock() { return std::unique_lock(mLock); }

 private:
  std::vector<KinwatchTarget*> mTargets;
  std::mutex mLock;
};

}  // namespace gatehall
