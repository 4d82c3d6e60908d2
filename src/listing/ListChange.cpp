#include "listing/ListChange.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace gatehall {

namespace {

constexpr auto kNone = static_cast<std::size_t>(-1);

/// What a user is known by from one list to the next, with a number for those who share it.
class Identities {
 public:
  std::string next(const ListedUser& user) {
    auto identity = user.guid ? *user.guid : std::to_string(user.uid);
    if (!user.guid) identity.append(user.shortName ? " " : "").append(user.shortName.value_or(""));
    const auto count = ++mCounts[identity];
    return identity.append(" ").append(std::to_string(count));
  }

 private:
  std::unordered_map<std::string, unsigned> mCounts;
};

/// The part of both lists that lies between what they share at their beginnings and ends.
struct Middle {
  Middle(const ListedUsers& earlier, const ListedUsers& later) : before(earlier), after(later) {
    const auto shortest = std::min(before.size(), after.size());
    while (start < shortest && before[start] == after[start]) ++start;
    std::size_t end = 0;
    while (end < shortest - start &&
           before[before.size() - 1 - end] == after[after.size() - 1 - end]) {
      ++end;
    }
    beforeEnd = before.size() - end;
    afterEnd = after.size() - end;
  }

  const ListedUsers& before;
  const ListedUsers& after;
  std::size_t start = 0;
  std::size_t beforeEnd = 0;
  std::size_t afterEnd = 0;
};

/// For each user of the middle afterwards the index before; kNone for one who is new.
std::vector<std::size_t> formerIndexes(const Middle& middle) {
  std::unordered_map<std::string, std::size_t> indexes;
  Identities earlier;
  for (auto index = middle.start; index < middle.beforeEnd; ++index) {
    indexes.emplace(earlier.next(*middle.before[index]), index);
  }
  std::vector<std::size_t> former;
  Identities later;
  for (auto index = middle.start; index < middle.afterEnd; ++index) {
    const auto found = indexes.find(later.next(*middle.after[index]));
    former.push_back(found == indexes.end() ? kNone : found->second);
  }
  return former;
}

/// Which of the numbers, kNone apart, are outside of their longest ascending subsequence.
std::unordered_set<std::size_t> outOfOrder(std::vector<std::size_t> numbers) {
  std::erase(numbers, kNone);
  // For each length, the index of the smallest number that ends an ascending sequence of it.
  std::vector<std::size_t> ends;
  std::vector<std::size_t> before(numbers.size());
  for (std::size_t index = 0; index < numbers.size(); ++index) {
    const auto place = std::ranges::lower_bound(ends, numbers[index], {},
                                                [&](std::size_t end) { return numbers[end]; });
    before[index] = place == ends.begin() ? kNone : *(place - 1);
    if (place == ends.end()) {
      ends.push_back(index);
    } else {
      *place = index;
    }
  }
  std::unordered_set<std::size_t> moved(numbers.begin(), numbers.end());
  for (auto index = ends.empty() ? kNone : ends.back(); index != kNone; index = before[index]) {
    moved.erase(numbers[index]);
  }
  return moved;
}

/// The place from which a change takes a user out, from 1; absent: it takes none out.
std::optional<std::size_t> leftBy(const ListChange& change) {
  return change.kind == ListChange::Kind::Removed ? change.position : change.formerPosition;
}

}  // namespace

bool isSameUser(const ListedUser& one, const ListedUser& other) {
  if (one.guid || other.guid) return one.guid == other.guid;
  return one.uid == other.uid && one.shortName == other.shortName;
}

std::optional<std::vector<std::optional<std::size_t>>> placesBefore(
    const std::vector<ListChange>& changes, std::size_t count) {
  std::vector<bool> leaves(count);
  for (const auto& change : changes) {
    const auto place = leftBy(change);
    if (!place) continue;
    if (*place == 0 || *place > count || leaves[*place - 1]) return std::nullopt;
    leaves[*place - 1] = true;
  }
  std::vector<std::size_t> staying;
  for (std::size_t place = 0; place < count; ++place) {
    if (!leaves[place]) staying.push_back(place);
  }

  std::vector<std::optional<std::size_t>> places;
  auto next = staying.cbegin();
  for (const auto& change : changes) {
    if (change.kind == ListChange::Kind::Removed) continue;
    if (change.position <= places.size()) return std::nullopt;
    const auto kept = change.position - 1 - places.size();
    if (kept > static_cast<std::size_t>(staying.cend() - next)) return std::nullopt;
    places.insert(places.end(), next, next + static_cast<std::ptrdiff_t>(kept));
    next += static_cast<std::ptrdiff_t>(kept);
    if (change.formerPosition) {
      places.emplace_back(*change.formerPosition - 1);
    } else if (change.kind == ListChange::Kind::Added) {
      places.emplace_back();
    } else if (next == staying.cend()) {
      return std::nullopt;
    } else {
      places.emplace_back(*next++);
    }
  }
  places.insert(places.end(), next, staying.cend());
  return places;
}

std::vector<ListChange> changesBetween(const ListedUsers& before, const ListedUsers& after) {
  const Middle middle(before, after);
  const auto former = formerIndexes(middle);
  std::vector<ListChange> changes;
  const std::unordered_set<std::size_t> kept(former.begin(), former.end());
  for (auto index = middle.start; index < middle.beforeEnd; ++index) {
    if (kept.contains(index)) continue;
    changes.push_back({ListChange::Kind::Removed, index + 1, before[index], nullptr, {}});
  }
  const auto moved = outOfOrder(former);
  for (auto index = middle.start; index < middle.afterEnd; ++index) {
    const auto was = former[index - middle.start];
    if (was == kNone) {
      changes.push_back({ListChange::Kind::Added, index + 1, after[index], nullptr, {}});
      continue;
    }
    const bool isSame = before[was] == after[index] || *before[was] == *after[index];
    const bool hasMoved = moved.contains(was);
    if (isSame && !hasMoved) continue;
    changes.push_back({isSame ? ListChange::Kind::Moved : ListChange::Kind::Changed, index + 1,
                       after[index], before[was],
                       hasMoved ? std::optional(was + 1) : std::nullopt});
  }
  return changes;
}

}  // namespace gatehall
