#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "platform/RunLoop.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/FileDescriptor.h"

namespace gatehall {

/// The main run loop of a program on Linux, and the threads beside it. Every thread's delayed tasks
/// run on it.
///
/// A program either lets it run (runUntilInterrupted), or drives it from a loop of its own: it
/// waits until the descriptor is readable, with poll(2) or as a source of that loop, and then calls
/// dispatch. The first of these calls begins to listen to the machine; before it nothing is mapped,
/// connected to or started.
///
/// Threads that it detached end with endThreads or with the loop, whichever comes first: those that
/// wait in one of its functions there, by an exception of a type that nobody else knows. Any other
/// thread that waits for a task has to be done before the loop goes.
class LinuxRunLoop final : public RunLoop {
 public:
  /// What listens to the machine is started by the loop's first drive.
  LinuxRunLoop(std::thread::id mainThread, std::function<void(EventLoop&)> start);
  ~LinuxRunLoop() override;

  void performAfterDelay(double seconds, std::function<void()> task) override;
  void performOnMainThreadAndWait(std::function<void()> task) override;
  void detachNewThread(std::function<void()> body) override;
  void sleep(double seconds) override;
  void addSource(std::shared_ptr<RunLoopSource> source, RunLoopMode mode) override;
  void removeSource(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) override;

  // For the program, on the main thread. Each raises PlatformException where libsystemd is missing.

  /// Readable when dispatch has something to do. Good as long as the loop.
  int descriptor();

  /// Does what there is to do, without waiting. With Common as in a modal panel: sources of the
  /// default mode keep what they have, and the descriptor does not tell of it, so that the program
  /// dispatches once when the panel is closed. May be called from a task.
  void dispatch(RunLoopMode mode = RunLoopMode::Default);

  /// Runs until the process is asked to end (SIGINT, SIGTERM), or stop is called.
  void runUntilInterrupted();

  /// Lets runUntilInterrupted return, the next one if none runs. From any thread.
  void stop();

  // For the services whose events the loop carries, from any thread.

  void post(std::function<void()> task);

  /// Queues a task on behalf of a source; it is dropped if the source is in no mode of the loop now
  /// or when its turn comes.
  void signal(std::shared_ptr<RunLoopSource> source, std::function<void()> task);

  /// Ends the threads. On the main thread.
  void endThreads();

 private:
  struct Task {
    std::function<void()> run;
    std::shared_ptr<RunLoopSource> source;  ///< nullptr: heard in every mode
  };
  /// A task that a thread waits for.
  struct Waiting {
    std::function<void()> task;
    bool isOwnThreads = false;
    bool over = false;
  };
  struct Thread {
    std::thread handle;
    bool ended = false;
  };
  using Moment = EventLoop::Moment;
  using Lock = std::unique_lock<std::mutex>;

  bool onMainThread() const;
  void runBody(std::function<void()> body, Thread& thread);
  void wake() const;
  EventLoop& drive();
  bool isInMode(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) const;
  std::optional<Moment> nextMoment();
  bool runNext(RunLoopMode mode) noexcept;
  bool runNextThreadTask(Lock& lock);
  bool runNextTask(Lock& lock, RunLoopMode mode);
  bool runNextDue(Lock& lock);

  const std::thread::id mMainThread;
  const std::function<void(EventLoop&)> mStart;
  const FileDescriptor mWakeUp;
  std::atomic<bool> mStopped = false;
  std::unique_ptr<EventLoop> mEvents;  ///< of the main thread
  EventLoop::SourceHandle mWakeUpSource;

  std::mutex mMutex;  ///< guards what follows
  std::condition_variable mChanged;
  std::uint64_t mRequests = 0;
  std::map<std::pair<Moment, std::uint64_t>, std::function<void()>> mDue;
  std::deque<Task> mTasks;
  std::deque<std::shared_ptr<Waiting>> mThreadTasks;
  std::vector<std::pair<std::shared_ptr<RunLoopSource>, RunLoopMode>> mSources;
  std::list<Thread> mThreads;
  bool mEnding = false;
};

}  // namespace gatehall
