#include "linux/ldap/client/Deadline.h"

#include <algorithm>
#include <cstdint>

namespace gatehall::ldap {

int millisecondsUntil(Deadline deadline) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  constexpr std::int64_t kLongest = 3600000;
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, kLongest));
}

Deadline shareOf(Deadline deadline, std::size_t count) {
  const auto now = std::chrono::steady_clock::now();
  return now + (deadline - now) / static_cast<int>(count);
}

}  // namespace gatehall::ldap
