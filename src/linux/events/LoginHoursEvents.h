#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>

#include "gatehall/base/Value.h"
#include "gatehall/platform/Clock.h"
#include "linux/events/AccountNotifications.h"
#include "linux/loop/MainLoop.h"

namespace gatehall {

/// Posts that a user's parental controls changed when the hours come in which the user may log in,
/// or are over. From any thread.
class LoginHoursEvents {
 public:
  LoginHoursEvents(MainLoop& runLoop, Clock& clock, AccountNotifications notifications)
      : mRunLoop(runLoop), mClock(clock), mNotifications(notifications) {}

  /// At that moment the answer for the user changes; it is the only one that is remembered.
  void expect(std::uint32_t userID, Date moment);

 private:
  void lookLater();
  void look(std::uint64_t number);

  MainLoop& mRunLoop;
  Clock& mClock;
  AccountNotifications mNotifications;
  std::mutex mMutex;  ///< guards what follows
  std::map<std::uint32_t, Date> mMoments;
  std::optional<Date> mPlanned;  ///< the first moment, for which there will be a look
  std::uint64_t mLooks = 0;      ///< the last one that was planned, which alone counts
};

}  // namespace gatehall
