#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

namespace gatehall {

/// The hours of every day in which somebody may be logged in, by the local time of the C library
/// (tzset(3)): where clocks are set forward or back, what they show decides.
class LoginHours {
 public:
  static constexpr std::int64_t kSecondsOfDay = 86400;

  /// From the start on until before the end, both in seconds since midnight; what is not
  /// 0 <= start < end <= kSecondsOfDay is never.
  LoginHours(std::int64_t start, std::int64_t end);

  /// No hours at all.
  static LoginHours never() { return {0, 0}; }

  bool contain(std::time_t moment) const;

  /// The first second after the moment at which contain has another answer; absent when there is
  /// none within the next three days, so never.
  std::optional<std::time_t> nextChange(std::time_t moment) const;

  friend bool operator==(const LoginHours&, const LoginHours&) = default;

 private:
  std::int64_t nextBoundary(std::int64_t second) const;

  std::int64_t mStart = 0;
  std::int64_t mEnd = 0;
};

}  // namespace gatehall
