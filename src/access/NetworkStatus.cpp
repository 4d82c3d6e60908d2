#include "gatehall/access/NetworkStatus.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/ProcessWide.h"
#include "gatehall/directory/SubnodeCounts.h"
#include "gatehall/platform/DirectoryService.h"
#include "gatehall/platform/Platform.h"

namespace gatehall {

namespace {

/// A search node that covers no more than these covers no network node.
constexpr std::uint64_t kNodesWithoutNetwork = kFirstNetworkNode;
constexpr double kMeasureInterval = 1.0;

ProcessWide<NetworkStatus> sharedStatus;

std::int32_t statusValue(const SubnodeCounts& counts) {
  if (counts.total <= kNodesWithoutNetwork || counts.reachable == counts.total) return 2;
  return counts.reachable > kNodesWithoutNetwork ? 1 : 0;
}

}  // namespace

std::shared_ptr<NetworkStatus> NetworkStatus::sharedNetworkStatus() {
  if (auto status = sharedStatus.get()) return status;
  return sharedStatus.keep(std::make_shared<NetworkStatus>());
}

NetworkStatus::NetworkStatus() { networkStatusUpdate(); }

bool NetworkStatus::networkStatusUpdate() {
  SubnodeCounts counts;
  subnodeCounts(&counts);
  mHasParentNetwork = counts.total > kNodesWithoutNetwork;
  mParentNetworkExists =
      counts.total > kNodesWithoutNetwork && counts.reachable > kNodesWithoutNetwork;
  const auto status = statusValue(counts);
  return mNetworkStatus.exchange(status) != status;
}

void NetworkStatus::refreshIfNeeded() {
  if (mUpdateNetworkStatus) return;
  const auto last = mLastUpdate.load();
  if (!last) return;
  // A stamp ahead of the clock means that the clock was set back. A stamp in the past, however old,
  // is not a reason to measure.
  const auto ahead = *last - platform().clock().now();
  if (ahead <= std::chrono::seconds(1)) return;
  networkStatusUpdate();
  mLastUpdate.store(std::make_shared<const Date>(platform().clock().now()));
}

void NetworkStatus::addTarget(std::shared_ptr<NetworkStatusTarget> target) {
  if (!target || std::find(mTargets.begin(), mTargets.end(), target) != mTargets.end()) return;
  auto& runLoop = platform().runLoop();
  mTargets.push_back(std::move(target));
  if (mUpdateNetworkStatus.exchange(true)) return;
  try {
    runLoop.detachNewThread([measured = weak_from_this()] { networkStatusUpdateThread(measured); });
  } catch (const PlatformException&) {
    mUpdateNetworkStatus = false;
    throw;
  }
}

void NetworkStatus::removeTarget(const std::shared_ptr<NetworkStatusTarget>& target) {
  std::erase(mTargets, target);
  if (mTargets.empty()) mUpdateNetworkStatus = false;
}

void NetworkStatus::networkStatusNotifyTargets() {
  for (const auto& target : std::vector(mTargets)) target->networkStatusChanged();
}

bool NetworkStatus::measureAndTell() {
  if (!mUpdateNetworkStatus) return false;
  if (networkStatusUpdate() && mUpdateNetworkStatus) {
    platform().runLoop().performOnMainThreadAndWait([this] { networkStatusNotifyTargets(); });
  }
  return true;
}

/// The thread holds the object only while it measures, so that it ends with it.
void NetworkStatus::networkStatusUpdateThread(const std::weak_ptr<NetworkStatus>& measured) {
  while (true) {
    if (const auto status = measured.lock(); !status || !status->measureAndTell()) return;
    platform().runLoop().sleep(kMeasureInterval);
  }
}

bool NetworkStatus::hasParentNetwork() {
  refreshIfNeeded();
  return mHasParentNetwork;
}

bool NetworkStatus::parentNetworkExists() {
  refreshIfNeeded();
  return mParentNetworkExists;
}

std::int32_t NetworkStatus::networkStatus() {
  refreshIfNeeded();
  return mNetworkStatus;
}

}  // namespace gatehall
