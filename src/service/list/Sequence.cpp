#include "service/list/Sequence.h"

#include <random>
#include <utility>

namespace gatehall::service {

Sequence::Sequence() {
  constexpr std::uint64_t kBound = std::uint64_t{1} << 52U;
  std::random_device device;
  mSerial = std::uniform_int_distribution<std::uint64_t>(1, kBound - 1)(device);
}

std::optional<Published> Sequence::next(ListedUsers users) {
  std::vector<ListChange> changes;
  if (mUsers) {
    changes = changesBetween(*mUsers, users);
    if (changes.empty()) return std::nullopt;
    ++mSerial;
  }
  mUsers = std::make_shared<const ListedUsers>(std::move(users));
  return Published{mSerial, mUsers, std::move(changes)};
}

}  // namespace gatehall::service
