#include "linux/ldap/Members.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <iterator>
#include <unordered_set>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/files/FaultLog.h"
#include "linux/ldap/Find.h"
#include "linux/ldap/client/DistinguishedName.h"
#include "linux/ldap/client/SearchFilter.h"
#include "linux/ldap/client/SecurityID.h"
#include "linux/records/AccountID.h"

namespace gatehall::ldap {

namespace {

using Type = Schema::Type;

constexpr std::array kUser{Type::User};
constexpr std::array kGroup{Type::Group};

constexpr std::size_t kMostMembers = 2000000;

bool isLate(Deadline deadline) { return std::chrono::steady_clock::now() >= deadline; }

/// Servers that hand out only so many values of an attribute at once are asked for the rest, from
/// the place where the last answer ended.
void readFurtherMembers(Directory& directory, const Entry& group, Strings& names) {
  const auto& attribute = directory.schemas().groups.attribute(Slot::Members);
  auto next = group.membersContinueAt;
  const auto deadline = directory.servers().limits().total;
  while (next) {
    if (names.size() > kMostMembers || isLate(deadline)) {
      throw PlatformException(directory.nodeName() + ": the members of " + printable(group.dn) +
                              " come to no end");
    }
    const auto from = std::to_string(*next);
    auto range = attribute;
    range.append(";range=").append(from).append("-*");
    const auto more = directory.readAttribute(group.dn, range);
    names.insert(names.end(), more.values.begin(), more.values.end());
    const auto options = std::string_view(more.attribute);
    const auto given =
        readRange(options.substr(std::min(options.find(';'), options.size() - 1) + 1));
    const bool isNext = given && given->first == *next;
    if (!isNext || (given->last && more.values.empty())) {
      throw PlatformException(directory.nodeName() + ": the members of " + printable(group.dn) +
                              " break off");
    }
    next = given->last ? std::optional(*given->last + 1) : std::nullopt;
  }
}

/// The DNs of a group's members, of those that its nested groups stand by included.
Strings memberDNs(Directory& directory, const Entry& group) {
  auto names = group.texts(Slot::Members);
  if (group.membersContinueAt) readFurtherMembers(directory, group, names);
  return names;
}

bool isDN(std::string_view text) { return text.find('=') != std::string_view::npos; }

Entries nestedByName(Directory& directory, const Entry& group) {
  Strings shortNames;
  Strings dns;
  for (const auto& each : group.of(Slot::NestedNames)) {
    (isDN(each.text) ? dns : shortNames).emplace_back(each.text);
  }
  Entries nested;
  if (!shortNames.empty()) {
    nested = findByValues(directory, kGroup, Slot::Name, shortNames);
  }
  if (!dns.empty()) {
    for (auto& each : findByNames(directory, dns)) {
      if (each->type == Type::Group) nested.push_back(std::move(each));
    }
  }
  return nested;
}

/// The users whose primary group one of the groups is, found by one search for all of them.
Entries primaryMembers(Directory& directory, const Entries& groups) {
  Strings groupIDs;
  Strings numbers;
  for (const auto& group : groups) {
    if (!directory.settings().mapsIDs) {
      for (auto& id : group->texts(Slot::GroupID)) groupIDs.push_back(std::move(id));
    }
    const auto sid = group->first(Slot::SecurityID);
    if (!sid.empty()) numbers.emplace_back(securityID::number(sid));
  }
  Entries users;
  if (!groupIDs.empty()) users = findByValues(directory, kUser, Slot::GroupID, groupIDs);
  if (!numbers.empty()) {
    auto more = findByValues(directory, kUser, Slot::PrimaryGroup, numbers);
    std::ranges::move(more, std::back_inserter(users));
  }
  return users;
}

/// Whether Active Directory's primary group of the user is that one: another domain's groups have
/// the same numbers.
bool isOfDomain(const Entry& user, const Entry& group) {
  const auto groupID = group.first(Slot::GroupID);
  if (!groupID.empty() && user.first(Slot::GroupID) == groupID) return true;
  const auto sid = user.first(Slot::SecurityID);
  return sid.empty() || securityID::withNumber(sid, user.first(Slot::PrimaryGroup)) ==
                            group.first(Slot::SecurityID);
}

/// What a group can list a member by.
struct Identity {
  Strings names;  ///< login names
  std::vector<std::string> dns;
  Strings groupIDs;     ///< primary groups
  Strings securityIDs;  ///< of primary groups
  Strings nestedNames;  ///< of a group
};

std::vector<std::string> termsOf(const Schema& schema, const Identity& identity) {
  std::vector<std::string> terms;
  const auto add = [&](Slot slot, const Strings& values) {
    const auto& attribute = schema.attribute(slot);
    if (attribute.empty()) return;
    for (const auto& value : values) {
      if (!value.empty()) terms.push_back(searchFilter::equals(attribute, value));
    }
  };
  add(Slot::MemberNames, identity.names);
  add(Slot::Members, identity.dns);
  if (!schema.mapsIDs()) add(Slot::GroupID, identity.groupIDs);
  add(Slot::NestedNames, identity.nestedNames);
  Strings stored;
  for (const auto& sid : identity.securityIDs) stored.push_back(securityID::bytes(sid));
  add(Slot::SecurityID, stored);
  return terms;
}

bool contains(const Strings& texts, std::string_view text) {
  return std::ranges::find(texts, text) != texts.end();
}

/// Servers compare names as they like, and let "ANN" be ann.
bool lists(const Entry& group, const Identity& identity) {
  const auto isOneOf = [](const Strings& wanted) {
    return [&wanted](const Entry::Value& each) { return contains(wanted, each.text); };
  };
  if (std::ranges::any_of(group.of(Slot::MemberNames), isOneOf(identity.names)) ||
      std::ranges::any_of(group.of(Slot::GroupID), isOneOf(identity.groupIDs)) ||
      std::ranges::any_of(group.of(Slot::SecurityID), isOneOf(identity.securityIDs)) ||
      std::ranges::any_of(group.of(Slot::NestedNames), isOneOf(identity.nestedNames))) {
    return true;
  }
  if (identity.dns.empty()) return false;
  if (group.membersContinueAt) return true;  // the server has seen all of them
  std::vector<std::optional<std::string>> wanted;
  wanted.reserve(identity.dns.size());
  for (const auto& dn : identity.dns) wanted.push_back(distinguishedName::canonical(dn));
  return std::ranges::any_of(group.of(Slot::Members), [&](const Entry::Value& each) {
    return std::ranges::find(wanted, distinguishedName::canonical(each.text)) != wanted.end();
  });
}

void addGroup(Identity& identity, const Entry& group) {
  identity.dns.emplace_back(group.dn);
  identity.nestedNames.emplace_back(group.dn);
  for (auto& name : group.texts(Slot::Name)) identity.nestedNames.push_back(std::move(name));
}

Identity identityOf(Directory& directory, DirectoryRecord& record) {
  Identity identity;
  const auto valuesOf = [&](std::string_view kind) {
    return record.valuesForAttribute(kind).value_or(Strings());
  };
  const bool isGroup = record.recordType() == record::Groups;
  if (!isGroup) {
    identity.names = valuesOf(attribute::RecordName);
    identity.groupIDs = valuesOf(attribute::PrimaryGroupID);
    for (const auto& id : identity.groupIDs) {
      if (auto sid = directory.withMappedID(id)) identity.securityIDs.push_back(std::move(*sid));
    }
  }
  if (!contains(valuesOf(attribute::MetaNodeLocation), directory.nodeName())) return identity;
  const auto entries =
      findByValues(directory, isGroup ? kGroup : kUser, Slot::GUID, valuesOf(attribute::GUID));
  for (const auto& entry : entries) {
    if (isGroup) {
      addGroup(identity, *entry);
    } else {
      identity.dns.emplace_back(entry->dn);
      const auto sid = entry->first(Slot::SecurityID);
      const auto primary = entry->first(Slot::PrimaryGroup);
      if (!sid.empty() && !primary.empty()) {
        identity.securityIDs.push_back(securityID::withNumber(sid, primary));
      }
    }
  }
  return identity;
}

}  // namespace

Members membersOf(Directory& directory, const Entry& group) {
  Members members;
  members.userNames = group.texts(Slot::MemberNames);
  std::unordered_set<std::string> named(members.userNames.begin(), members.userNames.end());
  const auto addUser = [&](std::shared_ptr<const Entry> user) {
    if (named.emplace(user->first(Slot::Name)).second) {
      members.userNames.emplace_back(user->first(Slot::Name));
    }
    members.users.push_back(std::move(user));
  };
  for (auto& entry : findByNames(directory, memberDNs(directory, group))) {
    if (entry->type == Type::Group) {
      members.groups.push_back(std::move(entry));
    } else {
      addUser(std::move(entry));
    }
  }
  // Only the values of the group are read.
  const std::shared_ptr<const Entry> itself(std::shared_ptr<void>(), &group);
  for (auto& user : primaryMembers(directory, {itself})) {
    if (isOfDomain(*user, group)) addUser(std::move(user));
  }
  std::ranges::move(nestedByName(directory, group), std::back_inserter(members.groups));
  return members;
}

void prefetchMembers(Directory& directory, const Entries& groups) {
  Strings names;
  for (const auto& group : groups) {
    if (group->type != Type::Group) continue;
    for (auto& name : group->texts(Slot::Members)) names.push_back(std::move(name));
  }
  if (!names.empty()) findByNames(directory, names);
  primaryMembers(directory, groups);
}

bool isMemberOf(Directory& directory, const Entry& group, DirectoryRecord& record) {
  const auto& schema = directory.schemas().groups;
  auto identity = identityOf(directory, record);
  std::unordered_set<std::string> seen;
  const auto deadline = directory.servers().limits().total;
  for (;;) {
    const auto terms = termsOf(schema, identity);
    if (terms.empty()) return false;
    if (isLate(deadline)) {
      throw PlatformException(directory.nodeName() + ": groups are nested without an end");
    }
    Identity above;
    for (const auto& parent : directory.search(directory.searchesForAny(kGroup, terms, true))) {
      if (!lists(*parent, identity)) continue;
      if (parent->first(Slot::GUID) == group.first(Slot::GUID)) return true;
      if (seen.emplace(parent->first(Slot::GUID)).second) addGroup(above, *parent);
    }
    identity = std::move(above);
  }
}

}  // namespace gatehall::ldap
