#pragma once

#include <functional>
#include <memory>

#include "gatehall/base/Export.h"

namespace gatehall {

/// Something that wakes a run loop; made by the service whose events it carries.
class GATEHALL_EXPORT RunLoopSource {
 public:
  virtual ~RunLoopSource() = default;
};

/// In which of the main run loop's modes a source is heard: only the default one, or all common
/// ones (so also while a modal panel or a menu is open).
enum class RunLoopMode { Default, Common };

/// The run loop and the threads beside it. A task must not throw: where the host runs it, that ends
/// the process.
class GATEHALL_EXPORT RunLoop {
 public:
  virtual ~RunLoop() = default;

  /// Runs the task on the main thread, from its run loop, once, when the delay (seconds) has
  /// passed. Requests are not merged. From any thread.
  virtual void performAfterDelay(double seconds, std::function<void()> task) = 0;

  /// Runs the task on the main thread and returns when it has run: at once when called there, else
  /// from the main run loop while the caller waits.
  virtual void performOnMainThreadAndWait(std::function<void()> task) = 0;

  /// Starts a thread that nobody waits for but Platform::endThreads; none while that runs. From any
  /// thread. May raise.
  virtual void detachNewThread(std::function<void()> body) = 0;

  /// Lets the calling thread wait (seconds).
  virtual void sleep(double seconds) = 0;

  /// Adds a source to the main run loop, and takes it out; adding one that is there and taking out
  /// one that isn't do nothing. From the main thread.
  virtual void addSource(std::shared_ptr<RunLoopSource> source, RunLoopMode mode) = 0;
  virtual void removeSource(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) = 0;
};

}  // namespace gatehall
