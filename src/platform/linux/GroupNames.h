#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unordered_set>

#include "platform/Clock.h"
#include "platform/linux/FaultLog.h"
#include "platform/linux/HostOptions.h"

namespace gatehall {

/// The names that stand in /etc/group, kept for as long as the file stays as it is, so that a group
/// that is not there, which an access list mostly is, isn't searched for in it every time. A change
/// is noticed within a hundredth of a second. From any thread.
class GroupNames {
 public:
  GroupNames(const HostOptions& options, FaultLog& faults, Clock& clock)
      : mOptions(options), mFaults(faults), mClock(clock) {}

  /// False when the file as it is now has no line of that name. True when it has one, and when that
  /// is not known.
  bool mayHold(std::string_view name);

 private:
  /// What tells one state of the file from another.
  struct State {
    dev_t device;
    ino_t inode;
    off_t size;
    timespec modified;
    timespec changed;
  };

  std::optional<State> presentState() const;
  bool isKept(const State& state) const;
  void read(const State& state);

  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>()(text);
    }
  };

  const HostOptions& mOptions;
  FaultLog& mFaults;
  Clock& mClock;
  std::mutex mMutex;
  unsigned mQuestions = 0;
  std::optional<State> mState;                    ///< that the names are of
  bool mTimesTell = false;                        ///< that the file is still in that state
  std::chrono::steady_clock::time_point mLooked;  ///< when the file was last in that state
  std::unordered_set<std::string, Hash, std::equal_to<>> mNames;
};

}  // namespace gatehall
