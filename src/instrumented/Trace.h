#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/Value.h"

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
  /// All calls with their arguments, or no more than which operation was the last.
  enum class Keeps { Calls, LastOperation };

  explicit Trace(Keeps keeps = Keeps::Calls) : mKeeps(keeps) {}

  bool keepsCalls() const { return mKeeps == Keeps::Calls; }
  void append(Call call);

  /// The operation that is asked for now, by a name that lives as long as the process.
  void begin(const char* operation) { mLastOperation = operation; }

  /// What was recorded so far.
  std::vector<Call> calls() const;

  /// Empty when none was asked for.
  std::string_view lastOperation() const;

 private:
  const Keeps mKeeps;
  std::atomic<const char*> mLastOperation = nullptr;
  mutable std::mutex mMutex;
  std::vector<Call> mCalls;
};

}  // namespace gatehall
