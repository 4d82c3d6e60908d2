#include "platform/linux/GroupNames.h"

#include "platform/linux/AccountFiles.h"

namespace gatehall {

namespace {

/// Who asks only once or twice finds out as fast without them.
constexpr unsigned kQuestionsUntilNamesPay = 4;

constexpr std::chrono::milliseconds kLookingAgain{10};

/// A file that changed so lately may change again without its times showing it, so that it is read
/// again instead.
constexpr std::chrono::seconds kUntilTimesTell{2};

bool areEqual(const timespec& left, const timespec& right) {
  return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

}  // namespace

bool GroupNames::mayHold(std::string_view name) {
  const std::lock_guard lock(mMutex);
  if (mQuestions < kQuestionsUntilNamesPay) {
    ++mQuestions;
    return true;
  }
  const auto now = std::chrono::steady_clock::now();
  if (mState && now - mLooked < kLookingAgain) return mNames.contains(name);
  const auto state = presentState();
  if (!state) return true;
  mLooked = now;
  if (!isKept(*state) || !mTimesTell) {
    const std::chrono::duration<double> changed(static_cast<double>(state->changed.tv_sec));
    mTimesTell = Date(changed + kUntilTimesTell) <= mClock.now();
    read(*state);
  }
  return !mState || mNames.contains(name);
}

std::optional<GroupNames::State> GroupNames::presentState() const {
  struct stat status {};
  const auto path = mOptions.root + std::string(accountFiles::kGroup);
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return State{status.st_dev, status.st_ino, status.st_size, status.st_mtim, status.st_ctim};
}

bool GroupNames::isKept(const State& state) const {
  return mState && mState->device == state.device && mState->inode == state.inode &&
         mState->size == state.size && areEqual(mState->modified, state.modified) &&
         areEqual(mState->changed, state.changed);
}

void GroupNames::read(const State& state) {
  mNames.clear();
  const int error =
      accountFiles::scan(mOptions, mFaults, accountFiles::kGroup, [&](std::string_view line, auto) {
        mNames.emplace(accountLine::name(line));
        return true;
      });
  // What was read is of that state only if the file is still in it.
  const auto present = presentState();
  mState = state;
  if (error != 0 || !present || !isKept(*present)) mState.reset();
}

}  // namespace gatehall
