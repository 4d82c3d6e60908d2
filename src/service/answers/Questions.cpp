#include "service/answers/Questions.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace gatehall::service {

namespace {

using Clock = std::chrono::steady_clock;

/// How long a thread waits for more to do before it ends.
constexpr std::chrono::seconds kLongestWait{10};

constexpr const char* kLimitsExceeded = "org.freedesktop.DBus.Error.LimitsExceeded";
constexpr const char* kTimeout = "org.freedesktop.DBus.Error.Timeout";

/// An answer that is wanted, for one question or several equal ones.
struct Work {
  Question question;
  bool isBegun = false;
};

struct Asker {
  std::uint32_t userID;
  std::string client;
  Questions::Answered answered;
  Clock::time_point until;
  std::shared_ptr<Work> work;
};

/// A user id with questions, or with answers that are worked on in its turn.
struct Caller {
  std::deque<std::shared_ptr<Work>> waiting{};
  std::size_t asked = 0;
  std::size_t running = 0;

  bool isGone() const { return asked == 0 && running == 0; }
};

}  // namespace

struct Questions::State {
  State(Answering answers, QuestionLimits most) : answering(std::move(answers)), limits(most) {}

  const Answering answering;
  const QuestionLimits limits;

  mutable std::mutex mutex{};
  std::condition_variable workIsThere{};
  std::condition_variable someoneAsks{};
  bool isEnding = false;
  std::list<Asker> askers{};  ///< in the order in which they asked
  std::map<std::uint32_t, Caller> callers{};
  std::deque<std::uint32_t> turns{};  ///< of the user ids with something that waits
  std::vector<std::shared_ptr<Work>> running{};
  std::size_t telling = 0;  ///< threads that tell answers
  std::list<std::thread> workers{};
  std::list<std::thread> ended{};
  std::size_t idle = 0;   ///< workers that wait
  std::size_t woken = 0;  ///< of them, those that are called
  std::thread timekeeper{};
  bool hasNoTime = false;  ///< the timekeeper waits for somebody who asks

  // With the mutex held.

  bool isOver(std::uint32_t userID) const {
    const auto caller = callers.find(userID);
    return askers.size() >= limits.askedInAll ||
           (caller != callers.end() && caller->second.asked >= limits.asked);
  }

  /// The answer to an equal question, if none has begun to look for it.
  std::shared_ptr<Work> waitingFor(const Question& question) const {
    const auto found = std::ranges::find_if(askers, [&](const Asker& asker) {
      return !asker.work->isBegun && asker.work->question == question;
    });
    return found == askers.end() ? nullptr : found->work;
  }

  void add(Asker asker) {
    auto& caller = callers[asker.userID];
    ++caller.asked;
    if (std::ranges::find(caller.waiting, asker.work) == caller.waiting.end()) {
      caller.waiting.push_back(asker.work);
    }
    if (std::ranges::find(turns, asker.userID) == turns.end()) turns.push_back(asker.userID);
    askers.push_back(std::move(asker));
  }

  /// Drops an asker; what nobody wants any more is not begun.
  std::list<Asker>::iterator remove(std::list<Asker>::iterator asker) {
    const auto userID = asker->userID;
    const auto work = std::move(asker->work);
    const auto next = askers.erase(asker);
    const auto caller = callers.find(userID);
    --caller->second.asked;
    if (std::ranges::none_of(askers, [&](const Asker& other) {
          return other.userID == userID && other.work == work;
        })) {
      std::erase(caller->second.waiting, work);
    }
    if (caller->second.isGone()) forgetCaller(caller);
    return next;
  }

  void forgetCaller(std::map<std::uint32_t, Caller>::iterator caller) {
    std::erase(turns, caller->first);
    callers.erase(caller);
  }

  bool isRunning(const Question& question) const {
    return std::ranges::any_of(running,
                               [&](const auto& work) { return work->question == question; });
  }

  /// A quarter of the places is for user ids of whom nothing is worked on: a few that ask much
  /// about a mute directory hold up nobody else.
  bool isNearlyFull() const {
    return running.size() >= limits.runningInAll - limits.runningInAll / 4;
  }

  /// What can be begun of a user id: of equal questions, one after the other.
  std::deque<std::shared_ptr<Work>>::iterator firstOf(Caller& caller) const {
    std::erase_if(caller.waiting, [](const auto& work) { return work->isBegun; });
    if (caller.running >= limits.running || (caller.running > 0 && isNearlyFull())) {
      return caller.waiting.end();
    }
    return std::ranges::find_if(caller.waiting,
                                [this](const auto& work) { return !isRunning(work->question); });
  }

  bool hasNext() {
    return running.size() < limits.runningInAll &&
           std::ranges::any_of(turns, [this](std::uint32_t userID) {
             auto& caller = callers.at(userID);
             return firstOf(caller) != caller.waiting.end();
           });
  }

  struct Turn {
    std::uint32_t userID;
    std::shared_ptr<Work> work;
  };

  /// Begins what comes next; absent when nothing can be begun.
  std::optional<Turn> takeNext() {
    if (running.size() >= limits.runningInAll) return std::nullopt;
    for (auto turn = turns.begin(); turn != turns.end();) {
      const auto userID = *turn;
      auto& caller = callers.at(userID);
      const auto next = firstOf(caller);
      if (next == caller.waiting.end()) {
        turn = caller.waiting.empty() ? turns.erase(turn) : std::next(turn);
        continue;
      }
      auto work = std::move(*next);
      caller.waiting.erase(next);
      turns.erase(turn);
      if (!caller.waiting.empty()) turns.push_back(userID);
      work->isBegun = true;
      ++caller.running;
      running.push_back(work);
      return Turn{userID, std::move(work)};
    }
    return std::nullopt;
  }

  /// Who is answered by it: they are no askers any more.
  std::vector<Answered> finish(const Turn& turn) {
    std::erase(running, turn.work);
    std::vector<Answered> answered;
    for (auto asker = askers.begin(); asker != askers.end();) {
      if (asker->work != turn.work) {
        ++asker;
        continue;
      }
      answered.push_back(std::move(asker->answered));
      asker = remove(asker);
    }
    const auto caller = callers.find(turn.userID);
    --caller->second.running;
    if (caller->second.isGone()) forgetCaller(caller);
    return answered;
  }

  /// Has a thread begin what can be begun. False when there is none and none can be had.
  bool provideThread() {
    if (isEnding || !hasNext()) return true;
    if (idle > woken) {
      ++woken;
      workIsThere.notify_one();
      return true;
    }
    if (workers.size() >= limits.runningInAll) return true;
    for (auto& thread : ended) thread.join();
    ended.clear();
    try {
      workers.emplace_back();
      workers.back() = std::thread([this, own = std::prev(workers.end())] { work(own); });
      return true;
    } catch (const std::system_error&) {
      workers.pop_back();
      return !workers.empty();
    }
  }

  // Without it.

  void work(std::list<std::thread>::iterator own) {
    std::unique_lock lock(mutex);
    while (!isEnding) {
      if (const auto turn = takeNext()) {
        provideThread();
        lock.unlock();
        const auto answer = answering(turn->work->question);
        lock.lock();
        const auto answered = finish(*turn);
        ++telling;
        lock.unlock();
        for (const auto& each : answered) each(answer);
        lock.lock();
        --telling;
        continue;
      }
      ++idle;
      const bool isCalled =
          workIsThere.wait_for(lock, kLongestWait, [this] { return woken > 0 || isEnding; });
      --idle;
      if (woken > 0) --woken;
      if (!isCalled) break;
    }
    if (!isEnding) ended.splice(ended.end(), workers, own);
  }

  void keepTime() {
    std::unique_lock lock(mutex);
    while (!isEnding) {
      if (askers.empty()) {
        hasNoTime = true;
        someoneAsks.wait(lock, [this] { return !askers.empty() || isEnding; });
        hasNoTime = false;
        continue;
      }
      const auto until = askers.front().until;
      if (Clock::now() < until) {
        someoneAsks.wait_until(lock, until);
        continue;
      }
      const auto answered = std::move(askers.front().answered);
      remove(askers.begin());
      ++telling;
      lock.unlock();
      answered(Failure{kTimeout, "the answer takes too long"});
      lock.lock();
      --telling;
    }
  }
};

Questions::Questions(Answering answering, QuestionLimits limits)
    : mState(std::make_unique<State>(std::move(answering), limits)) {
  mState->timekeeper = std::thread([this] { mState->keepTime(); });
}

Questions::~Questions() {
  {
    const std::lock_guard lock(mState->mutex);
    mState->isEnding = true;
    mState->workIsThere.notify_all();
    mState->someoneAsks.notify_all();
  }
  mState->timekeeper.join();
  for (auto* threads : {&mState->workers, &mState->ended}) {
    for (auto& thread : *threads) thread.join();
  }
}

void Questions::ask(std::uint32_t callerUserID, std::string client, Question question,
                    Answered answered) {
  question.ownUserID = question.mayKnowHours ? std::nullopt : std::optional(callerUserID);
  std::unique_lock lock(mState->mutex);
  if (mState->isOver(callerUserID)) {
    lock.unlock();
    answered(Failure{kLimitsExceeded, "too many questions wait for an answer"});
    return;
  }
  auto work = mState->waitingFor(question);
  if (!work) {
    work = std::make_shared<Work>();
    work->question = std::move(question);
  }
  mState->add({.userID = callerUserID,
               .client = std::move(client),
               .answered = std::move(answered),
               .until = Clock::now() + mState->limits.longest,
               .work = std::move(work)});
  if (mState->hasNoTime) mState->someoneAsks.notify_one();
  if (mState->provideThread()) return;
  const auto own = std::prev(mState->askers.end());
  const auto refused = std::move(own->answered);
  mState->remove(own);
  lock.unlock();
  refused(Failure{kLimitsExceeded, "there is no thread for an answer"});
}

void Questions::forget(const std::string& client) {
  std::vector<Answered> forgotten;  // ended without the lock
  const std::lock_guard lock(mState->mutex);
  for (auto asker = mState->askers.begin(); asker != mState->askers.end();) {
    if (asker->client != client) {
      ++asker;
      continue;
    }
    forgotten.push_back(std::move(asker->answered));
    asker = mState->remove(asker);
  }
}

bool Questions::isIdle() const {
  const std::lock_guard lock(mState->mutex);
  return mState->askers.empty() && mState->running.empty() && mState->telling == 0;
}

}  // namespace gatehall::service
