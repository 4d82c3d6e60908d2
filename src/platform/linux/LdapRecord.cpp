#include "platform/linux/LdapRecord.h"

#include <algorithm>
#include <array>
#include <unordered_set>
#include <utility>

#include "platform/AttributeKinds.h"
#include "platform/linux/DirectoryErrorCodes.h"
#include "platform/linux/LdapAuthentication.h"
#include "platform/linux/LdapFind.h"
#include "platform/linux/LdapPasswordPolicy.h"

namespace gatehall {

namespace {

using Type = LdapSchema::Type;

Strings guidsOf(const LdapEntries& entries) {
  Strings guids;
  std::unordered_set<std::string_view> seen;
  for (const auto& each : entries) {
    const auto guid = each->first(LdapSlot::GUID);
    if (seen.insert(guid).second) guids.emplace_back(guid);
  }
  return guids;
}

bool refusePassword(DirectoryError& error) {
  error = {std::string(kDirectoryErrorDomain), directoryError::kNoPasswords};
  return false;
}

}  // namespace

std::shared_ptr<const LdapEntry> LdapRecord::entry() const {
  const std::lock_guard lock(mMutex);
  return mEntry;
}

std::string LdapRecord::recordType() {
  return std::string(entry()->type == Type::User ? record::Users : record::Groups);
}

std::optional<Strings> LdapRecord::valuesForAttribute(std::string_view kind) {
  auto found = values(*entry(), attribute::canonical(kind));
  if (found.empty()) return std::nullopt;
  return found;
}

std::optional<Dictionary> LdapRecord::recordDetails(const Strings& kinds) {
  const auto entry = this->entry();
  Dictionary details;
  const auto add = [&](std::string_view kind, Strings found) {
    if (found.empty()) return;
    details.emplace(kind,
                    Array(std::move_iterator(found.begin()), std::move_iterator(found.end())));
  };
  for (const auto& each : kinds) {
    const auto kind = attribute::canonical(each);
    if (!details.contains(kind)) add(kind, values(*entry, kind));
  }
  if (!kinds.empty()) return details;
  constexpr std::array kMade{attribute::MetaNodeLocation, attribute::Password,
                             attribute::AuthenticationAuthority};
  for (const auto kind : kMade) add(kind, values(*entry, kind));
  for (const auto& [kind, slot] : mDirectory->schemas().of(entry->type).kinds()) {
    if (kind == attribute::JPEGPhoto || std::ranges::find(kMade, kind) != kMade.end()) continue;
    add(kind, valuesOfSlot(*entry, kind, slot));
  }
  return details;
}

Strings LdapRecord::values(const LdapEntry& entry, std::string_view kind) {
  if (kind == attribute::MetaNodeLocation) return {mDirectory->nodeName()};
  if (entry.type == Type::User) {
    // The server keeps it.
    if (kind == attribute::Password) return {"********"};
    if (kind == attribute::AuthenticationAuthority) return authenticationAuthority(entry);
  }
  const auto slot = mDirectory->schemas().of(entry.type).slotOf(kind);
  if (!slot) return {};
  return valuesOfSlot(entry, kind, *slot);
}

Strings LdapRecord::valuesOfSlot(const LdapEntry& entry, std::string_view kind, LdapSlot slot) {
  return entry.type == Type::User ? userValues(entry, kind, slot) : groupValues(entry, slot);
}

Strings LdapRecord::userValues(const LdapEntry& user, std::string_view kind, LdapSlot slot) {
  if (kind == attribute::UserShell) {
    const auto shells = user.of(slot);
    return shells.empty() ? Strings() : Strings{mDirectory->effectiveShell(shells.front().text)};
  }
  if (slot != LdapSlot::Photo) return user.texts(slot);
  const auto& name = mDirectory->schemas().users.attribute(slot);
  if (name.empty()) return {};
  return mDirectory->readAttribute(user.dn, name).values;
}

Strings LdapRecord::groupValues(const LdapEntry& group, LdapSlot slot) {
  switch (slot) {
    case LdapSlot::MemberNames:
      return members(group)->userNames;
    case LdapSlot::NestedNames:
      return guidsOf(members(group)->groups);
    case LdapSlot::Members: {
      auto users = members(group)->users;
      constexpr std::array kUser{Type::User};
      auto named =
          findByValues(*mDirectory, kUser, LdapSlot::Name, group.texts(LdapSlot::MemberNames));
      std::ranges::move(named, std::back_inserter(users));
      return guidsOf(users);
    }
    default:
      return group.texts(slot);
  }
}

std::shared_ptr<const LdapMembers> LdapRecord::members(const LdapEntry& group) {
  {
    const std::lock_guard lock(mMutex);
    if (mMembers) return mMembers;
  }
  auto found = std::make_shared<const LdapMembers>(membersOf(*mDirectory, group));
  const std::lock_guard lock(mMutex);
  if (mEntry.get() == &group) mMembers = found;
  return found;
}

Strings LdapRecord::authenticationAuthority(const LdapEntry& user) {
  Strings authorities{";LDAP;"};
  if (isDisabled(user, mDirectory->now())) authorities.emplace_back(";DisabledUser;");
  if (const auto slot = mDirectory->schemas().users.slotOf(attribute::AuthenticationAuthority)) {
    for (auto& own : user.texts(*slot)) authorities.push_back(std::move(own));
  }
  return authorities;
}

bool LdapRecord::setValue(std::string_view value, std::string_view kind) {
  const auto entry = this->entry();
  const auto& schema = mDirectory->schemas().of(entry->type);
  const auto slot = schema.slotOf(attribute::canonical(kind));
  if (!slot || schema.attribute(*slot).empty()) return false;
  bool isSet = false;
  mDirectory->run([&](LdapConnection& connection) {
    isSet = connection
                .replace(std::string(entry->dn), schema.attribute(*slot), value,
                         mDirectory->servers().answerDeadline())
                .isSuccess();
  });
  return isSet && synchronize();
}

bool LdapRecord::verifyPassword(std::string_view password, DirectoryError& error) {
  const auto entry = this->entry();
  if (entry->type != Type::User) return refusePassword(error);
  return verifyLdapPassword(*mDirectory, *entry, password, error);
}

bool LdapRecord::changePassword(std::string_view oldPassword, std::string_view newPassword,
                                DirectoryError& error) {
  const auto entry = this->entry();
  if (entry->type != Type::User) return refusePassword(error);
  return changeLdapPassword(*mDirectory, *entry, oldPassword, newPassword, error);
}

bool LdapRecord::isMember(DirectoryRecord& member) {
  const auto entry = this->entry();
  return entry->type == Type::Group && isMemberOf(*mDirectory, *entry, member);
}

std::optional<Dictionary> LdapRecord::passwordPolicy() {
  const auto entry = this->entry();
  if (entry->type != Type::User) return std::nullopt;
  return passwordPolicyOf(*mDirectory, *entry);
}

bool LdapRecord::synchronize() {
  const auto before = entry();
  mDirectory->cache().drop();
  const auto present = findByValues(*mDirectory, std::array{before->type}, LdapSlot::GUID,
                                    before->texts(LdapSlot::GUID));
  if (present.empty()) return false;
  const std::lock_guard lock(mMutex);
  mEntry = present.front();
  mMembers = nullptr;
  return true;
}

}  // namespace gatehall
