#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include "gatehall/platform/RunLoop.h"
#include "portable/TaskQueue.h"
#include "world/WorldClock.h"

namespace gatehall {

/// The main run loop of a world and the threads beside it, driven by hand. The main thread is the
/// one that makes the world; only there pump, advance, runDetachedThreads and settle are called.
/// Nothing happens between these calls, and no time passes but what advance is given, so whatever
/// waits for a moment waits for advance.
///
/// Delays count in the time that advance lets pass, whatever the clock is set to meanwhile. Every
/// thread's delayed tasks run on the main run loop.
///
class WorldRunLoop final : public RunLoop {
 public:
  enum class Threads {
    ByHand,  ///< a detached thread starts in runDetachedThreads; one runs at a time
    Free,    ///< a detached thread starts at once and runs beside the main thread
  };

  explicit WorldRunLoop(WorldClock& clock);
  ~WorldRunLoop() override;

  void performAfterDelay(double seconds, std::function<void()> task) override;
  void performOnMainThreadAndWait(std::function<void()> task) override;
  void detachNewThread(std::function<void()> body) override;
  /// On the main thread time passes and nothing runs meanwhile.
  void sleep(double seconds) override;
  void addSource(std::shared_ptr<RunLoopSource> source, RunLoopMode mode) override;
  void removeSource(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) override;

  /// How threads detached from now on run; at first ByHand.
  void setThreads(Threads threads);

  /// Runs everything that is ready, and what becomes ready meanwhile: notifications, tasks for the
  /// main thread, delayed tasks whose time has come. In the default mode, or as in a modal one
  /// (Common), where sources of the default mode are not heard and keep what they have.
  void pump(RunLoopMode mode = RunLoopMode::Default);

  /// Lets time pass, step by step to each moment for which something waits: delayed tasks and
  /// sleeping threads, in the order of their moments, then of their requests. Pumps at each.
  void advance(double seconds);

  /// Lets time pass as advance does, with threads that are detached meanwhile: everything that
  /// follows from one moment, on whatever thread, has happened before the next one comes.
  void run(double seconds);

  /// Runs each detached thread that has not started until it ends or sleeps.
  void runDetachedThreads();

  /// Waits until every thread that runs has ended or sleeps, and meanwhile runs the tasks that they
  /// have for the main thread. Raises std::runtime_error after ten seconds of the real time.
  void settle();

  /// Ends every thread, as when the world goes: one that waits where it waits, by an exception of a
  /// type that nobody else knows; one that has not started never starts; the others are waited for.
  void endThreads();

  /// Queues a task for the main run loop. From any thread.
  void post(std::function<void()> task);

  /// Queues a task on behalf of a source; it is dropped if the source is in no mode of the loop now
  /// or when its turn comes. From any thread.
  void signal(std::shared_ptr<RunLoopSource> source, std::function<void()> task);

 private:
  /// What a thread waits for.
  struct Waiting {
    std::function<void()> task;  ///< for the main thread; none: the thread sleeps
    bool over = false;
  };
  struct Thread {
    std::thread handle;
    bool ended = false;
  };
  using Lock = std::unique_lock<std::mutex>;

  bool onMainThread() const;
  void start(std::function<void()> body);
  void runBody(std::function<void()> body, Thread& thread);
  void wait(Lock& lock, const std::shared_ptr<Waiting>& waiting);
  void moveTo(double moment);
  template <class Moment>
  void letPass(double seconds, Moment atEachMoment);
  void pumpWithThreads();
  void wakeUp(const std::shared_ptr<Waiting>& sleeper);
  bool runNextTask(Lock& lock, RunLoopMode mode);
  bool runNextThreadTask(Lock& lock);

  WorldClock& mClock;
  const std::thread::id mMainThread;
  std::mutex mMutex;
  std::condition_variable mChanged;
  double mElapsed = 0;       ///< seconds that passed since the world was made
  TaskQueue<double> mQueue;  ///< its moments are such seconds
  std::deque<std::shared_ptr<Waiting>> mThreadTasks;
  Threads mThreadsRun = Threads::ByHand;
  std::deque<std::function<void()>> mNotStarted;
  std::list<Thread> mThreads;
  std::size_t mRunning = 0;  ///< threads that neither sleep nor have ended
  bool mEnding = false;
};

}  // namespace gatehall
