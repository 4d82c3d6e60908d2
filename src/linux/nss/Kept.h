#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace gatehall::nss {

/// Answers that are good for a few seconds: a list of names is looked up at once, then each of the
/// records by itself. Times are in seconds. From one thread at a time.
template <class Content>
class Kept {
 public:
  std::optional<Content> find(const std::string& key, double now) const {
    const auto found = mAnswers.find(key);
    if (found == mAnswers.end() || !isGood(found->second.first, now)) return std::nullopt;
    return found->second.second;
  }

  void keep(const std::string& key, Content content, double now) {
    if (mAnswers.size() >= mRoom) {
      std::erase_if(mAnswers, [&](const auto& each) { return !isGood(each.second.first, now); });
      mRoom = std::max(kLeastRoom, 2 * mAnswers.size());
    }
    mAnswers.insert_or_assign(key, std::pair(now, std::move(content)));
  }

  void drop() { mAnswers.clear(); }

  /// Clocks are set back, too.
  static bool isGood(double time, double now) { return std::abs(now - time) < kGoodSeconds; }

 private:
  static constexpr double kGoodSeconds = 5;
  static constexpr std::size_t kLeastRoom = 1024;

  std::unordered_map<std::string, std::pair<double, Content>> mAnswers;
  std::size_t mRoom = kLeastRoom;
};

}  // namespace gatehall::nss
