#include "platform/instrumented/Trace.h"

#include <utility>

namespace gatehall {

void Trace::append(Call call) {
  const std::scoped_lock lock(mMutex);
  mCalls.push_back(std::move(call));
}

std::vector<Call> Trace::calls() const {
  const std::scoped_lock lock(mMutex);
  return mCalls;
}

}  // namespace gatehall
