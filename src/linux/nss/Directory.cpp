#include "linux/nss/Directory.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <unordered_set>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/accounts/Passwd.h"
#include "linux/files/FileDescriptor.h"
#include "linux/files/HostPath.h"
#include "linux/nss/NameServiceProcess.h"
#include "linux/nss/Services.h"
#include "linux/nss/Sssd.h"
#include "linux/records/AccountID.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::nss {

namespace {

/// A service that runs on is asked about one after another; who runs a program may name many.
constexpr std::size_t kFewAskedAbout = 16;
constexpr std::size_t kMostAskedAbout = 1000;
constexpr double kLatelySeconds = 60;
/// For which whoever was dropped uncounted may be decided about.
constexpr double kUncountedSeconds = 600;

/// Of how many users a list is worth their groups; of more, some show whether there is a need.
constexpr std::size_t kMostListed = 1000;
constexpr std::size_t kSample = 100;

/// Each of a question's users costs the service some lookups, all within the limit of one.
constexpr std::size_t kMostInQuestion = 100;

const char* const kAllUsers = "U";
const char* const kAllGroups = "G";
const char* const kSeen = "S";

std::string keyOf(Type type, Directory::Key key, std::string_view value) {
  std::string text = type == Type::User ? "u" : "g";
  text.append(key == Directory::Key::Name ? "n" : "i").append(value);
  return text;
}

/// An id as it is written; a number of another spelling is nobody's.
bool isID(const std::string& value) {
  const auto id = accountID(value);
  return id && std::to_string(*id) == value;
}

Asked askedFor(Type type, Directory::Key key) {
  if (type == Type::User)
    return key == Directory::Key::Name ? Asked::UsersByName : Asked::UsersByID;
  return key == Directory::Key::Name ? Asked::GroupsByName : Asked::GroupsByID;
}

std::string valueOf(const Entry& entry, Directory::Key key) {
  return key == Directory::Key::Name ? entry.name : std::to_string(entry.id);
}

void sortOnce(Entries& entries) {
  std::ranges::sort(
      entries, {}, [](const auto& each) -> const auto& { return each->name; });
  const auto isSame = [](const auto& one, const auto& other) { return one->guid == other->guid; };
  entries.erase(std::unique(entries.begin(), entries.end(), isSame), entries.end());
}

void add(Entries& entries, Entries more) { std::ranges::move(more, std::back_inserter(entries)); }

}  // namespace

Directory::Directory(Settings settings, HostOptions options,
                     std::shared_ptr<LocalAccounts> localAccounts, std::shared_ptr<FaultLog> faults,
                     std::shared_ptr<GUIDs> guids, Log& log, Clock& clock)
    : mSettings(std::move(settings)),
      mNodeName("nss/" + mSettings.name),
      mOptions(std::move(options)),
      mProgram(mOptions.nameService.empty() ? GATEHALL_NAMES : mOptions.nameService),
      mLocalAccounts(std::move(localAccounts)),
      mFaults(std::move(faults)),
      mGUIDs(std::move(guids)),
      mLog(log),
      mClock(clock),
      mLocalGroups(mOptions, *mFaults),
      mKeptUnder(mLocalAccounts->state()) {
  for (const auto& name : mSettings.names) {
    for (const auto type : {Type::User, Type::Group}) {
      mGUIDs->of(mNodeName, type, name, GUIDs::Known::Set);
    }
  }
}

std::optional<std::string> Directory::remembered() {
  const std::lock_guard lock(mMutex);
  if (!mTried || !Kept<Entries>::isGood(mTried->time, now())) return std::nullopt;
  return mTried->fault;
}

void Directory::remember(const std::string& fault) {
  bool wasAway = false;
  {
    const std::lock_guard lock(mMutex);
    wasAway = mTried && !mTried->fault.empty();
    mTried = {fault, now()};
  }
  if (wasAway == !fault.empty()) return;
  mLog.diagnostic(wasAway ? mNodeName + " can be asked again"
                          : mNodeName + " can't be asked: " + fault);
}

Answer Directory::attempt(const Question& question) {
  const auto fail = [&](const std::string& fault) {
    throw DirectoryUnreachable(mNodeName + ": can't be asked: " + fault);
  };
  if (!mOptions.isRunning) fail("a machine that does not run has no name service");
  try {
    auto answer = askNameService(mProgram, question, mSettings.timeLimit);
    remember({});
    return answer;
  } catch (const DirectoryUnreachable& failure) {
    remember(failure.what());
    fail(failure.what());
  }
  return {};
}

Answer Directory::ask(const Question& question) {
  const auto fault = remembered();
  if (!fault || fault->empty()) return attempt(question);
  throw DirectoryUnreachable(mNodeName + ": can't be asked: a moment ago, " + *fault);
}

std::optional<std::string> Directory::whyUnreachable() {
  try {
    const auto fault = remembered();
    if (!fault || !fault->empty()) ask({});
    return std::nullopt;
  } catch (const PlatformException& failure) {
    return failure.what();
  }
}

NetworkNode::Reached Directory::reach() {
  const auto start = std::chrono::steady_clock::now();
  attempt({});
  const auto roundTrip = std::chrono::steady_clock::now() - start;
  struct stat status {};
  int error = 0;
  const auto file =
      openRegularFile(hostPath(mOptions, kSwitchFile), Symlinks::Follow, status, error);
  const auto text = error == 0 ? readWhole(file, 65536, error) : std::nullopt;
  const auto named = networkServices(text.value_or(""));
  std::string services;
  for (const auto& each : named) {
    services.append(services.empty() ? "" : ", ").append(each);
  }
  if (services.empty()) services = "files";
  const bool isSssds = std::ranges::find(named, "sss") != named.end();
  return {services, roundTrip, isSssds ? isSssdOffline(mOptions) : std::nullopt};
}

void Directory::dropUnlessCurrent() {
  const auto state = mLocalAccounts->state();
  const std::lock_guard lock(mMutex);
  if (state == mKeptUnder) return;
  mKeptUnder = state;
  mKept.drop();
}

std::optional<Entries> Directory::known(const std::string& key) {
  const std::lock_guard lock(mMutex);
  return mKept.find(key, now());
}

void Directory::keep(const std::string& key, const Entries& entries) {
  const std::lock_guard lock(mMutex);
  mKept.keep(key, entries, now());
}

void Directory::forget() {
  const std::lock_guard lock(mMutex);
  mKept.drop();
  mGroupsOf.drop();
}

std::shared_ptr<const Entry> Directory::entryOf(const Account& account, const Snapshot& locals,
                                                NetworkNode::LeftOut& why) {
  auto entry = std::make_shared<Entry>();
  entry->name = account.name;
  entry->guid = mGUIDs->of(mNodeName, Type::User, account.name, GUIDs::Known::Met);
  entry->id = account.userID;
  entry->groupID = account.groupID;
  entry->fullName = fullNameOfGecos(account.gecos, account.name);
  entry->home = account.home;
  entry->shell = account.shell;
  why = {entry->name, entry->fullName, uuidText(entry->guid), entry->id, {}, {}};
  const std::array<std::string_view, 1> names{entry->name};
  using Likeness = LocalAccounts::Likeness;
  std::string text;
  const auto like = locals.likenessTo({mNodeName, names, entry->id, entry->guid}, text);
  if (like == Likeness::Copy) return nullptr;
  if (like == Likeness::Twin) {
    // The service tells of the machine's own accounts as they are.
    if (locals.isAccount(entry->name, entry->id)) return nullptr;
    why.rule = "hidden by a local account";
    why.why = "it " + text;
    return nullptr;
  }
  if (!mSettings.mayHaveName(entry->name)) return nullptr;
  if (!mSettings.userIDs.holds(entry->id)) {
    why.rule = entry->id < mSettings.userIDs.first ? "user id too low" : "user id too high";
    why.why = "its user id " + std::to_string(entry->id) + " is out of range";
    return nullptr;
  }
  return entry;
}

/// Why the directory can't have a group of that name, in words that follow "it"; empty: it can.
std::string Directory::whyOfOther(const std::string& groupName) const {
  return mSettings.mayHaveName(groupName) ? "" : "is not of the domain " + mSettings.domain;
}

std::shared_ptr<Entry> Directory::groupNamed(const std::string& name) const {
  auto entry = std::make_shared<Entry>();
  entry->type = Type::Group;
  entry->name = name;
  entry->guid = mGUIDs->of(mNodeName, Type::Group, name, GUIDs::Known::Met);
  return entry;
}

/// nullptr for the machine's own, of which the service tells as they are.
std::shared_ptr<Entry> Directory::entryOf(const AccountGroup& group,
                                          const LocalGroups::Groups& locals) {
  auto entry = groupNamed(group.name);
  if (locals.hold(group.name, group.groupID)) return nullptr;
  auto why = locals.whyLike(group.name, group.groupID);
  if (why.empty()) why = whyOfOther(group.name);
  if (why.empty() && !mSettings.groupIDs.holds(group.groupID)) {
    why = "has the id " + std::to_string(group.groupID) + ", which is out of range";
  }
  if (!why.empty()) {
    entry->isNameOnly = true;
    entry->whyLeftOut = std::move(why);
    return entry;
  }
  entry->id = group.groupID;
  entry->groupID = group.groupID;
  entry->members = group.members;
  return entry;
}

Entries Directory::entriesOf(const Answer& answer, Reported reported) {
  Entries entries;
  if (!answer.users.empty()) {
    const auto locals = mLocalAccounts->current();
    for (const auto& account : answer.users) {
      NetworkNode::LeftOut why;
      if (auto entry = entryOf(account, *locals, why)) {
        entries.push_back(std::move(entry));
      } else if (reported == Reported::Yes && !why.why.empty()) {
        mFaults->report(mNodeName, "the user " + printable(why.name) + " is left out: " + why.why);
      }
    }
  }
  if (!answer.groups.empty()) {
    const auto locals = mLocalGroups.current();
    for (const auto& group : answer.groups) {
      auto entry = entryOf(group, *locals);
      if (!entry || (entry->isNameOnly && reported == Reported::No)) continue;
      if (entry->isNameOnly) {
        mFaults->report(mNodeName, "the group " + printable(entry->name) + " is left out: it " +
                                       entry->whyLeftOut);
      }
      entries.push_back(std::move(entry));
    }
  }
  return entries;
}

Entries Directory::find(Type type, Key key, const Strings& values) {
  if (key == Key::GUID) return findByGUID(type, values);
  dropUnlessCurrent();
  Entries found;
  Question question{askedFor(type, key), {}};
  std::unordered_set<std::string_view> wanted;
  for (const auto& value : values) {
    if (value.empty() || (key == Key::ID && !isID(value)) || !wanted.insert(value).second) continue;
    if (auto kept = known(keyOf(type, key, value))) {
      add(found, std::move(*kept));
    } else {
      question.values.push_back(value);
    }
  }
  if (!question.values.empty()) {
    Entries fetched = entriesOf(ask(question), Reported::Yes);
    for (const auto& value : question.values) {
      // A service may compare names as it likes, and know several for one account.
      Entries meant;
      std::ranges::copy_if(fetched, std::back_inserter(meant), [&](const auto& entry) {
        return valueOf(*entry, key) == value && !(key == Key::ID && entry->isNameOnly);
      });
      keep(keyOf(type, key, value), meant);
      for (const auto other : {Key::Name, Key::ID}) {
        if (other == key) continue;
        for (const auto& entry : meant) {
          if (!entry->isNameOnly) keep(keyOf(type, other, valueOf(*entry, other)), {entry});
        }
      }
      add(found, std::move(meant));
    }
  }
  sortOnce(found);
  if (type == Type::User && wanted.size() == 1) noteAskedAbout(found);
  return found;
}

/// Meets all names that can be known, for one of which the GUID may be. Raises when it isn't.
void Directory::meetAll(const UUIDBytes& guid) {
  all(Type::Group);
  all(Type::User);
  if (mGUIDs->named(guid)) return;
  throw PlatformException(mNodeName + ": whose GUID " + uuidText(guid) +
                          " is can't be told: of those in lists, \"names\" in directory.toml "
                          "needs to hold the names");
}

Entries Directory::findByGUID(Type type, const Strings& values) {
  Strings names;
  Entries found;
  std::unordered_set<std::string> seenNames;
  bool isSeenKnown = false;
  for (const auto& value : values) {
    const auto guid = parseUUID(value);
    if (!guid || !isNameBased(*guid)) continue;
    if (!mGUIDs->named(*guid)) meetAll(*guid);
    const auto named = mGUIDs->named(*guid);
    if (!named || named->nodeName != mNodeName || named->type != type) continue;
    if (type == Type::User && named->known == GUIDs::Known::Listed) {
      if (!std::exchange(isSeenKnown, true)) {
        for (const auto& user : seen()) seenNames.insert(user->name);
      }
      if (!seenNames.contains(named->name)) {
        add(found, this->named({named->name}));
        continue;
      }
    }
    names.push_back(named->name);
  }
  if (names.empty()) return found;
  auto told = find(type, Key::Name, names);
  std::unordered_set<std::string_view> toldNames;
  for (const auto& each : told) toldNames.insert(each->name);
  std::erase_if(names, [&](const auto& name) { return toldNames.contains(name); });
  add(found, std::move(told));
  // A cache may not have what its servers, which are away, do: a list that names it stays one.
  add(found, type == Type::User ? named(names) : untold(names));
  sortOnce(found);
  return found;
}

/// A local group of the name stands in front of the directory's, which nobody can ask for then.
Entries Directory::untold(const Strings& groupNames) {
  const auto locals = mLocalGroups.current();
  Entries entries;
  for (const auto& name : groupNames) {
    auto entry = groupNamed(name);
    entry->isNameOnly = true;
    entry->whyLeftOut =
        locals->idsOfNames.contains(name) ? "has the name of a local group" : whyOfOther(name);
    entries.push_back(std::move(entry));
  }
  return entries;
}

Entries Directory::named(const Strings& names) {
  dropUnlessCurrent();
  Entries entries;
  Strings listed;
  listed.reserve(names.size());
  const auto locals = mLocalAccounts->current();
  for (const auto& name : names) {
    if (name.empty() || !mSettings.mayHaveName(name)) continue;
    auto entry = std::make_shared<Entry>();
    entry->name = name;
    entry->guid = GUIDs::ofMember(mNodeName, name);
    entry->isNameOnly = true;
    listed.push_back(name);
    const std::array<std::string_view, 1> its{entry->name};
    std::string why;
    const auto like = locals->likenessTo({mNodeName, its, std::nullopt, entry->guid}, why);
    if (like == LocalAccounts::Likeness::None) entries.push_back(std::move(entry));
  }
  mGUIDs->list(std::move(listed));
  sortOnce(entries);
  return entries;
}

Entries Directory::seen() {
  dropUnlessCurrent();
  if (auto kept = known(kSeen)) return *kept;
  Question question{Asked::UsersWithHome, {}};
  for (const auto& folder : mSettings.homes) question.values.push_back(hostPath(mOptions, folder));
  auto entries = question.values.empty() ? Entries() : entriesOf(ask(question), Reported::No);
  sortOnce(entries);
  keep(kSeen, entries);
  return entries;
}

Entries Directory::all(Type type) {
  dropUnlessCurrent();
  const auto* key = type == Type::User ? kAllUsers : kAllGroups;
  if (auto kept = known(key)) return *kept;
  const auto asked = type == Type::User ? Asked::AllUsers : Asked::AllGroups;
  auto entries = entriesOf(ask({asked, {}}), Reported::No);
  if (type == Type::User) add(entries, seen());
  if (!mSettings.names.empty()) {
    for (auto& each : find(type, Key::Name, mSettings.names)) {
      if (!each->isNameOnly) entries.push_back(std::move(each));
    }
  }
  sortOnce(entries);
  keep(key, entries);
  if (type == Type::User) {
    const std::lock_guard lock(mMutex);
    mListed = entries;
  }
  return entries;
}

void Directory::noteAskedAbout(const Entries& found) {
  const std::lock_guard lock(mMutex);
  for (const auto& user : found) {
    std::erase_if(mAskedAbout, [&](const auto& each) { return each.user->guid == user->guid; });
    mAskedAbout.push_back({user, {}, {}});
  }
  dropAskedAbout();
}

void Directory::dropAskedAbout() {
  std::erase_if(mAskedAbout, [&](const auto& each) {
    return each.forgotten && !Kept<Entries>::isGood(*each.forgotten, now());
  });
  while (mAskedAbout.size() > kFewAskedAbout) {
    const auto& first = mAskedAbout.front();
    // A list has several groups, and is told one after another.
    const bool isDone = first.counted && std::abs(now() - *first.counted) >= kLatelySeconds;
    if (mAskedAbout.size() <= kMostAskedAbout && !isDone) return;
    if (!first.counted) mUncounted = now();
    mAskedAbout.pop_front();
  }
}

Entries Directory::askedAbout() {
  const std::lock_guard lock(mMutex);
  dropAskedAbout();
  Entries users;
  for (const auto& each : mAskedAbout) users.push_back(each.user);
  return users;
}

/// The members of a group were told, whoever was asked about among them.
void Directory::noteCounted() {
  const std::lock_guard lock(mMutex);
  for (auto& each : mAskedAbout) {
    if (!each.counted) each.counted = now();
  }
}

bool Directory::isAskedAbout(const Entry& user) {
  const std::lock_guard lock(mMutex);
  return std::ranges::any_of(mAskedAbout,
                             [&](const auto& each) { return each.user->guid == user.guid; });
}

bool Directory::wereDroppedUncounted() {
  const std::lock_guard lock(mMutex);
  return mUncounted && std::abs(now() - *mUncounted) < kUncountedSeconds;
}

Entries Directory::listed() {
  const std::lock_guard lock(mMutex);
  return mListed;
}

/// The user counts for some seconds yet, in which whoever has asked may decide; then lists are told
/// again for everybody else. Who asks for the user now is told that there is none.
void Directory::noteForgotten(const Entry& user) {
  const std::lock_guard lock(mMutex);
  mKept.drop();
  for (auto& each : mAskedAbout) {
    if (each.user->guid == user.guid && !each.forgotten) each.forgotten = now();
  }
}

void Directory::refuseForgotten(const std::string& userName) const {
  throw PlatformException(mNodeName + ": the groups of " + printable(userName) +
                          " can't be told: the name service has nothing of that user now");
}

std::vector<Directory::GroupIDs> Directory::groupsOf(const Entries& users) {
  std::vector<GroupIDs> groups(users.size());
  Question question{Asked::GroupsOfUsers, {}};
  std::vector<std::size_t> places;
  const auto keyOfUser = [](const Entry& user) {
    return user.name + "\n" + std::to_string(user.groupID);
  };
  for (std::size_t index = 0; index < users.size(); ++index) {
    const auto& user = *users[index];
    const std::lock_guard lock(mMutex);
    if (auto kept = mGroupsOf.find(keyOfUser(user), now())) {
      groups[index] = std::move(*kept);
      continue;
    }
    places.push_back(index);
    question.values.push_back(user.name);
    question.values.push_back(std::to_string(user.groupID));
  }
  if (places.empty()) return groups;
  auto& values = question.values;
  for (std::size_t first = 0; first < places.size(); first += kMostInQuestion) {
    const auto count = std::min(places.size() - first, kMostInQuestion);
    const auto begin = values.begin() + static_cast<std::ptrdiff_t>(2 * first);
    auto answer = ask({question.asked, {begin, begin + static_cast<std::ptrdiff_t>(2 * count)}});
    if (answer.groupIDs.size() != count) {
      throw DirectoryUnreachable(mNodeName + ": can't be asked: its answer is about others");
    }
    for (std::size_t index = 0; index < count; ++index) {
      const auto place = places[first + index];
      groups[place] = std::move(answer.groupIDs[index]);
      const std::lock_guard lock(mMutex);
      mGroupsOf.keep(keyOfUser(*users[place]), groups[place], now());
    }
  }
  return groups;
}

/// A list of whom to refuse would let in whoever is in a group that counts as one without members.
void Directory::refuseUntold(const Entry& group) const {
  if (!group.isNameOnly) return;
  const auto& why = group.whyLeftOut;
  throw PlatformException(
      mNodeName + ": who is in the group " + printable(group.name) +
      " can't be told: " + (why.empty() ? "the name service has nothing of it now" : "it " + why));
}

/// Who may be decided about and isn't told by a group's own list is asked for from the other side.
/// Of a long list of users only some are: they show whether the service hides members of the group.
Strings Directory::membersOf(const Entry& group) {
  refuseUntold(group);
  const auto refuse = [&](const char* why) {
    throw PlatformException(mNodeName + ": who is in the group " + printable(group.name) +
                            " can't be told: " + why);
  };
  if (wereDroppedUncounted()) refuse("too many users were asked about at once");
  auto members = group.members;
  std::unordered_set<std::string> known(members.begin(), members.end());
  const auto addMember = [&](const std::string& name) {
    if (known.insert(name).second) members.push_back(name);
  };
  auto users = askedAbout();
  const auto asked = users.size();
  add(users, listed());
  for (const auto& each : {seen(), users}) {
    for (const auto& user : each) {
      if (user->groupID == group.id) addMember(user->name);
    }
  }
  const bool areTooMany = users.size() > asked + kMostListed;
  if (areTooMany) users.resize(asked + kSample);
  std::unordered_set<std::string_view> names;
  std::erase_if(users, [&](const auto& user) {
    return known.contains(user->name) || !names.insert(user->name).second;
  });
  const auto groups = groupsOf(users);
  bool hidesMembers = false;
  for (std::size_t index = 0; index < users.size(); ++index) {
    const auto& user = *users[index];
    if (groups[index].empty() && isAskedAbout(user)) {
      noteForgotten(user);
      refuseForgotten(user.name);
    }
    if (std::ranges::find(groups[index], group.id) == groups[index].end()) continue;
    addMember(user.name);
    hidesMembers = true;
  }
  if (areTooMany && hidesMembers) refuse("the name service hides its members and has many users");
  noteCounted();
  return members;
}

bool Directory::isMember(const Entry& group, const std::string& userName,
                         std::uint32_t primaryGroupID) {
  refuseUntold(group);
  if (primaryGroupID == group.id) return true;
  if (std::ranges::find(group.members, userName) != group.members.end()) return true;
  auto user = std::make_shared<Entry>();
  user->name = userName;
  user->groupID = primaryGroupID;
  const auto groups = groupsOf({user});
  if (groups.front().empty()) refuseForgotten(userName);
  return std::ranges::find(groups.front(), group.id) != groups.front().end();
}

std::vector<NetworkNode::LeftOut> Directory::leftOut(Key key, const std::string& value) {
  auto sought = value;
  if (key == Key::GUID) {
    const auto guid = parseUUID(value);
    const auto named = guid ? mGUIDs->named(*guid) : std::nullopt;
    if (!named || named->nodeName != mNodeName || named->type != Type::User) return {};
    sought = named->name;
    key = Key::Name;
  }
  if (sought.empty() || (key == Key::ID && !isID(sought))) return {};
  const auto answer = ask({askedFor(Type::User, key), {sought}});
  std::vector<NetworkNode::LeftOut> result;
  for (const auto& account : answer.users) {
    NetworkNode::LeftOut why;
    if (!entryOf(account, *mLocalAccounts->current(), why) && !why.why.empty()) {
      result.push_back(std::move(why));
    }
  }
  return result;
}

std::string Directory::effectiveShell(std::string_view shell) {
  const std::lock_guard lock(mMutex);
  if (!mShells) mShells.emplace(mOptions);
  return std::string(mShells->effective(shell));
}

}  // namespace gatehall::nss
