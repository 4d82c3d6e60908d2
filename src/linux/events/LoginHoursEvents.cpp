#include "linux/events/LoginHoursEvents.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/NotificationNames.h"

namespace gatehall {

namespace {

/// The clock may be set, and the machine may sleep: neither moves the run loop's timers.
constexpr double kLongestPause = 60.0;
constexpr double kShortestPause = 0.05;

}  // namespace

void LoginHoursEvents::expect(std::uint32_t userID, Date moment) {
  const std::scoped_lock lock(mMutex);
  mMoments.insert_or_assign(userID, moment);
  if (!mPlanned || moment < *mPlanned) lookLater();
}

/// Under the lock.
void LoginHoursEvents::lookLater() {
  ++mLooks;
  mPlanned.reset();
  if (mMoments.empty()) return;
  const auto next = std::min_element(
      mMoments.begin(), mMoments.end(),
      [](const auto& left, const auto& right) { return left.second < right.second; });
  mPlanned = next->second;
  const auto pause = (*mPlanned - mClock.now()).count();
  mRunLoop.performAfterDelay(std::clamp(pause, kShortestPause, kLongestPause),
                             [this, look = mLooks] { this->look(look); });
}

void LoginHoursEvents::look(std::uint64_t number) {
  std::vector<std::uint32_t> due;
  {
    const std::scoped_lock lock(mMutex);
    if (number != mLooks) return;
    const auto now = mClock.now();
    std::erase_if(mMoments, [&](const auto& each) {
      const auto& [userID, moment] = each;
      if (moment > now) return false;
      due.push_back(userID);
      return true;
    });
    lookLater();
  }
  for (const auto userID : due) {
    mNotifications.post(userID, kKinwatchLoginStatusChangedNotification, kKinwatchUserNameKey,
                        attribute::RecordName);
  }
}

}  // namespace gatehall
