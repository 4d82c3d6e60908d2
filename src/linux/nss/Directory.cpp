#include "linux/nss/Directory.h"

#include <algorithm>
#include <array>
#include <chrono>
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

/// A program asks about one or a few; a service that runs on, about one after another.
constexpr std::size_t kMostAskedAbout = 16;

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
  const auto likeness = [&](std::span<const std::string_view> ofNames,
                            std::optional<std::uint32_t> userID, std::optional<UUIDBytes> guid,
                            std::string& text) {
    return locals.likenessTo({mNodeName, ofNames, userID, guid}, text);
  };
  using Likeness = LocalAccounts::Likeness;
  std::string text;
  const auto like = likeness(names, entry->id, entry->guid, text);
  if (like == Likeness::Copy) return nullptr;
  if (like == Likeness::Twin) {
    // The service tells of the machine's own accounts as they are.
    std::string unused;
    const bool isLocal = likeness(names, std::nullopt, {}, unused) == Likeness::Twin &&
                         likeness({}, entry->id, {}, unused) == Likeness::Twin;
    if (isLocal) return nullptr;
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

std::shared_ptr<const Entry> Directory::entryOf(const AccountGroup& group,
                                                const LocalGroups::Groups& locals) {
  auto entry = std::make_shared<Entry>();
  entry->type = Type::Group;
  entry->name = group.name;
  entry->guid = mGUIDs->of(mNodeName, Type::Group, group.name, GUIDs::Known::Met);
  entry->id = group.groupID;
  entry->groupID = group.groupID;
  entry->members = group.members;
  const bool isLocal = locals.names.contains(entry->name) || locals.ids.contains(entry->id);
  const bool isMeant = mSettings.mayHaveName(entry->name) && mSettings.groupIDs.holds(entry->id);
  return isLocal || !isMeant ? nullptr : entry;
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
      if (auto entry = entryOf(group, *locals)) entries.push_back(std::move(entry));
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
      std::ranges::copy_if(fetched, std::back_inserter(meant),
                           [&](const auto& entry) { return valueOf(*entry, key) == value; });
      keep(keyOf(type, key, value), meant);
      for (const auto other : {Key::Name, Key::ID}) {
        if (other == key) continue;
        for (const auto& entry : meant) keep(keyOf(type, other, valueOf(*entry, other)), {entry});
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

Entries Directory::untold(const Strings& groupNames) {
  const auto locals = mLocalGroups.current();
  Entries entries;
  for (const auto& name : groupNames) {
    if (locals->names.contains(name) || !mSettings.mayHaveName(name)) continue;
    auto entry = std::make_shared<Entry>();
    entry->type = Type::Group;
    entry->name = name;
    entry->guid = mGUIDs->of(mNodeName, Type::Group, name, GUIDs::Known::Met);
    entry->isNameOnly = true;
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
    for (auto& each : find(type, Key::Name, mSettings.names)) entries.push_back(std::move(each));
  }
  sortOnce(entries);
  keep(key, entries);
  return entries;
}

void Directory::noteAskedAbout(const Entries& found) {
  const std::lock_guard lock(mMutex);
  for (const auto& user : found) {
    std::erase_if(mAskedAbout, [&](const auto& each) { return each.user->guid == user->guid; });
    mAskedAbout.push_back({user, {}});
  }
  while (mAskedAbout.size() > kMostAskedAbout) mAskedAbout.pop_front();
}

Entries Directory::askedAbout() {
  const std::lock_guard lock(mMutex);
  std::erase_if(mAskedAbout, [&](const auto& each) {
    return each.forgotten && !Kept<Entries>::isGood(*each.forgotten, now());
  });
  Entries users;
  for (const auto& each : mAskedAbout) users.push_back(each.user);
  return users;
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
  auto answer = ask(question);
  if (answer.groupIDs.size() != places.size()) {
    throw DirectoryUnreachable(mNodeName + ": can't be asked: its answer is about others");
  }
  for (std::size_t index = 0; index < places.size(); ++index) {
    auto& ids = groups[places[index]];
    ids = std::move(answer.groupIDs[index]);
    const std::lock_guard lock(mMutex);
    mGroupsOf.keep(keyOfUser(*users[places[index]]), ids, now());
  }
  return groups;
}

/// A list of whom to refuse would let in whoever is in a group that counts as one without members.
void Directory::refuseUntold(const Entry& group) const {
  if (!group.isNameOnly) return;
  throw PlatformException(mNodeName + ": who is in the group " + printable(group.name) +
                          " can't be told: the name service has nothing of it now");
}

Strings Directory::membersOf(const Entry& group) {
  refuseUntold(group);
  auto members = group.members;
  std::unordered_set<std::string> listed(members.begin(), members.end());
  const auto addMember = [&](const std::string& name) {
    if (listed.insert(name).second) members.push_back(name);
  };
  for (const auto& user : seen()) {
    if (user->groupID == group.id) addMember(user->name);
  }
  auto users = askedAbout();
  std::erase_if(users, [&](const auto& user) { return listed.contains(user->name); });
  const auto groups = groupsOf(users);
  for (std::size_t index = 0; index < users.size(); ++index) {
    if (groups[index].empty()) {
      noteForgotten(*users[index]);
      refuseForgotten(users[index]->name);
    }
    if (std::ranges::find(groups[index], group.id) != groups[index].end()) {
      addMember(users[index]->name);
    }
  }
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
