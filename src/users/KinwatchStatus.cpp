#include "gatehall/platform/Platform.h"
#include "gatehall/users/CachedUser.h"

namespace gatehall {

std::optional<Date> CachedUser::kinwatchNextCurfewTime() const {
  const auto date = mKWDate.load();
  return date ? std::optional(*date) : std::nullopt;
}

void CachedUser::setKinwatchStatus(bool limit, std::int32_t result,
                                   std::optional<Date> nextCurfew) {
  setFlag(kKinwatchLimit, limit);
  mKWResult = result;
  mKWDate.store(nextCurfew ? std::make_shared<const Date>(*nextCurfew) : nullptr);
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
