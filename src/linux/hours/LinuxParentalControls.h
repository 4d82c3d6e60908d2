#pragma once

#include <cstdint>
#include <functional>

#include "gatehall/platform/Clock.h"
#include "gatehall/platform/Log.h"
#include "gatehall/platform/ParentalControls.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "linux/hours/SessionLimits.h"

namespace gatehall {

/// Parental controls by malcontent's daily schedules, as AccountsService holds them
/// (SessionLimits).
///
/// - Within the schedule a user may log in, and the date is its end; a schedule of the whole day
///   never changes its answer, so it has no date.
/// - Outside of it the user is refused, and the date is its next start, of today or of tomorrow.
/// - A limit of a type that is not known here, or with a schedule that is none (start not before
/// the
///   end, an end beyond 86400, other values than numbers) refuses without a date.
/// - A service that can't be asked, or does not let this process know, refuses without a date, and
///   the log says why. Where the service has no such limits, everyone may log in.
///
/// The code of a refusal is kRefused. Raises nothing.
class LinuxParentalControls final : public ParentalControls {
 public:
  static constexpr std::int32_t kRefused = 1;

  /// Tells of each date that it answers.
  LinuxParentalControls(HostOptions options, Log& log, Clock& clock,
                        std::function<void(std::uint32_t userID, Date change)> expect);

  bool mayLogInNow(std::uint32_t userID, std::int32_t& result,
                   std::optional<Date>& nextCurfew) override;

 private:
  Log& mLog;
  Clock& mClock;
  FaultLog mFaults;
  SessionLimits mLimits;
  const std::function<void(std::uint32_t userID, Date change)> mExpect;
};

}  // namespace gatehall
