#include "people/Roll.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "people/Search.h"

namespace gatehall {

namespace {

/// More pieces than that are told as one.
constexpr std::size_t kMostPieces = 32;

/// The same for those whom isSameUser takes for one.
std::string identityOf(const ListedUser& user) {
  if (user.guid) return "g" + *user.guid;
  auto identity = std::to_string(user.uid);
  if (user.shortName) identity.append(" ").append(*user.shortName);
  return identity;
}

}  // namespace

std::shared_ptr<Roll::Entry> Roll::entryOf(std::shared_ptr<const ListedUser> user) {
  auto entry = std::make_shared<Entry>();
  entry->key = ++mLastKey;
  entry->person.user = std::move(user);
  entry->isAwaited = hidesRefused();
  return entry;
}

void Roll::setUsers(const ListedUsers& users) {
  replace(users);
  keep();
  show();
  tellUpdated();
}

/// Whoever the list had stays, with their key.
void Roll::replace(const ListedUsers& users) {
  std::unordered_map<std::string, std::shared_ptr<Entry>> former;
  for (const auto& entry : mEntries) former.emplace(identityOf(*entry->person.user), entry);
  Entries entries;
  entries.reserve(users.size());
  for (const auto& user : users) {
    // Taken out: of two users who claim to be one, the second is another.
    const auto known = former.extract(identityOf(*user));
    entries.push_back(known ? known.mapped() : entryOf(user));
    if (known) update(*known.mapped(), user);
  }
  if (entries != mEntries) {
    for (const auto& entry : mEntries) entry->hasMoved = true;
  }
  mEntries = std::move(entries);
  mHasList = true;
}

/// Goes by the places of the changes, as docs/bus.md says. False when they don't fit.
bool Roll::apply(const std::vector<ListChange>& changes, const ListedUsers& users) {
  const auto places = placesBefore(changes, mEntries.size());
  if (!places || places->size() != users.size()) return false;
  Entries after;
  after.reserve(users.size());
  for (std::size_t index = 0; index < users.size(); ++index) {
    const auto& place = (*places)[index];
    after.push_back(place ? mEntries[*place] : entryOf(users[index]));
    const auto& user = after.back()->person.user;
    if (user != users[index] && !isSameUser(*user, *users[index])) return false;
  }

  for (const auto& change : changes) {
    const bool isRemoval = change.kind == ListChange::Kind::Removed;
    if (!isRemoval && change.formerPosition) after[change.position - 1]->hasMoved = true;
  }
  mEntries = std::move(after);
  for (std::size_t index = 0; index < users.size(); ++index) {
    update(*mEntries[index], users[index]);
  }
  return true;
}

/// A list that was read anew has other objects, most of which say the same.
void Roll::update(Entry& entry, const std::shared_ptr<const ListedUser>& user) {
  if (entry.person.user == user) return;
  const auto before = std::exchange(entry.person.user, user);
  if (*before == *user) return;
  entry.names.reset();
  entry.isUpdated = true;
}

std::vector<std::uint64_t> Roll::change(const std::vector<ListChange>& changes,
                                        const ListedUsers& users) {
  const bool fits = mHasList && apply(changes, users);
  if (!fits) replace(users);
  std::vector<std::uint64_t> others;
  for (const auto& entry : mEntries) {
    if (entry->isUpdated) others.push_back(entry->key);
  }
  keep();
  show();
  tellUpdated();
  return others;
}

void Roll::search(const std::string& text) {
  mSearched = text;
  auto words = searchWords(text);
  if (words == mWords) return;
  mWords = std::move(words);
  show();
}

bool Roll::prepareSearch(std::size_t count) {
  const auto end = std::min(mPrepared + count, mEntries.size());
  for (; mPrepared < end; ++mPrepared) namesOf(*mEntries[mPrepared]);
  return mPrepared < mEntries.size();
}

void Roll::admit(const std::vector<Answer>& answers) {
  bool areOthers = false;
  const bool awaited = awaitsAnswers();
  for (const auto& [key, admission] : answers) {
    const auto found = mByKey.find(key);
    if (found == mByKey.end()) continue;
    auto& entry = *found->second;
    if (std::exchange(entry.isAwaited, false)) --mAwaited;
    if (entry.person.admission != admission) {
      entry.person.admission = admission;
      entry.isUpdated = true;
    }
    areOthers = areOthers || isWanted(entry) != entry.isShown;
  }
  if (areOthers) show();
  tellUpdated();
  if (!areOthers && awaited && !awaitsAnswers() && mFollower.spliced) mFollower.spliced(0, 0, 0);
}

void Roll::awaitNobody() {
  if (!awaitsAnswers()) return;
  for (const auto& entry : mEntries) entry->isAwaited = false;
  mAwaited = 0;
  show();
  tellUpdated();
}

Person Roll::at(std::size_t row) const { return mRows.at(row)->person; }

std::optional<std::size_t> Roll::rowOf(std::uint64_t key) const {
  const auto found = std::ranges::find(mRows, key, &Entry::key);
  if (found == mRows.end()) return std::nullopt;
  return static_cast<std::size_t>(found - mRows.begin());
}

std::optional<std::size_t> Roll::rowOf(const ListedUser& user) const {
  const auto found = std::ranges::find_if(
      mRows, [&](const auto& entry) { return isSameUser(*entry->person.user, user); });
  if (found == mRows.end()) return std::nullopt;
  return static_cast<std::size_t>(found - mRows.begin());
}

std::vector<std::uint64_t> Roll::keys() const {
  std::vector<std::uint64_t> keys;
  keys.reserve(mEntries.size());
  for (const auto& entry : mEntries) keys.push_back(entry->key);
  return keys;
}

std::optional<Person> Roll::find(std::uint64_t key) const {
  const auto found = mByKey.find(key);
  return found != mByKey.end() ? std::optional(found->second->person) : std::nullopt;
}

const std::string& Roll::namesOf(Entry& entry) {
  if (!entry.names) entry.names = searchedNames(*entry.person.user);
  return *entry.names;
}

bool Roll::isWanted(Entry& entry) const {
  if (entry.isAwaited) return false;
  if (mRefused == Refused::Hidden &&
      entry.person.admission.state == Admission::State::MayNotLogIn) {
    return false;
  }
  return mWords.empty() || isFound(namesOf(entry), mWords);
}

void Roll::keep() {
  mPrepared = 0;
  mByKey.clear();
  mByKey.reserve(mEntries.size());
  mAwaited = 0;
  for (const auto& entry : mEntries) {
    mByKey.emplace(entry->key, entry);
    if (entry->isAwaited) ++mAwaited;
  }
}

/// Makes the rows those of the wanted entries, piece by piece. Whoever stays and hasn't moved
/// stands in the same order in both.
void Roll::show() {
  Entries after;
  for (const auto& entry : mEntries) {
    if (isWanted(*entry)) after.push_back(entry);
  }
  const auto before = mRows;
  for (const auto& entry : before) entry->isShown = false;
  for (const auto& entry : after) entry->isShown = true;

  struct Piece {
    std::size_t position, removed, first, added;
  };
  std::vector<Piece> pieces;
  std::size_t from = 0;
  std::size_t to = 0;
  const auto stays = [](const Entry& entry) { return entry.isShown && !entry.hasMoved; };
  // Of "after" whoever wasn't there is new: the next one that stayed is the next of "before".
  while (from < before.size() || to < after.size()) {
    const auto firstFrom = from;
    const auto firstTo = to;
    while (from < before.size() && !stays(*before[from])) ++from;
    while (to < after.size() && (from == before.size() || after[to] != before[from])) ++to;
    if (from > firstFrom || to > firstTo) {
      pieces.push_back({firstTo, from - firstFrom, firstTo, to - firstTo});
    }
    if (from < before.size()) ++from;
    if (to < after.size()) ++to;
  }
  if (pieces.size() > kMostPieces) {
    const auto& last = pieces.back();
    const auto first = pieces.front().position;
    const auto end = last.first + last.added;
    pieces = {{first, before.size() - first - (after.size() - end), first, end - first}};
  }
  for (const auto& entry : before) entry->hasMoved = false;
  for (const auto& entry : after) entry->hasMoved = false;
  for (const auto& piece : pieces) {
    const auto start = after.begin() + static_cast<std::ptrdiff_t>(piece.first);
    splice(piece.position, piece.removed,
           Entries(start, start + static_cast<std::ptrdiff_t>(piece.added)));
  }
}

void Roll::splice(std::size_t position, std::size_t removed, const Entries& added) {
  const auto start = mRows.begin() + static_cast<std::ptrdiff_t>(position);
  const auto kept = std::min(removed, added.size());
  std::copy_n(added.begin(), kept, start);
  const auto rest = start + static_cast<std::ptrdiff_t>(kept);
  if (removed > kept) {
    mRows.erase(rest, rest + static_cast<std::ptrdiff_t>(removed - kept));
  } else {
    mRows.insert(rest, added.begin() + static_cast<std::ptrdiff_t>(kept), added.end());
  }
  if (mFollower.spliced) mFollower.spliced(position, removed, added.size());
}

/// One walk, however many they are.
void Roll::tellUpdated() const {
  std::size_t row = 0;
  for (const auto& entry : mEntries) {
    const bool isUpdated = std::exchange(entry->isUpdated, false);
    if (!entry->isShown) continue;
    if (isUpdated && mFollower.updated) mFollower.updated(row);
    ++row;
  }
}

}  // namespace gatehall
