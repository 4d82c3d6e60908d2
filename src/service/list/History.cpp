#include "service/list/History.h"

#include <algorithm>
#include <utility>

namespace gatehall::service {

namespace {

/// The list before the changes that made that list. Users are as good as numbers here, which are
/// moved about faster: of the table, into which those go who aren't in it.
std::vector<std::size_t> undone(const std::vector<std::size_t>& after,
                                const std::vector<ListChange>& changes, ListedUsers& table) {
  const auto number = [&](const std::shared_ptr<const ListedUser>& user) {
    table.push_back(user);
    return table.size() - 1;
  };
  auto stayed = after;
  std::vector<bool> isGone(after.size());
  std::map<std::size_t, std::size_t> placed;  // by index before
  std::size_t came = 0;
  for (const auto& change : changes) {
    if (change.kind == ListChange::Kind::Removed) {
      placed[change.position - 1] = number(change.user);
      continue;
    }
    const auto index = change.position - 1;
    if (change.kind == ListChange::Kind::Added) {
      isGone[index] = true;
      ++came;
    } else if (change.formerPosition) {
      isGone[index] = true;
      ++came;
      placed[*change.formerPosition - 1] = number(change.was);
    } else {
      stayed[index] = number(change.was);
    }
  }
  std::vector<std::size_t> before;
  before.reserve(after.size() - came + placed.size());
  std::size_t next = 0;
  while (isGone.size() > next && isGone[next]) ++next;
  for (auto count = after.size() - came + placed.size(); before.size() < count;) {
    const auto found = placed.find(before.size());
    if (found != placed.end()) {
      before.push_back(found->second);
      continue;
    }
    before.push_back(stayed[next++]);
    while (isGone.size() > next && isGone[next]) ++next;
  }
  return before;
}

}  // namespace

void History::add(Published state) {
  const bool follows = mUsers && state.serial == mSerial + 1;
  mSerial = state.serial;
  mUsers = std::move(state.users);
  mKnown.clear();
  if (!follows || state.changes.size() > kMostChanges) {
    mSteps.clear();
    mCount = 0;
    return;
  }
  mCount += state.changes.size();
  mSteps.push_back(std::move(state.changes));
  while (mCount > kMostChanges || mSteps.size() > kMostStates) {
    mCount -= mSteps.front().size();
    mSteps.pop_front();
  }
}

History::Changes History::since(std::uint64_t serial) {
  if (!mUsers || serial > mSerial || mSerial - serial > mSteps.size()) return nullptr;
  if (serial == mSerial) return std::make_shared<const std::vector<ListChange>>();
  auto& known = mKnown[serial];
  if (known) return known;
  const auto steps = static_cast<std::ptrdiff_t>(mSerial - serial);
  if (steps == 1) return known = std::make_shared<const std::vector<ListChange>>(mSteps.back());
  auto table = *mUsers;
  std::vector<std::size_t> numbers(table.size());
  for (std::size_t index = 0; index < numbers.size(); ++index) numbers[index] = index;
  for (auto step = mSteps.rbegin(); step != mSteps.rbegin() + steps; ++step) {
    numbers = undone(numbers, *step, table);
  }
  ListedUsers before;
  before.reserve(numbers.size());
  for (const auto each : numbers) before.push_back(table[each]);
  auto changes = changesBetween(before, *mUsers);
  return known = std::make_shared<const std::vector<ListChange>>(std::move(changes));
}

}  // namespace gatehall::service
