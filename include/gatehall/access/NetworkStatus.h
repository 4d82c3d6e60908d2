#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "gatehall/access/NetworkStatusTarget.h"
#include "gatehall/base/AtomicSharedPtr.h"
#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// Whether this machine belongs to a network directory, and whether that can be reached: from the
/// nodes that the search node covers. Two nodes or fewer are no network directory. The answers are
/// those of the last measure. While there are targets, a thread measures once a second and tells
/// them of a changed status; without targets, asking does not measure again (see the accessors).
/// From any thread, but for what says otherwise.
class GATEHALL_EXPORT NetworkStatus : public std::enable_shared_from_this<NetworkStatus> {
 public:
  /// The process's one instance, measured on first use.
  static std::shared_ptr<NetworkStatus> sharedNetworkStatus();

  /// Measures once.
  NetworkStatus();

  /// Measures: true when networkStatus has changed by it. May take as long as a node takes to time
  /// out.
  bool networkStatusUpdate();

  // Without targets these measure anew only when the last measure made by them is stamped more than
  // a second ahead of the clock.

  /// More than two nodes are covered.
  bool hasParentNetwork();
  /// At least three nodes are covered and at least three of them answer.
  bool parentNetworkExists();
  /// 2: all nodes answer, or there is no network directory; 1: some don't, more than two do; 0: two
  /// or fewer do.
  std::int32_t networkStatus();

  /// Adds the target (nullptr is ignored) unless it is there already, and starts measuring with the
  /// first; it is held until removed. On the main thread.
  void addTarget(std::shared_ptr<NetworkStatusTarget> target);

  /// Without targets the measuring ends. On the main thread.
  void removeTarget(const std::shared_ptr<NetworkStatusTarget>& target);

  /// Tells every target, in order; they may add and remove targets meanwhile. On the main thread.
  void networkStatusNotifyTargets();

 private:
  static void networkStatusUpdateThread(const std::weak_ptr<NetworkStatus>& measured);
  bool measureAndTell();
  void refreshIfNeeded();

  std::vector<std::shared_ptr<NetworkStatusTarget>> mTargets;
  std::atomic<std::int32_t> mNetworkStatus = 0;
  std::atomic<bool> mParentNetworkExists = false;
  std::atomic<bool> mHasParentNetwork = false;
  std::atomic<bool> mUpdateNetworkStatus = false;
  AtomicSharedPtr<const Date> mLastUpdate;
};

}  // namespace gatehall
