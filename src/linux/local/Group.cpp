#include "linux/local/Group.h"

#include <algorithm>
#include <array>
#include <unordered_map>

#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/accounts/Group.h"
#include "linux/accounts/Passwd.h"
#include "linux/local/AdminGroup.h"
#include "linux/local/Groups.h"
#include "linux/local/Users.h"
#include "linux/records/AccountID.h"

namespace gatehall::local {

namespace {

constexpr std::array kKinds{attribute::RecordName,   attribute::PrimaryGroupID,
                            attribute::GUID,         attribute::GroupMembership,
                            attribute::GroupMembers, attribute::MetaNodeLocation};

GroupEntry entryOf(std::string_view line) {
  std::string fault;
  return *parseGroupLine(line, fault);
}

bool contains(const Strings& names, std::string_view name) {
  return std::ranges::find(names, name) != names.end();
}

bool refuseOf(DirectoryError& error) {
  error = {std::string(kDirectoryErrorDomain), directoryError::kNoPasswords};
  return false;
}

}  // namespace

Group::Group(std::shared_ptr<Context> context, Identity identity,
             std::vector<std::string> memberLines, Strings firstMembers)
    : mHost(context->sharedHost()),
      mContext(std::move(context)),
      mIdentity(std::move(identity)),
      mFirstMembers(std::move(firstMembers)) {
  keepLines(std::move(memberLines));
}

void Group::keepLines(std::vector<std::string> memberLines) {
  mNamesInLines.reset();
  mWasAskedForName = false;
  mMemberLines = std::move(memberLines);
  mGroupIDs.clear();
  for (const auto& line : mMemberLines) mGroupIDs.push_back(entryOf(line).groupID);
}

std::string Group::recordType() { return std::string(record::Groups); }

std::optional<Strings> Group::valuesForAttribute(std::string_view kind) {
  const std::lock_guard lock(mMutex);
  auto found = values(attribute::canonical(kind));
  if (found.empty()) return std::nullopt;
  return found;
}

std::optional<Dictionary> Group::recordDetails(const Strings& kinds) {
  const std::lock_guard lock(mMutex);
  Dictionary details;
  const auto add = [&](std::string_view kind) {
    if (details.contains(kind)) return;
    if (const auto found = values(kind); !found.empty()) details.emplace(kind, found);
  };
  for (const auto& kind : kinds) add(attribute::canonical(kind));
  if (!kinds.empty()) return details;
  for (const auto kind : kKinds) add(kind);
  return details;
}

Strings Group::values(std::string_view kind) {
  if (kind == attribute::RecordName) return {mIdentity.name};
  if (kind == attribute::MetaNodeLocation) return {std::string(kLocalNodeName)};
  if (kind == attribute::PrimaryGroupID && mIdentity.groupID) {
    return {std::to_string(*mIdentity.groupID)};
  }
  if (kind == attribute::GUID) {
    auto& guids = mHost->guids;
    return {uuidText(mIdentity.groupID ? guids.ofGroup(*mIdentity.groupID)
                                       : guids.ofGroupNamed(mIdentity.name))};
  }
  if (kind == attribute::GroupMembership) return memberNames();
  if (kind == attribute::GroupMembers) return memberGUIDs();
  return {};
}

Strings Group::memberNames() {
  if (!mMembers) collectMembers(*mContext, std::array{this});
  Strings names;
  for (const auto& member : *mMembers) names.push_back(member.name);
  return names;
}

Strings Group::memberGUIDs() {
  if (!mMembers) collectMembers(*mContext, std::array{this});
  Strings guids;
  for (const auto& member : *mMembers) {
    if (member.guid) guids.push_back(uuidText(*member.guid));
  }
  return guids;
}

class Group::MemberList {
 public:
  explicit MemberList(Group& group) : mGroup(group) {
    for (const auto& name : group.mFirstMembers) add(name);
    for (const auto& line : group.mMemberLines) {
      eachMember(entryOf(line).members, [this](std::string_view name) {
        add(name);
        return true;
      });
    }
  }

  void add(std::string_view name) {
    if (mPlaces.try_emplace(std::string(name), mMembers.size()).second) {
      mMembers.push_back({std::string(name), std::nullopt});
    }
  }

  void setGUID(std::string_view name, const UUIDBytes& guid) {
    auto& member = mMembers[mPlaces.at(std::string(name))];
    if (!member.guid) member.guid = guid;
  }

  const std::vector<Member>& members() const { return mMembers; }
  void finish() { mGroup.mMembers = std::move(mMembers); }

 private:
  Group& mGroup;
  std::vector<Member> mMembers;
  std::unordered_map<std::string, std::size_t> mPlaces;
};

void Group::fetchMembers(Context& context, std::span<const std::shared_ptr<Group>> groups) {
  // The groups are new and known to no other thread yet.
  std::vector<Group*> missing;
  for (const auto& group : groups) {
    if (!group->mMembers) missing.push_back(group.get());
  }
  if (!missing.empty()) collectMembers(context, missing);
}

void Group::collectMembers(Context& context, std::span<Group* const> groups) {
  auto& host = context.host();
  const auto& records = context.userRecords();
  std::vector<MemberList> lists;
  std::unordered_map<std::uint32_t, std::vector<std::size_t>> byGroupID;
  std::unordered_map<std::string, std::vector<std::size_t>> byGroupName;
  std::unordered_map<std::string, std::vector<std::size_t>> byMember;
  lists.reserve(groups.size());
  for (auto* group : groups) {
    const auto index = lists.size();
    lists.emplace_back(*group);
    for (const auto& line : group->mMemberLines) {
      const auto entry = entryOf(line);
      byGroupID[entry.groupID].push_back(index);
      byGroupName[std::string(entry.name)].push_back(index);
    }
    for (const auto& member : lists.back().members()) byMember[member.name].push_back(index);
  }

  const auto found = [&](std::string_view name, std::uint32_t userID, std::uint32_t groupID,
                         const std::shared_ptr<const UserRecord>& record) {
    const std::string key(name);
    std::vector<std::size_t> places;
    if (const auto named = byMember.find(key); named != byMember.end()) places = named->second;
    const auto addTo = [&](const std::vector<std::size_t>& indexes) {
      for (const auto index : indexes) {
        lists[index].add(name);
        places.push_back(index);
      }
    };
    if (record) {
      for (const auto& group : record->memberOf) {
        if (const auto meant = byGroupName.find(group); meant != byGroupName.end()) {
          addTo(meant->second);
        }
      }
    }
    if (const auto primary = byGroupID.find(groupID); primary != byGroupID.end()) {
      addTo(primary->second);
    }
    if (places.empty()) return;
    const auto guid = record && record->uuid ? *record->uuid : host.guids.ofUser(userID);
    for (const auto index : places) lists[index].setGUID(name, guid);
  };

  // Who is an administrator, the group file says. Any other group may have a member by a record.
  const bool needsRecords = std::ranges::any_of(
      groups, [](const auto* group) { return group->mIdentity.name != AdminGroup::kName; });
  std::unordered_set<std::string_view> recordsUsed;
  accountFiles::scanRequired(host.options, host.faults, accountFiles::kPasswd,
                             [&](std::string_view line, std::uint64_t number) {
                               std::string fault;
                               const auto entry = parsePasswdLine(line, fault);
                               if (!entry) {
                                 if (!line.empty())
                                   host.faults.report(accountFiles::kPasswd, number, fault);
                                 return true;
                               }
                               const auto record = records.isEmpty() ? nullptr
                                                   : needsRecords
                                                       ? context.userRecordFor(*entry)
                                                       : context.userRecordFor(*entry, fault);
                               if (const auto named = records.named(entry->name))
                                 recordsUsed.insert(named->userName);
                               const auto hidden = records.unreadable().find(entry->name);
                               if (hidden != records.unreadable().end())
                                 recordsUsed.insert(hidden->first);
                               found(entry->name, entry->userID, entry->groupID, record);
                               return true;
                             });
  if (needsRecords) context.requireReadableRecords(recordsUsed);
  for (const auto& record : records.all()) {
    if (recordsUsed.contains(record->userName) || !record->userID) continue;
    found(record->userName, *record->userID, record->groupID.value_or(*record->userID), record);
  }
  collectFromElsewhere(host, groups, lists);
  for (auto& list : lists) list.finish();
}

void Group::collectFromElsewhere(Host& host, std::span<Group* const> groups,
                                 std::span<MemberList> lists) {
  if (!host.usersOfPrimaryGroups) return;
  std::unordered_map<std::string, std::vector<std::size_t>> places;
  Strings groupIDs;
  for (std::size_t index = 0; index < groups.size(); ++index) {
    if (groups[index]->mIdentity.isOfAdministrators) continue;
    for (const auto groupID : groups[index]->mGroupIDs) {
      auto& those = places[std::to_string(groupID)];
      if (those.empty()) groupIDs.push_back(std::to_string(groupID));
      those.push_back(index);
    }
  }
  if (groupIDs.empty()) return;
  for (const auto& user : host.usersOfPrimaryGroups(groupIDs)) {
    const auto valuesOf = [&](std::string_view kind) {
      return user->valuesForAttribute(kind).value_or(Strings());
    };
    const auto names = valuesOf(attribute::RecordName);
    const auto guids = valuesOf(attribute::GUID);
    if (names.empty() || contains(valuesOf(attribute::MetaNodeLocation), kLocalNodeName)) continue;
    const auto guid = guids.empty() ? std::nullopt : parseUUID(guids.front());
    for (const auto& groupID : valuesOf(attribute::PrimaryGroupID)) {
      const auto found = places.find(groupID);
      if (found == places.end()) continue;
      for (const auto index : found->second) {
        lists[index].add(names.front());
        if (guid) lists[index].setGUID(names.front(), *guid);
      }
    }
  }
}

bool Group::hasMemberNamed(std::string_view name) {
  if (contains(mFirstMembers, name)) return true;
  if (mNamesInLines) return mNamesInLines->contains(name);
  std::unordered_set<std::string_view> names;
  bool isNamed = false;
  for (const auto& line : mMemberLines) {
    eachMember(entryOf(line).members, [&](std::string_view member) {
      isNamed = isNamed || member == name;
      if (mWasAskedForName) names.insert(member);
      return mWasAskedForName || !isNamed;
    });
  }
  if (mWasAskedForName) mNamesInLines = std::move(names);
  mWasAskedForName = true;
  return isNamed;
}

bool Group::hasMemberWithGroupID(std::uint32_t groupID) const {
  return std::ranges::find(mGroupIDs, groupID) != mGroupIDs.end();
}

bool Group::hasMemberWithGroupID(const Strings& groupIDs) const {
  return std::ranges::any_of(groupIDs, [this](const std::string& text) {
    const auto groupID = accountID(text);
    return groupID && hasMemberWithGroupID(*groupID);
  });
}

bool Group::hasMemberFromElsewhere(const Strings& names, const Strings& groupIDs) {
  if (!names.empty()) {
    const auto& login = names.front();
    // A name in /etc/group means the local account of that name, if there is one.
    const bool isLocals = userNamed(std::make_shared<Context>(mHost), login) != nullptr;
    const std::lock_guard lock(mMutex);
    if (!isLocals && hasMemberNamed(login)) return true;
  }
  const std::lock_guard lock(mMutex);
  return !mIdentity.isOfAdministrators && hasMemberWithGroupID(groupIDs);
}

bool Group::holds(std::string_view loginName, std::optional<std::uint32_t> groupID) {
  const std::lock_guard lock(mMutex);
  return hasMemberNamed(loginName) || (groupID && hasMemberWithGroupID(*groupID));
}

bool Group::isMember(DirectoryRecord& member) {
  if (member.recordType() != record::Users) return false;
  const auto groupIDs = member.valuesForAttribute(attribute::PrimaryGroupID).value_or(Strings());
  const auto nodes = member.valuesForAttribute(attribute::MetaNodeLocation).value_or(Strings());
  const auto names = member.valuesForAttribute(attribute::RecordName).value_or(Strings());
  if (!contains(nodes, kLocalNodeName)) return hasMemberFromElsewhere(names, groupIDs);

  const std::lock_guard lock(mMutex);
  if (std::ranges::any_of(names, [&](const auto& name) { return hasMemberNamed(name); })) {
    return true;
  }
  if (hasMemberWithGroupID(groupIDs)) return true;
  if (names.empty()) return false;
  const auto record = mContext->userRecords().named(names.front());
  return record && std::ranges::any_of(mMemberLines, [&](const std::string& line) {
           return contains(record->memberOf, accountLine::name(line));
         });
}

bool Group::setValue(std::string_view, std::string_view) { return false; }

bool Group::verifyPassword(std::string_view, DirectoryError& error) { return refuseOf(error); }

bool Group::changePassword(std::string_view, std::string_view, DirectoryError& error) {
  return refuseOf(error);
}

std::optional<Dictionary> Group::passwordPolicy() { return std::nullopt; }

bool Group::synchronize() {
  const auto context = std::make_shared<Context>(mHost);
  std::string name;
  {
    const std::lock_guard lock(mMutex);
    name = mIdentity.name;
  }
  const auto present = groupNamed(context, name);
  if (!present) return false;
  const std::scoped_lock lock(mMutex, present->mMutex);
  mContext = context;
  mIdentity = present->mIdentity;
  keepLines(present->mMemberLines);
  mMembers.reset();
  return true;
}

}  // namespace gatehall::local
