#include "linux/loop/MainLoop.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <signal.h>
#include <sys/eventfd.h>
#include <system_error>
#include <utility>

#include "gatehall/base/PlatformException.h"

namespace gatehall {

namespace {

/// So much one dispatch does at most before the program's own loop has its turn.
constexpr int kMostAtOnce = 64;

/// Some thirty years: what waits longer than that waits for good.
constexpr double kLongestWait = 1e9;

/// Ends a thread whose loop goes.
class ThreadEnd {};

thread_local const MainLoop* loopOfThread = nullptr;

std::chrono::nanoseconds duration(double seconds) {
  const double wait = std::isnan(seconds) ? 0.0 : std::clamp(seconds, 0.0, kLongestWait);
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(wait));
}

/// Threads that start in this scope leave the process's signals to the program's own.
class SignalsHeldBack {
 public:
  SignalsHeldBack() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &mBefore);
  }
  ~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

 private:
  sigset_t mBefore{};
};

int eventFile() {
  const int file = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (file < 0) {
    throw PlatformException("Unable to make a run loop: " + std::generic_category().message(errno));
  }
  return file;
}

}  // namespace

MainLoop::MainLoop(std::thread::id mainThread, std::function<void(EventLoop&)> start)
    : mMainThread(mainThread), mStart(std::move(start)), mWakeUp(eventFile()) {}

MainLoop::~MainLoop() { endThreads(); }

void MainLoop::performAfterDelay(double seconds, std::function<void()> task) {
  {
    const std::scoped_lock lock(mMutex);
    mQueue.postAt(std::chrono::steady_clock::now() + duration(seconds), std::move(task));
  }
  wake();
}

void MainLoop::performOnMainThreadAndWait(std::function<void()> task) {
  if (onMainThread()) return task();
  const bool isOwn = loopOfThread == this;
  const auto waiting = std::make_shared<Waiting>(Waiting{std::move(task), isOwn});
  Lock lock(mMutex);
  mThreadTasks.push_back(waiting);
  wake();
  mChanged.wait(lock, [&] { return waiting->over || (isOwn && mEnding); });
  if (!waiting->over) throw ThreadEnd();
}

void MainLoop::detachNewThread(std::function<void()> body) {
  const std::scoped_lock lock(mMutex);
  if (mEnding) return;
  std::erase_if(mThreads, [](Thread& thread) {
    if (thread.ended) thread.handle.join();
    return thread.ended;
  });
  auto& thread = mThreads.emplace_back();
  const SignalsHeldBack heldBack;
  try {
    thread.handle = std::thread(
        [this, body = std::move(body), &thread]() mutable { runBody(std::move(body), thread); });
  } catch (const std::system_error& error) {
    mThreads.pop_back();
    throw PlatformException(std::string("Unable to start a thread: ") + error.what());
  }
}

void MainLoop::runBody(std::function<void()> body, Thread& thread) {
  loopOfThread = this;
  try {
    std::exchange(body, nullptr)();
  } catch (const ThreadEnd&) {
    return;
  }
  const std::scoped_lock lock(mMutex);
  thread.ended = true;
}

void MainLoop::sleep(double seconds) {
  if (loopOfThread != this) return std::this_thread::sleep_for(duration(seconds));
  Lock lock(mMutex);
  if (mChanged.wait_for(lock, duration(seconds), [this] { return mEnding; })) throw ThreadEnd();
}

void MainLoop::addSource(std::shared_ptr<RunLoopSource> source, RunLoopMode mode) {
  const std::scoped_lock lock(mMutex);
  mQueue.addSource(std::move(source), mode);
}

void MainLoop::removeSource(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) {
  const std::scoped_lock lock(mMutex);
  mQueue.removeSource(source, mode);
}

int MainLoop::descriptor() {
  auto& events = drive();
  if (!events.arm()) wake();
  return events.descriptor();
}

void MainLoop::dispatch(RunLoopMode mode) {
  auto& events = drive();
  bool isAtRest = false;
  for (int done = 0; done < kMostAtOnce && !isAtRest; ++done) {
    const bool handled = events.step(EventLoop::Wait::No);
    isAtRest = !runNext(mode) && !handled;
  }
  events.wakeAt(nextMoment());
  if (!events.arm() || !isAtRest) wake();
}

void MainLoop::runUntilInterrupted() {
  auto& events = drive();
  const auto interrupt = events.whenSignalled(SIGINT, [this] { stop(); });
  const auto termination = events.whenSignalled(SIGTERM, [this] { stop(); });
  run();
}

void MainLoop::run() {
  auto& events = drive();
  while (!mStopped.exchange(false)) {
    const bool ran = runNext(RunLoopMode::Default);
    events.wakeAt(nextMoment());
    events.step(ran ? EventLoop::Wait::No : EventLoop::Wait::Forever);
  }
}

void MainLoop::stop() {
  mStopped = true;
  wake();
}

void MainLoop::post(std::function<void()> task) {
  {
    const std::scoped_lock lock(mMutex);
    mQueue.post(std::move(task));
  }
  wake();
}

void MainLoop::signal(std::shared_ptr<RunLoopSource> source, std::function<void()> task) {
  {
    const std::scoped_lock lock(mMutex);
    mQueue.signal(std::move(source), std::move(task));
  }
  wake();
}

void MainLoop::endThreads() {
  std::list<Thread> threads;
  {
    const std::scoped_lock lock(mMutex);
    mEnding = true;
    threads.swap(mThreads);
  }
  mChanged.notify_all();
  for (auto& thread : threads) thread.handle.join();
  const std::scoped_lock lock(mMutex);
  std::erase_if(mThreadTasks, [](const auto& each) { return each->isOwnThreads; });
  mEnding = false;
}

bool MainLoop::onMainThread() const { return std::this_thread::get_id() == mMainThread; }

void MainLoop::wake() const { eventfd_write(mWakeUp.number(), 1); }

EventLoop& MainLoop::drive() {
  if (mEvents) return *mEvents;
  auto events = std::make_unique<EventLoop>();
  mWakeUpSource = events->whenReadable(mWakeUp.number(), [this] {
    eventfd_t count = 0;
    eventfd_read(mWakeUp.number(), &count);
  });
  mEvents = std::move(events);
  mStart(*mEvents);
  return *mEvents;
}

std::optional<MainLoop::Moment> MainLoop::nextMoment() {
  const std::scoped_lock lock(mMutex);
  return mQueue.nextMoment();
}

/// A task that throws ends the process.
bool MainLoop::runNext(RunLoopMode mode) noexcept {
  Lock lock(mMutex);
  if (runNextThreadTask(lock)) return true;
  const auto task = mQueue.next(mode, std::chrono::steady_clock::now());
  lock.unlock();
  if (task.run) task.run();
  return task.run != nullptr;
}

/// Runs the first task that a thread waits for, without the lock, under which nothing that it holds
/// goes either; false when there is none.
bool MainLoop::runNextThreadTask(Lock& lock) {
  if (mThreadTasks.empty()) return false;
  const auto waiting = std::move(mThreadTasks.front());
  mThreadTasks.pop_front();
  lock.unlock();
  std::exchange(waiting->task, nullptr)();
  lock.lock();
  waiting->over = true;
  mChanged.notify_all();
  return true;
}

}  // namespace gatehall
