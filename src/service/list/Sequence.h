#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "service/list/Published.h"

namespace gatehall::service {

/// The states of a list, one after another, with their serials, which begin elsewhere in each
/// sequence, so that a serial of another one is none of this.
class Sequence {
 public:
  /// The serial of the first state is random.
  Sequence();

  /// Absent when the list is as it was.
  std::optional<Published> next(ListedUsers users);

  /// As they are in the last state; nullptr before the first.
  const std::shared_ptr<const ListedUsers>& users() const { return mUsers; }

 private:
  std::uint64_t mSerial;
  std::shared_ptr<const ListedUsers> mUsers;
};

}  // namespace gatehall::service
