#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

namespace gatehall::service {

/// How many of something there may be at once, of one user id and of all. On one thread.
class Places {
 public:
  /// Taken for as long as it, or a copy of it, lives.
  using Place = std::shared_ptr<void>;

  Places(std::size_t ofOne, std::size_t inAll) : mOfOne(ofOne), mInAll(inAll) {}

  /// nullptr when there is none left.
  Place take(std::uint32_t userID);

  std::size_t taken() const { return mTaken->all; }

 private:
  struct Taken {
    std::map<std::uint32_t, std::size_t> ofOne;
    std::size_t all = 0;
  };

  const std::size_t mOfOne;
  const std::size_t mInAll;
  const std::shared_ptr<Taken> mTaken = std::make_shared<Taken>();
};

}  // namespace gatehall::service
