#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "service/list/Published.h"

namespace gatehall::service {

/// The state of the list that is told to others, and what changed before. On one thread.
class History {
 public:
  using Changes = std::shared_ptr<const std::vector<ListChange>>;

  /// So many changes are told at once; of more nothing is kept.
  static constexpr std::size_t kMostChanges = 1000;
  /// So many states back it is known what changed.
  static constexpr std::size_t kMostStates = 32;

  void add(Published state);

  /// 0 without a list.
  std::uint64_t serial() const { return mSerial; }

  /// nullptr without a list.
  const std::shared_ptr<const ListedUsers>& users() const { return mUsers; }

  /// What changed since the state with that serial; nullptr when that isn't known, or is too much.
  Changes since(std::uint64_t serial);

 private:
  std::uint64_t mSerial = 0;
  std::shared_ptr<const ListedUsers> mUsers;
  std::deque<std::vector<ListChange>> mSteps;  ///< each to a state, the last to the present one
  std::size_t mCount = 0;                      ///< changes in all of them
  std::map<std::uint64_t, Changes> mKnown;     ///< what was asked for since the last state
};

/// What is told to those who may know login hours, and what to all others.
struct Histories {
  History withHours;
  History withoutHours;

  History& of(Hours hours) { return hours == Hours::Told ? withHours : withoutHours; }
};

}  // namespace gatehall::service
