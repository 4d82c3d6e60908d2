#include "linux/pam/Passage.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "gatehall/base/PlatformException.h"

namespace gatehall::pam {

namespace {

constexpr std::size_t kMostStates = 100000;

/// What libpam makes of the answers so far.
struct Opinion {
  enum class Impression : std::uint8_t { None, Positive, Negative };
  enum class Status : std::uint8_t { Success, NewAuthtokReqd, Failure };

  Impression impression = Impression::None;
  Status status = Status::Failure;

  bool operator<(const Opinion& other) const {
    return std::tie(impression, status) < std::tie(other.impression, other.status);
  }

  /// A password that has to be changed first is told whatever else is thought of the account.
  bool admits() const {
    return status == Status::NewAuthtokReqd ||
           (status == Status::Success && impression == Impression::Positive);
  }
};

using Impression = Opinion::Impression;
using Status = Opinion::Status;

/// Somewhere on the way.
struct State {
  std::size_t at = 0;  ///< the entry that comes next
  std::size_t previousLevel = 0;
  Opinion opinion{};
  std::vector<Opinion> before{{}};  ///< at the beginning of the substack of each level
  bool isAsked = false;             ///< a guard
  bool isRefused = false;           ///< by a guard

  bool operator<(const State& other) const { return parts() < other.parts(); }

  std::tuple<const std::size_t&, const std::size_t&, const Opinion&, const std::vector<Opinion>&,
             const bool&, const bool&>
  parts() const {
    return std::tie(at, previousLevel, opinion, before, isAsked, isRefused);
  }
};

/// How a state came about.
struct Step {
  std::size_t from = 0;   ///< the number of a state
  std::size_t entry = 0;  ///< that answered; there may have been none
  std::size_t result = 0;
};

Status statusOf(std::size_t result) {
  if (result == kSuccess) return Status::Success;
  return result == kNewAuthtokReqd ? Status::NewAuthtokReqd : Status::Failure;
}

class Walk {
 public:
  Walk(const std::vector<Entry>& entries, const std::function<bool(const Entry&)>& isGuard)
      : mEntries(entries) {
    for (const auto& entry : entries) {
      mIsGuard.push_back(entry.kind == Entry::Kind::Module && isGuard(entry));
    }
  }

  Passage run() {
    reach(State(), {});
    Passage passage;
    bool isAnyAdmitted = false;
    // The states that are found on the way are appended.
    for (std::size_t number = 0; number < mStates.size(); ++number) {
      const auto state = *mStates[number];
      if (state.at < mEntries.size()) {
        leave(number, state);
        continue;
      }
      if (!state.opinion.admits()) continue;
      isAnyAdmitted = true;
      if (passage.gap || (state.isAsked && !state.isRefused)) continue;
      passage.gap = gapAtEnd(number);
    }
    const bool isGuardThere = std::ranges::find(mIsGuard, true) != mIsGuard.end();
    if (!isAnyAdmitted) return {.guard = Guard::Shut};
    if (!isGuardThere) return {.guard = Guard::NotGuarded};
    passage.guard = passage.gap ? Guard::Partly : Guard::Guarded;
    return passage;
  }

 private:
  void reach(State state, Step step) {
    const auto [place, isNew] = mNumbers.emplace(std::move(state), mStates.size());
    if (!isNew) return;
    if (mStates.size() == kMostStates) {
      throw PlatformException("There are too many ways through the stack.");
    }
    mStates.push_back(&place->first);
    mSteps.push_back(step);
  }

  void leave(std::size_t number, State state) {
    const auto& entry = mEntries[state.at];
    const auto level = entry.level;
    if (state.previousLevel < level) {
      state.before.resize(level);
      state.before.push_back(state.opinion);
    }
    state.previousLevel = level;
    state.before.resize(std::min(state.before.size(), level + 1));
    if (entry.kind == Entry::Kind::Substack) {
      auto next = std::move(state);
      ++next.at;
      reach(std::move(next), {number, mEntries.size(), 0});
      return;
    }
    // The answer that is told of a guard, where more than one makes a gap, is the usual refusal.
    const auto first = mIsGuard[state.at] ? kPermDenied : 0;
    for (std::size_t count = 0; count < kResults.size(); ++count) {
      const auto result = (first + count) % kResults.size();
      if (mayAnswer(state.at, result)) {
        reach(after(state, result), {number, state.at, result});
      }
    }
  }

  bool mayAnswer(std::size_t number, std::size_t result) const {
    const auto& entry = mEntries[number];
    if (entry.kind == Entry::Kind::Failure) return result == kPermDenied;
    if (result == kIncomplete) return false;  // the service has to ask again
    if (mIsGuard[number] && result == kNewAuthtokReqd) return false;
    if (entry.module == "pam_permit.so") return result == kSuccess;
    if (entry.module == "pam_deny.so")
      return statusOf(result) == Status::Failure && result != kIgnore;
    return true;
  }

  bool isRefusal(std::size_t number, std::size_t result) const {
    return mIsGuard[number] && result != kSuccess && result != kIgnore;
  }

  /// As _pam_dispatch_aux of libpam goes on.
  State after(State state, std::size_t result) const {
    const auto number = state.at;
    const auto& entry = mEntries[number];
    const int action = entry.control[result];
    auto& opinion = state.opinion;
    if (mIsGuard[number]) state.isAsked = true;
    if (isRefusal(number, result)) state.isRefused = true;
    bool isDecided = false;
    std::size_t last = number;
    switch (action) {
      case Ignore:
        break;
      case Reset:
        opinion = state.before[entry.level];
        break;
      case Ok:
      case Done:
        if (opinion.impression == Impression::None ||
            (opinion.impression == Impression::Positive && opinion.status == Status::Success)) {
          opinion = {Impression::Positive, statusOf(result)};
        }
        isDecided = action == Done && opinion.impression == Impression::Positive;
        break;
      case Bad:
      case Die:
        if (opinion.impression != Impression::Negative) {
          opinion = {Impression::Negative, statusOf(result)};
        }
        isDecided = action == Die;
        break;
      default:
        int left = action;
        last = jump(number, left);
        if (left != 0) opinion = {Impression::Negative, Status::Failure};
    }
    if (isDecided) last = lastOfLevel(number);
    state.previousLevel = mEntries[last].level;
    state.at = last + 1;
    return state;
  }

  /// The last entry of the stack or substack that the entry is in.
  std::size_t lastOfLevel(std::size_t number) const {
    const auto level = mEntries[number].level;
    while (number + 1 < mEntries.size() && mEntries[number + 1].level >= level) ++number;
    return number;
  }

  /// The last entry that is jumped over in that stack or substack; how many more should be is left.
  std::size_t jump(std::size_t number, int& left) const {
    const auto level = mEntries[number].level;
    const auto levelOfNext = [&] { return mEntries[number + 1].level; };
    for (; left > 0; --left) {
      if (number + 1 == mEntries.size() || levelOfNext() < level) break;
      ++number;
      while (number + 1 < mEntries.size() && levelOfNext() > level) ++number;
    }
    return number;
  }

  /// Goes back from an end at which somebody is admitted, to the step that went over a guard, or on
  /// which a refusal was lost.
  Passage::Gap gapAtEnd(std::size_t number) const {
    const bool isAsked = mStates[number]->isAsked;
    bool isRefused = false;
    Step found;
    for (auto step = mSteps[number]; number != 0; number = step.from, step = mSteps[number]) {
      if (step.entry == mEntries.size()) continue;
      const auto action = mEntries[step.entry].control[step.result];
      const bool isBad = action == Bad || action == Die;
      if (!isAsked && skipsGuard(step.entry, mStates[number]->at)) return gapOf(step, true);
      if (isRefusal(step.entry, step.result)) {
        if (!isBad) return gapOf(step, false);
        isRefused = true;
      }
      // A refusal that counts is forgotten later on, or came after what stays the answer.
      const bool forgets = action == Reset && !isRefused;
      const bool stays = isBad && step.result == kNewAuthtokReqd && isRefused;
      if (isAsked && (forgets || stays)) found = step;
    }
    return gapOf(found, false);
  }

  bool skipsGuard(std::size_t from, std::size_t to) const {
    for (auto number = from + 1; number < to; ++number) {
      if (mIsGuard[number]) return true;
    }
    return false;
  }

  Passage::Gap gapOf(const Step& step, bool isPassedBy) const {
    return {mEntries[step.entry], kResults[step.result], isPassedBy};
  }

  const std::vector<Entry>& mEntries;
  std::vector<bool> mIsGuard;
  std::map<State, std::size_t> mNumbers;
  std::vector<const State*> mStates;
  std::vector<Step> mSteps;
};

}  // namespace

Passage passageThrough(const Stack& stack, const std::function<bool(const Entry&)>& isGuard) {
  return Walk(stack.entries, isGuard).run();
}

}  // namespace gatehall::pam
