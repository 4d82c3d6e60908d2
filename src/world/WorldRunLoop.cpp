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
  std::erase_if(mDue, [](const auto& due) { return due.second.sleeper != nullptr; });
  mRunning = 0;
  mEnding = false;
}

void WorldRunLoop::performAfterDelay(double seconds, std::function<void()> task) {
  const std::scoped_lock lock(mMutex);
  mDue.emplace(std::pair(mElapsed + std::max(seconds, 0.0), mRequests++),
               Due{std::move(task), nullptr});
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
  mDue.emplace(std::pair(moment, mRequests++), Due{nullptr, waiting});
  --mRunning;
  mChanged.notify_all();
  wait(lock, waiting);
}

void WorldRunLoop::addSource(std::shared_ptr<RunLoopSource> source, RunLoopMode mode) {
  const std::scoped_lock lock(mMutex);
  if (!isInMode(source, mode)) mSources.emplace_back(std::move(source), mode);
}

void WorldRunLoop::removeSource(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) {
  const std::scoped_lock lock(mMutex);
  std::erase(mSources, std::pair(source, mode));
}

void WorldRunLoop::setThreads(Threads threads) {
  const std::scoped_lock lock(mMutex);
  mThreadsRun = threads;
}

void WorldRunLoop::pump(RunLoopMode mode) {
  Lock lock(mMutex);
  while (runNextThreadTask(lock) || runNextTask(lock, mode) || runNextDue(lock)) {
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
  while (!mDue.empty() && mDue.begin()->first.first <= end) {
    moveTo(std::max(mElapsed, mDue.begin()->first.first));
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
  mTasks.push_back({std::move(task), nullptr});
}

void WorldRunLoop::signal(std::shared_ptr<RunLoopSource> source, std::function<void()> task) {
  const std::scoped_lock lock(mMutex);
  if (!isInMode(source, RunLoopMode::Default) && !isInMode(source, RunLoopMode::Common)) return;
  mTasks.push_back({std::move(task), std::move(source)});
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

bool WorldRunLoop::isInMode(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) const {
  return std::ranges::find(mSources, std::pair(source, mode)) != mSources.end();
}

/// Runs the first task that is heard in the mode, without the lock; false when there is none.
bool WorldRunLoop::runNextTask(Lock& lock, RunLoopMode mode) {
  std::erase_if(mTasks, [this](const Task& task) {
    return task.source != nullptr && !isInMode(task.source, RunLoopMode::Default) &&
           !isInMode(task.source, RunLoopMode::Common);
  });
  const auto next = std::ranges::find_if(mTasks, [&](const Task& task) {
    return task.source == nullptr || mode == RunLoopMode::Default ||
           isInMode(task.source, RunLoopMode::Common);
  });
  if (next == mTasks.end()) return false;
  const auto task = std::move(*next);
  mTasks.erase(next);
  lock.unlock();
  task.run();
  lock.lock();
  return true;
}

/// Lets the first thing happen whose moment has come, without the lock; false when there is none.
bool WorldRunLoop::runNextDue(Lock& lock) {
  if (mDue.empty() || mDue.begin()->first.first > mElapsed) return false;
  const auto due = std::move(mDue.begin()->second);
  mDue.erase(mDue.begin());
  if (due.sleeper != nullptr) {
    due.sleeper->over = true;
    ++mRunning;
    mChanged.notify_all();
  }
  const bool waitForThread = due.sleeper != nullptr && mThreadsRun == Threads::ByHand;
  lock.unlock();
  if (due.task) due.task();
  if (waitForThread) settle();
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
