#include "service/bus/Places.h"

namespace gatehall::service {

Places::Place Places::take(std::uint32_t userID) {
  auto& ofOne = mTaken->ofOne[userID];
  if (ofOne >= mOfOne || mTaken->all >= mInAll) {
    if (ofOne == 0) mTaken->ofOne.erase(userID);
    return nullptr;
  }
  ++ofOne;
  ++mTaken->all;
  return {mTaken.get(), [taken = mTaken, userID](void*) {
            --taken->all;
            if (--taken->ofOne[userID] == 0) taken->ofOne.erase(userID);
          }};
}

}  // namespace gatehall::service
