#include "world/WorldRunLoop.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace gatehall {

namespace {

constexpr std::chrono::seconds kLongestSettling{10};

/// Ends a thread whose world goes.
class ThreadEnd {};

}  // namespace

WorldRunLoop::WorldRunLoop(WorldClock& clock)
    : mClock(clock), mMainThread(std::this_thread::get_id()) {}

WorldRunLoop::~WorldRunLoop() { endThreads(); }

void WorldRunLoop::endThreads() {
  std::deque<std::function<void()>> neverStarted;  // what they hold may go only without the lock
  {
    const std::scoped_lock lock(mMutex);
    mEnding = true;
    neverStarted.swap(mNotStarted);
  }
  mChanged.notify_all();
  for (auto& thread : mThreads) thread.handle.join();

  const std::scoped_lock lock(mMutex);
  mThreads.clear();
  mThreadTasks.clear();
  mRunning = 0;
  mEnding = false;
}

void WorldRunLoop::performAfterDelay(double seconds, std::function<void()> task) {
  const std::scoped_lock lock(mMutex);
  mQueue.postAt(mElapsed + std::max(seconds, 0.0), std::move(task));
}

void WorldRunLoop::performOnMainThreadAndWait(std::function<void()> task) {
  if (onMainThread()) return task();
  Lock lock(mMutex);
  const auto waiting = std::make_shared<Waiting>(Waiting{std::move(task)});
  mThreadTasks.push_back(waiting);
  mChanged.notify_all();
  wait(lock, waiting);
}

void WorldRunLoop::detachNewThread(std::function<void()> body) {
  const std::scoped_lock lock(mMutex);
  if (mEnding) return;
  if (mThreadsRun == Threads::Free) {
    start(std::move(body));
  } else {
    mNotStarted.push_back(std::move(body));
  }
}

void WorldRunLoop::sleep(double seconds) {
  Lock lock(mMutex);
  const auto moment = mElapsed + std::max(seconds, 0.0);
  if (onMainThread()) return moveTo(moment);
  const auto waiting = std::make_shared<Waiting>();
  mQueue.postAt(moment, [this, sleeper = std::weak_ptr(waiting)] { wakeUp(sleeper.lock()); });
  --mRunning;
  mChanged.notify_all();
  wait(lock, waiting);
}

void WorldRunLoop::addSource(std::shared_ptr<RunLoopSource> source, RunLoopMode mode) {
  const std::scoped_lock lock(mMutex);
  mQueue.addSource(std::move(source), mode);
}

void WorldRunLoop::removeSource(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) {
  const std::scoped_lock lock(mMutex);
  mQueue.removeSource(source, mode);
}

void WorldRunLoop::setThreads(Threads threads) {
  const std::scoped_lock lock(mMutex);
  mThreadsRun = threads;
}

void WorldRunLoop::pump(RunLoopMode mode) {
  Lock lock(mMutex);
  while (runNextThreadTask(lock) || runNextTask(lock, mode)) {
  }
}

void WorldRunLoop::advance(double seconds) {
  letPass(seconds, [this] { pump(); });
}

void WorldRunLoop::run(double seconds) {
  letPass(seconds, [this] { pumpWithThreads(); });
}

template <class Moment>
void WorldRunLoop::letPass(double seconds, Moment atEachMoment) {
  atEachMoment();
  Lock lock(mMutex);
  const auto end = mElapsed + std::max(seconds, 0.0);
  for (auto next = mQueue.nextMoment(); next && *next <= end; next = mQueue.nextMoment()) {
    moveTo(std::max(mElapsed, *next));
    lock.unlock();
    atEachMoment();
    lock.lock();
  }
  moveTo(std::max(mElapsed, end));
}

void WorldRunLoop::pumpWithThreads() {
  const auto hasThreadsToStart = [this] {
    const std::scoped_lock lock(mMutex);
    return !mNotStarted.empty();
  };
  for (pump(); hasThreadsToStart(); pump()) runDetachedThreads();
}

void WorldRunLoop::runDetachedThreads() {
  Lock lock(mMutex);
  while (!mNotStarted.empty()) {
    auto body = std::move(mNotStarted.front());
    mNotStarted.pop_front();
    start(std::move(body));
    lock.unlock();
    settle();
    lock.lock();
  }
}

void WorldRunLoop::settle() {
  const auto limit = std::chrono::steady_clock::now() + kLongestSettling;
  Lock lock(mMutex);
  while (true) {
    const auto something = [this] { return mRunning == 0 || !mThreadTasks.empty(); };
    if (!mChanged.wait_until(lock, limit, something)) {
      throw std::runtime_error("a thread of the world does not come to rest");
    }
    if (!runNextThreadTask(lock)) return;
  }
}

void WorldRunLoop::post(std::function<void()> task) {
  const std::scoped_lock lock(mMutex);
  mQueue.post(std::move(task));
}

void WorldRunLoop::signal(std::shared_ptr<RunLoopSource> source, std::function<void()> task) {
  const std::scoped_lock lock(mMutex);
  mQueue.signal(std::move(source), std::move(task));
}

bool WorldRunLoop::onMainThread() const { return std::this_thread::get_id() == mMainThread; }

void WorldRunLoop::start(std::function<void()> body) {
  std::erase_if(mThreads, [](Thread& thread) {
    if (thread.ended) thread.handle.join();
    return thread.ended;
  });
  ++mRunning;
  auto& thread = mThreads.emplace_back();
  thread.handle = std::thread(
      [this, body = std::move(body), &thread]() mutable { runBody(std::move(body), thread); });
}

void WorldRunLoop::runBody(std::function<void()> body, Thread& thread) {
  try {
    std::exchange(body, nullptr)();
  } catch (const ThreadEnd&) {
    return;
  }
  const std::scoped_lock lock(mMutex);
  --mRunning;
  thread.ended = true;
  mChanged.notify_all();
}

void WorldRunLoop::wait(Lock& lock, const std::shared_ptr<Waiting>& waiting) {
  mChanged.wait(lock, [&] { return waiting->over || mEnding; });
  if (!waiting->over) throw ThreadEnd();
}

void WorldRunLoop::moveTo(double moment) {
  mClock.set(mClock.now() + std::chrono::duration<double>(moment - mElapsed));
  mElapsed = moment;
}

/// Lets a thread go on that sleeps, unless it has ended meanwhile.
void WorldRunLoop::wakeUp(const std::shared_ptr<Waiting>& sleeper) {
  if (sleeper == nullptr) return;
  Lock lock(mMutex);
  sleeper->over = true;
  ++mRunning;
  mChanged.notify_all();
  const bool waitForThread = mThreadsRun == Threads::ByHand;
  lock.unlock();
  if (waitForThread) settle();
}

/// Runs the queue's next task, without the lock; false when there is none.
bool WorldRunLoop::runNextTask(Lock& lock, RunLoopMode mode) {
  auto task = mQueue.next(mode, mElapsed);
  if (!task.run) return false;
  lock.unlock();
  task.run();
  task = {};
  lock.lock();
  return true;
}

/// Runs the first task that a thread waits for, without the lock; false when there is none.
bool WorldRunLoop::runNextThreadTask(Lock& lock) {
  if (mThreadTasks.empty()) return false;
  const auto waiting = std::move(mThreadTasks.front());
  mThreadTasks.pop_front();
  lock.unlock();
  waiting->task();
  lock.lock();
  waiting->over = true;
  mChanged.notify_all();
  return true;
}

}  // namespace gatehall
