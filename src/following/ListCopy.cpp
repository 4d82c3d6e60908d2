#include "following/ListCopy.h"

#include <chrono>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace gatehall {

namespace {

/// A value of a dictionary that is of that type; nullptr when there is none.
template <class T>
const T* get(const Dictionary& entries, std::string_view key) {
  const auto found = entries.find(key);
  return found != entries.end() ? std::get_if<T>(&found->second.storage()) : nullptr;
}

std::optional<std::string> text(const Dictionary& user, std::string_view key) {
  const auto* value = get<std::string>(user, key);
  return value != nullptr ? std::optional(*value) : std::nullopt;
}

bool flag(const Dictionary& user, std::string_view key) {
  const auto* value = get<bool>(user, key);
  return value != nullptr && *value;
}

/// nullptr for what is no user.
std::shared_ptr<const ListedUser> userOf(const Value& value) {
  const auto* entries = value.dictionary();
  const auto* uid = entries != nullptr ? get<std::int64_t>(*entries, "uid") : nullptr;
  if (uid == nullptr || *uid < 0 || *uid > std::numeric_limits<std::uint32_t>::max()) {
    return nullptr;
  }
  auto user = std::make_shared<ListedUser>();
  user->shortName = text(*entries, "shortName");
  user->longName = text(*entries, "longName");
  user->guid = text(*entries, "guid");
  user->node = text(*entries, "node");
  user->picture = text(*entries, "picture");
  user->uid = static_cast<std::uint32_t>(*uid);
  user->local = flag(*entries, "local");
  user->current = flag(*entries, "current");
  user->suspended = flag(*entries, "suspended");
  user->mobile = flag(*entries, "mobile");
  if (const auto* allows = get<bool>(*entries, "kinwatchAllowsLogin")) {
    user->kinwatchAllowsLogin = *allows;
  }
  if (const auto* curfew = get<std::int64_t>(*entries, "kinwatchNextCurfewTime")) {
    user->kinwatchNextCurfewTime = Moment(std::chrono::microseconds(*curfew));
  }
  return user;
}

std::optional<std::uint64_t> number(const Value& value) {
  const auto* integer = std::get_if<std::int64_t>(&value.storage());
  if (integer == nullptr || *integer < 0) return std::nullopt;
  return static_cast<std::uint64_t>(*integer);
}

std::optional<ListChange::Kind> kindOf(const Value& value) {
  const auto* name = value.string();
  if (name == nullptr) return std::nullopt;
  if (*name == "removed") return ListChange::Kind::Removed;
  if (*name == "added") return ListChange::Kind::Added;
  if (*name == "changed") return ListChange::Kind::Changed;
  if (*name == "moved") return ListChange::Kind::Moved;
  return std::nullopt;
}

std::optional<ListChange> changeOf(const Value& value) {
  const auto* parts = value.array();
  if (parts == nullptr || parts->size() != 4) return std::nullopt;
  const auto kind = kindOf((*parts)[0]);
  const auto position = number((*parts)[1]);
  auto user = userOf((*parts)[2]);
  const auto* was = (*parts)[3].dictionary();
  if (!kind || !position || *position == 0 || !user || was == nullptr) return std::nullopt;
  ListChange change{*kind, *position, std::move(user), nullptr, std::nullopt};
  const auto former = was->find("position");
  if (former == was->end()) return change;
  const auto place = number(former->second);
  const bool canMove = *kind == ListChange::Kind::Changed || *kind == ListChange::Kind::Moved;
  if (!place || *place == 0 || !canMove) return std::nullopt;
  change.formerPosition = place;
  return change;
}

std::optional<std::vector<ListChange>> changesOf(const Value& value) {
  const auto* elements = value.array();
  if (elements == nullptr) return std::nullopt;
  std::vector<ListChange> changes;
  for (const auto& element : *elements) {
    auto change = changeOf(element);
    if (!change) return std::nullopt;
    changes.push_back(std::move(*change));
  }
  return changes;
}

/// More than any directory has: a list without an end would take all memory.
constexpr std::uint64_t kMostUsers = 1'000'000;

/// The list after the changes, which are told what everybody was; absent when they don't fit.
std::optional<ListedUsers> changed(const ListedUsers& before, std::vector<ListChange>& changes) {
  const auto places = placesBefore(changes, before.size());
  if (!places) return std::nullopt;
  ListedUsers after;
  after.reserve(places->size());
  for (const auto& place : *places) after.push_back(place ? before[*place] : nullptr);
  for (auto& change : changes) {
    const bool isRemoval = change.kind == ListChange::Kind::Removed;
    const auto& was = isRemoval ? before[change.position - 1] : after[change.position - 1];
    if (was && !isSameUser(*was, *change.user)) return std::nullopt;
    if (isRemoval) continue;
    change.was = std::exchange(after[change.position - 1], change.user);
  }
  return after;
}

}  // namespace

ListCopy::Page ListCopy::add(const Array& page) {
  const auto serial = page.size() == 3 ? number(page[0]) : std::nullopt;
  const auto total = serial ? number(page[1]) : std::nullopt;
  const auto* users = total ? page[2].array() : nullptr;
  if (users == nullptr || *total > kMostUsers) return Page::Unreadable;
  if (!mUsers.empty() && *serial != mSerial) return Page::OfOtherState;
  if (mUsers.size() + users->size() > *total) return Page::Unreadable;
  for (const auto& value : *users) {
    auto user = userOf(value);
    if (!user) return Page::Unreadable;
    mUsers.push_back(std::move(user));
  }
  mSerial = *serial;
  return users->empty() || mUsers.size() >= *total ? Page::Last : Page::More;
}

std::optional<std::vector<ListChange>> ListCopy::apply(std::uint64_t serial, const Value& changes) {
  auto read = changesOf(changes);
  if (!read) return std::nullopt;
  auto after = changed(mUsers, *read);
  if (!after) return std::nullopt;
  mUsers = std::move(*after);
  mSerial = serial;
  return read;
}

}  // namespace gatehall
