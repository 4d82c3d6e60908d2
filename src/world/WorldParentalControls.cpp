#include "world/WorldParentalControls.h"

namespace gatehall {

bool WorldParentalControls::mayLogInNow(std::uint32_t userID, std::int32_t& result,
                                        std::optional<Date>& nextCurfew) {
  const std::scoped_lock lock(mMutex);
  nextCurfew.reset();
  const auto found = mLimits.find(userID);
  if (found == mLimits.end()) return true;
  const auto& limit = found->second;
  if (!limit.allowed) result = limit.result;
  nextCurfew = limit.nextCurfew;
  return limit.allowed;
}

void WorldParentalControls::setLimit(std::uint32_t userID, LoginLimit limit) {
  const std::scoped_lock lock(mMutex);
  mLimits.insert_or_assign(userID, limit);
}

std::map<std::uint32_t, LoginLimit> WorldParentalControls::limits() {
  const std::scoped_lock lock(mMutex);
  return mLimits;
}

void WorldParentalControls::removeLimit(std::uint32_t userID) {
  const std::scoped_lock lock(mMutex);
  mLimits.erase(userID);
}

}  // namespace gatehall
