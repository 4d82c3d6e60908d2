#include "linux/ldap/Record.h"

#include <algorithm>
#include <array>
#include <unordered_set>
#include <utility>

#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/ldap/Authentication.h"
#include "linux/ldap/Find.h"
#include "linux/ldap/PasswordPolicy.h"

namespace gatehall::ldap {

namespace {

using Type = Schema::Type;

Strings guidsOf(const Entries& entries) {
  Strings guids;
  std::unordered_set<std::string_view> seen;
  for (const auto& each : entries) {
    const auto guid = each->first(Slot::GUID);
    if (seen.insert(guid).second) guids.emplace_back(guid);
  }
  return guids;
}

bool refusePassword(DirectoryError& error) {
  error = {std::string(kDirectoryErrorDomain), directoryError::kNoPasswords};
  return false;
}

}  // namespace

std::shared_ptr<const Entry> Record::entry() const {
  const std::lock_guard lock(mMutex);
  return mEntry;
}

std::string Record::recordType() {
  return std::string(entry()->type == Type::User ? record::Users : record::Groups);
}

std::optional<Strings> Record::valuesForAttribute(std::string_view kind) {
  const auto entry = this->entry();
  kind = attribute::canonical(kind);
  Strings found;
  eachValue(*entry, kind, slotOf(*entry, kind),
            [&](std::string_view text) { found.emplace_back(text); });
  if (found.empty()) return std::nullopt;
  return found;
}

std::optional<Dictionary> Record::recordDetails(const Strings& kinds) {
  const auto entry = this->entry();
  Dictionary details;
  const auto add = [&](std::string_view kind, std::optional<Slot> slot) {
    Array found;
    eachValue(*entry, kind, slot, [&](std::string_view text) { found.emplace_back(text); });
    if (!found.empty()) details.emplace_hint(details.end(), kind, std::move(found));
  };
  for (const auto& each : kinds) {
    const auto kind = attribute::canonical(each);
    if (!details.contains(kind)) add(kind, slotOf(*entry, kind));
  }
  if (!kinds.empty()) return details;
  for (const auto& [kind, slot] : mDirectory->schemas().of(entry->type).kinds()) {
    if (kind != attribute::JPEGPhoto) add(kind, slot);
  }
  for (const auto kind :
       {attribute::MetaNodeLocation, attribute::Password, attribute::AuthenticationAuthority}) {
    add(kind, slotOf(*entry, kind));
  }
  return details;
}

std::optional<Slot> Record::slotOf(const Entry& entry, std::string_view kind) const {
  return mDirectory->schemas().of(entry.type).slotOf(kind);
}

template <class Add>
void Record::eachValue(const Entry& entry, std::string_view kind, std::optional<Slot> slot,
                       Add add) {
  if (kind == attribute::MetaNodeLocation) {
    add(mDirectory->nodeName());
  } else if (entry.type == Type::User) {
    eachUserValue(entry, kind, slot, add);
  } else if (slot) {
    eachGroupValue(entry, *slot, add);
  }
}

template <class Add>
void Record::eachUserValue(const Entry& user, std::string_view kind, std::optional<Slot> slot,
                           Add add) {
  const auto addAll = [&] {
    if (!slot) return;
    for (const auto& value : user.of(*slot)) add(value.text);
  };
  if (kind == attribute::Password) {
    add("********");  // the server keeps it
  } else if (kind == attribute::AuthenticationAuthority) {
    add(";LDAP;");
    const auto standing = standingOf(*mDirectory, user);
    if (standing == Standing::Locked) add(";DisabledUser;");
    if (standing == Standing::Expired) add(";DisabledUser;expired");
    addAll();
  } else if (kind == attribute::UserShell && slot) {
    const auto shells = user.of(*slot);
    if (!shells.empty()) add(mDirectory->effectiveShell(shells.front().text));
  } else if (slot != Slot::Photo) {
    addAll();
  } else if (const auto& name = mDirectory->schemas().users.attribute(*slot); !name.empty()) {
    for (const auto& value : mDirectory->readAttribute(user.dn, name).values) add(value);
  }
}

template <class Add>
void Record::eachGroupValue(const Entry& group, Slot slot, Add add) {
  if (slot == Slot::MemberNames) {
    std::ranges::for_each(members(group)->userNames, add);
  } else if (slot == Slot::NestedNames) {
    std::ranges::for_each(guidsOf(members(group)->groups), add);
  } else if (slot == Slot::Members) {
    auto users = members(group)->users;
    constexpr std::array kUser{Type::User};
    auto named = findByValues(*mDirectory, kUser, Slot::Name, group.texts(Slot::MemberNames));
    std::ranges::move(named, std::back_inserter(users));
    std::ranges::for_each(guidsOf(users), add);
  } else {
    for (const auto& value : group.of(slot)) add(value.text);
  }
}

std::shared_ptr<const Members> Record::members(const Entry& group) {
  {
    const std::lock_guard lock(mMutex);
    if (mMembers) return mMembers;
  }
  auto found = std::make_shared<const Members>(membersOf(*mDirectory, group));
  const std::lock_guard lock(mMutex);
  if (mEntry.get() == &group) mMembers = found;
  return found;
}

bool Record::setValue(std::string_view value, std::string_view kind) {
  const auto entry = this->entry();
  const auto& schema = mDirectory->schemas().of(entry->type);
  const auto slot = schema.slotOf(attribute::canonical(kind));
  if (!slot || schema.attribute(*slot).empty()) return false;
  const bool isID = slot == Slot::UserID || slot == Slot::GroupID;
  if (isID && schema.mapsIDs()) return false;
  bool isSet = false;
  mDirectory->run([&](Connection& connection) {
    isSet = connection
                .replace(std::string(entry->dn), schema.attribute(*slot), value,
                         mDirectory->servers().answerDeadline())
                .isSuccess();
  });
  return isSet && synchronize();
}

bool Record::verifyPassword(std::string_view password, DirectoryError& error) {
  const auto entry = this->entry();
  if (entry->type != Type::User) return refusePassword(error);
  return ldap::verifyPassword(*mDirectory, *entry, password, error);
}

bool Record::changePassword(std::string_view oldPassword, std::string_view newPassword,
                            DirectoryError& error) {
  const auto entry = this->entry();
  if (entry->type != Type::User) return refusePassword(error);
  return ldap::changePassword(*mDirectory, *entry, oldPassword, newPassword, error);
}

bool Record::isMember(DirectoryRecord& member) {
  const auto entry = this->entry();
  return entry->type == Type::Group && isMemberOf(*mDirectory, *entry, member);
}

std::optional<Dictionary> Record::passwordPolicy() {
  const auto entry = this->entry();
  if (entry->type != Type::User) return std::nullopt;
  return passwordPolicyOf(*mDirectory, *entry);
}

bool Record::synchronize() {
  const auto before = entry();
  mDirectory->cache().drop();
  const auto present =
      findByValues(*mDirectory, std::array{before->type}, Slot::GUID, before->texts(Slot::GUID));
  if (present.empty()) return false;
  const std::lock_guard lock(mMutex);
  mEntry = present.front();
  mMembers = nullptr;
  return true;
}

}  // namespace gatehall::ldap
