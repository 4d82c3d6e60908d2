#include "instrumented/Trace.h"

#include <utility>

namespace gatehall {

void Trace::append(Call call) {
  const std::scoped_lock lock(mMutex);
  mCalls.push_back(std::move(call));
}

std::string_view Trace::lastOperation() const {
  const char* operation = mLastOperation;
  return operation != nullptr ? operation : std::string_view();
}

std::vector<Call> Trace::calls() const {
  const std::scoped_lock lock(mMutex);
  return mCalls;
}

}  // namespace gatehall
