#include "service/bus/Turns.h"

#include <utility>

namespace gatehall::service {

void Turns::add(std::uint32_t userID, std::function<void()> turn) {
  if (mWaiting.empty()) mLoop.post([this] { takeNext(); });
  mWaiting[userID].push_back(std::move(turn));
}

void Turns::takeNext() {
  auto next = mWaiting.upper_bound(mLast);
  if (next == mWaiting.end()) next = mWaiting.begin();
  mLast = next->first;
  const auto turn = std::move(next->second.front());
  next->second.pop_front();
  if (next->second.empty()) mWaiting.erase(next);
  if (!mWaiting.empty()) mLoop.post([this] { takeNext(); });
  turn();
}

}  // namespace gatehall::service
