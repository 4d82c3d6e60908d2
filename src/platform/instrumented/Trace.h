#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/Value.h"

namespace gatehall {

/// One operation asked of a host, with its arguments by name (InstrumentedPlatform lists them). An
/// argument that is not known is left out. Passwords are never among them.
struct Call {
  std::string operation;
  Dictionary arguments;
  friend bool operator==(const Call&, const Call&) = default;
};

/// The operations asked of a host, in the order in which they were asked. From any thread.
class Trace {
 public:
  void append(Call call);

  /// What was recorded so far.
  std::vector<Call> calls() const;

 private:
  mutable std::mutex mMutex;
  std::vector<Call> mCalls;
};

}  // namespace gatehall
