#include "ctl/watch/UserListChanges.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace gatehall::ctl {

namespace {

/// What a user is known by from one list to the next, with a number for those who share it.
class Identities {
 public:
  std::string next(const Json& user) {
    const auto& guid = user.at("guid");
    auto identity = guid.is_string() ? guid.get<std::string>()
                                     : user.at("uid").dump() + " " + user.at("shortName").dump();
    const auto count = ++mCounts[identity];
    return identity + " " + std::to_string(count);
  }

 private:
  std::unordered_map<std::string, unsigned> mCounts;
};

std::vector<std::string> identitiesOf(const Json& users) {
  Identities identities;
  std::vector<std::string> all;
  for (const auto& user : users) all.push_back(identities.next(user));
  return all;
}

/// Which of the numbers are outside of their longest ascending subsequence.
std::unordered_set<std::size_t> outOfOrder(const std::vector<std::size_t>& numbers) {
  // For each length, the index of the smallest number that ends an ascending sequence of it.
  std::vector<std::size_t> ends;
  std::vector<std::size_t> before(numbers.size());
  constexpr auto none = static_cast<std::size_t>(-1);
  for (std::size_t index = 0; index < numbers.size(); ++index) {
    const auto place = std::ranges::lower_bound(ends, numbers[index], {},
                                                [&](std::size_t end) { return numbers[end]; });
    before[index] = place == ends.begin() ? none : *(place - 1);
    if (place == ends.end()) {
      ends.push_back(index);
    } else {
      *place = index;
    }
  }
  std::unordered_set<std::size_t> moved(numbers.begin(), numbers.end());
  for (auto index = ends.empty() ? none : ends.back(); index != none; index = before[index]) {
    moved.erase(numbers[index]);
  }
  return moved;
}

Json differences(const Json& before, const Json& after) {
  auto was = Json::object();
  for (const auto& [key, value] : before.items()) {
    if (after.at(key) != value) was[key] = value;
  }
  return was;
}

}  // namespace

std::vector<UserListChange> changesBetween(const Json& before, const Json& after) {
  const auto earlier = identitiesOf(before);
  const auto later = identitiesOf(after);
  std::unordered_map<std::string, std::size_t> indexes;
  for (std::size_t index = 0; index < earlier.size(); ++index) indexes[earlier[index]] = index;
  std::vector<std::size_t> stayed;
  for (const auto& identity : later) {
    if (const auto found = indexes.find(identity); found != indexes.end()) {
      stayed.push_back(found->second);
    }
  }

  std::vector<UserListChange> changes;
  const std::unordered_set<std::size_t> kept(stayed.begin(), stayed.end());
  for (std::size_t index = 0; index < earlier.size(); ++index) {
    if (kept.contains(index)) continue;
    changes.push_back({UserListChange::Kind::Removed, index + 1, before[index], nullptr});
  }
  const auto moved = outOfOrder(stayed);
  for (std::size_t index = 0; index < later.size(); ++index) {
    const auto found = indexes.find(later[index]);
    if (found == indexes.end()) {
      changes.push_back({UserListChange::Kind::Added, index + 1, after[index], nullptr});
      continue;
    }
    auto was = differences(before[found->second], after[index]);
    if (moved.contains(found->second)) was["position"] = found->second + 1;
    if (was.empty()) continue;
    changes.push_back({UserListChange::Kind::Changed, index + 1, after[index], std::move(was)});
  }
  return changes;
}

}  // namespace gatehall::ctl
