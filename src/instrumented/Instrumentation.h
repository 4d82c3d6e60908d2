#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "instrumented/FaultPlan.h"
#include "instrumented/Trace.h"

namespace gatehall {

/// What the instrumented services of one host share. From any thread.
class Instrumentation {
 public:
  Instrumentation(std::vector<Fault> faults, std::shared_ptr<Trace> trace)
      : mFaults(std::move(faults)), mTrace(std::move(trace)) {}

  /// To be called first in every operation, by a name that lives as long as the process: records
  /// the call and counts it. Raises what a fault says to raise; true when the operation is to
  /// answer nothing. Describing (a callable that answers CallFacts) happens only when somebody
  /// wants to know.
  template <class Describe>
  bool answersNothing(const char* operation, const Describe& describe) {
    const bool faulty = mFaults.concerns(operation);
    if (mTrace) mTrace->begin(operation);
    const bool isTraced = mTrace && mTrace->keepsCalls();
    if (!isTraced && !faulty) return false;
    CallFacts facts = describe();
    if (isTraced) mTrace->append({operation, std::move(facts.arguments)});
    return faulty && mFaults.failsByAnsweringNothing(operation, facts);
  }

  /// The same for an operation without arguments.
  bool answersNothing(const char* operation) {
    return answersNothing(operation, [] { return CallFacts{}; });
  }

 private:
  FaultPlan mFaults;
  std::shared_ptr<Trace> mTrace;
};

}  // namespace gatehall
