#include "linux/hours/LinuxParentalControls.h"

#include <chrono>
#include <ctime>
#include <string>
#include <utility>

#include "gatehall/base/PlatformException.h"

namespace gatehall {

LinuxParentalControls::LinuxParentalControls(
    HostOptions options, Log& log, Clock& clock,
    std::function<void(std::uint32_t userID, Date change)> expect)
    : mLog(log),
      mClock(clock),
      mFaults(log),
      mLimits(std::move(options), mFaults),
      mExpect(std::move(expect)) {}

bool LinuxParentalControls::mayLogInNow(std::uint32_t userID, std::int32_t& result,
                                        std::optional<Date>& nextCurfew) {
  nextCurfew.reset();
  std::optional<LoginHours> hours;
  try {
    hours = mLimits.hours(userID);
  } catch (const PlatformException& error) {
    mLog.error("Unable to find out when user " + std::to_string(userID) +
               " may log in: " + error.what());
    hours = LoginHours::never();
  }
  if (!hours) return true;
  tzset();  // the machine may have moved since
  const auto now =
      std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(mClock.now()));
  if (const auto change = hours->nextChange(now)) {
    nextCurfew = std::chrono::system_clock::from_time_t(*change);
    mExpect(userID, *nextCurfew);
  }
  if (hours->contain(now)) return true;
  result = kRefused;
  return false;
}

}  // namespace gatehall
