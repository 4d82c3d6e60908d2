#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "gatehall/linux/loop/LinuxRunLoop.h"
#include "linux/files/FileDescriptor.h"
#include "linux/loop/EventLoop.h"
#include "portable/TaskQueue.h"

namespace gatehall {

/// The main run loop, on sd_event, and the threads beside it. The first call that drives it begins
/// to listen to the machine; before it nothing is mapped, connected to or started.
///
/// Threads that it detached end with endThreads or with the loop, whichever comes first: those that
/// wait in one of its functions there, by an exception of a type that nobody else knows. Any other
/// thread that waits for a task has to be done before the loop goes.
class MainLoop final : public LinuxRunLoop {
 public:
  /// What listens to the machine is started by the loop's first drive.
  MainLoop(std::thread::id mainThread, std::function<void(EventLoop&)> start);
  ~MainLoop() override;

  void performAfterDelay(double seconds, std::function<void()> task) override;
  void performOnMainThreadAndWait(std::function<void()> task) override;
  void detachNewThread(std::function<void()> body) override;
  void sleep(double seconds) override;
  void addSource(std::shared_ptr<RunLoopSource> source, RunLoopMode mode) override;
  void removeSource(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) override;

  int descriptor() override;
  void dispatch(RunLoopMode mode = RunLoopMode::Default) override;
  void runUntilInterrupted() override;
  void stop() override;

  /// Runs until stop is called, whatever signals there are.
  void run();

  // For the services whose events the loop carries, from any thread.

  void post(std::function<void()> task);

  /// Has whoever drives the loop by its descriptor dispatch once more: the machine's own loop has
  /// something to wait for that it hadn't when the last dispatch ended.
  void wake() const;

  /// Queues a task on behalf of a source; it is dropped if the source is in no mode of the loop now
  /// or when its turn comes.
  void signal(std::shared_ptr<RunLoopSource> source, std::function<void()> task);

  /// Ends the threads. On the main thread.
  void endThreads();

 private:
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
  EventLoop& drive();
  std::optional<Moment> nextMoment();
  bool runNext(RunLoopMode mode) noexcept;
  bool runNextThreadTask(Lock& lock);

  const std::thread::id mMainThread;
  const std::function<void(EventLoop&)> mStart;
  const FileDescriptor mWakeUp;
  std::atomic<bool> mStopped = false;
  std::unique_ptr<EventLoop> mEvents;  ///< of the main thread
  EventLoop::SourceHandle mWakeUpSource;

  std::mutex mMutex;  ///< guards what follows
  std::condition_variable mChanged;
  TaskQueue<Moment> mQueue;
  std::deque<std::shared_ptr<Waiting>> mThreadTasks;
  std::list<Thread> mThreads;
  bool mEnding = false;
};

}  // namespace gatehall
