#include "linux/hours/LoginHours.h"

#include <algorithm>

namespace gatehall {

namespace {

/// Some days lack the hours that others have, but not three in a row.
constexpr std::time_t kFarthest = 3 * LoginHours::kSecondsOfDay;

struct LocalTime {
  std::int64_t second = 0;  ///< since midnight, by the clock on the wall
  long offset = 0;          ///< of the zone, seconds east of UTC
};

LocalTime localTime(std::time_t moment) {
  std::tm parts{};
  if (localtime_r(&moment, &parts) == nullptr) return {};
  const auto second = (std::int64_t{parts.tm_hour} * 60 + parts.tm_min) * 60 + parts.tm_sec;
  return {std::min(second, LoginHours::kSecondsOfDay - 1), parts.tm_gmtoff};
}

/// The first second after the earlier moment that has the later one's offset.
std::time_t changeOfOffset(std::time_t earlier, std::time_t later) {
  const auto offset = localTime(later).offset;
  while (later - earlier > 1) {
    const auto middle = earlier + (later - earlier) / 2;
    (localTime(middle).offset == offset ? later : earlier) = middle;
  }
  return later;
}

}  // namespace

LoginHours::LoginHours(std::int64_t start, std::int64_t end) {
  if (start < 0 || start >= end || end > kSecondsOfDay) return;
  mStart = start;
  mEnd = end;
}

bool LoginHours::contain(std::time_t moment) const {
  const auto second = localTime(moment).second;
  return second >= mStart && second < mEnd;
}

std::optional<std::time_t> LoginHours::nextChange(std::time_t moment) const {
  const bool isAllowed = contain(moment);
  const auto farthest = moment + kFarthest;
  while (moment < farthest) {
    const auto now = localTime(moment);
    auto next = moment + (nextBoundary(now.second) - now.second);
    if (localTime(next).offset != now.offset) next = changeOfOffset(moment, next);
    if (contain(next) != isAllowed) return next;
    moment = next;
  }
  return std::nullopt;
}

std::int64_t LoginHours::nextBoundary(std::int64_t second) const {
  if (second < mStart) return mStart;
  return second < mEnd ? mEnd : kSecondsOfDay;
}

}  // namespace gatehall
