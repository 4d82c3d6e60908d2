#include <cmath>
#include <limits>

#include "gatehall/platform/Platform.h"
#include "gatehall/users/CachedUser.h"

namespace gatehall {

std::optional<Date> CachedUser::kinwatchNextCurfewTime() const {
  const double seconds = mKWDate.load();
  if (std::isnan(seconds)) return std::nullopt;
  return Date(Date::duration(seconds));
}

void CachedUser::setKinwatchStatus(bool limit, std::int32_t result,
                                   std::optional<Date> nextCurfew) {
  setFlag(kKinwatchLimit, limit);
  mKWResult = result;
  mKWDate = nextCurfew ? nextCurfew->time_since_epoch().count()
                       : std::numeric_limits<double>::quiet_NaN();
}

void CachedUser::kinwatchStatusUpdated() {
  if (isOtherUser() || !isManaged()) {
    setKinwatchStatus(false, 0, std::nullopt);
    return;
  }
  std::int32_t result = 0;
  std::optional<Date> nextCurfew;
  if (platform().parentalControls().mayLogInNow(getUid(), result, nextCurfew)) {
    setKinwatchStatus(nextCurfew.has_value(), 0, nextCurfew);
  } else {
    setKinwatchStatus(true, result, nextCurfew);
  }
}

}  // namespace gatehall
