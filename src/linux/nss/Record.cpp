#include "linux/nss/Record.h"

#include <algorithm>
#include <array>

#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/records/AccountID.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::nss {

namespace {

constexpr std::array kOfName{attribute::RecordName, attribute::GUID, attribute::MetaNodeLocation};
constexpr std::array kOfUser{attribute::UniqueID,
                             attribute::PrimaryGroupID,
                             attribute::FullName,
                             attribute::NFSHomeDirectory,
                             attribute::UserShell,
                             attribute::Password,
                             attribute::AuthenticationAuthority};
constexpr std::array kOfGroup{attribute::PrimaryGroupID, attribute::GroupMembership};

template <class Kinds>
bool holds(const Kinds& kinds, std::string_view kind) {
  return std::ranges::find(kinds, kind) != kinds.end();
}

Strings unlessEmpty(const std::string& text) { return text.empty() ? Strings() : Strings{text}; }

std::string first(DirectoryRecord& record, std::string_view kind) {
  const auto values = record.valuesForAttribute(kind);
  return values && !values->empty() ? values->front() : std::string();
}

}  // namespace

std::shared_ptr<const Entry> Record::entry() const {
  const std::lock_guard lock(mMutex);
  return mEntry;
}

std::shared_ptr<const Entry> Record::wholeEntry() {
  const auto before = entry();
  if (!before->isNameOnly) return before;
  const auto found = mDirectory->find(before->type, Directory::Key::Name, {before->name});
  if (found.empty()) return before;
  const std::lock_guard lock(mMutex);
  return mEntry = found.front();
}

std::string Record::recordType() {
  return std::string(entry()->type == Type::User ? record::Users : record::Groups);
}

Strings Record::values(std::string_view kind) {
  auto entry = this->entry();
  if (kind == attribute::RecordName) return {entry->name};
  if (kind == attribute::GUID) return {uuidText(entry->guid)};
  if (kind == attribute::MetaNodeLocation) return {mDirectory->nodeName()};
  if (entry->type == Type::Group) {
    if (kind == attribute::GroupMembership) return mDirectory->membersOf(*entry);
    if (entry->isNameOnly) return {};
    if (kind == attribute::PrimaryGroupID) return {std::to_string(entry->id)};
    return {};
  }
  if (!holds(kOfUser, kind)) return {};
  entry = wholeEntry();
  if (entry->isNameOnly) return {};
  if (kind == attribute::UniqueID) return {std::to_string(entry->id)};
  if (kind == attribute::PrimaryGroupID) return {std::to_string(entry->groupID)};
  if (kind == attribute::FullName) return unlessEmpty(entry->fullName);
  if (kind == attribute::NFSHomeDirectory) return unlessEmpty(entry->home);
  if (kind == attribute::UserShell) return {mDirectory->effectiveShell(entry->shell)};
  if (kind == attribute::Password) return {"********"};  // whoever the service asks keeps it
  return {";NSS;"};
}

std::optional<Strings> Record::valuesForAttribute(std::string_view kind) {
  auto found = values(attribute::canonical(kind));
  if (found.empty()) return std::nullopt;
  return found;
}

std::optional<Dictionary> Record::recordDetails(const Strings& kinds) {
  Dictionary details;
  const auto add = [&](std::string_view kind) {
    kind = attribute::canonical(kind);
    const auto found = values(kind);
    if (!found.empty()) details.insert_or_assign(std::string(kind), Value(found));
  };
  if (!kinds.empty()) {
    for (const auto& kind : kinds) add(kind);
    return details;
  }
  for (const auto kind : kOfName) add(kind);
  const auto entry = this->entry();
  if (entry->type == Type::Group) {
    for (const auto kind : kOfGroup) add(kind);
  } else if (!entry->isNameOnly) {
    for (const auto kind : kOfUser) add(kind);
  }
  return details;
}

bool Record::setValue(std::string_view, std::string_view) { return false; }

bool Record::refusePassword(std::int64_t ofUser, DirectoryError& error) const {
  const bool isUser = entry()->type == Type::User;
  error = {std::string(kDirectoryErrorDomain), isUser ? ofUser : directoryError::kNoPasswords};
  return false;
}

bool Record::verifyPassword(std::string_view, DirectoryError& error) {
  return refusePassword(directoryError::kHashUnreadable, error);
}

bool Record::changePassword(std::string_view, std::string_view, DirectoryError& error) {
  return refusePassword(directoryError::kPasswordServiceUnavailable, error);
}

bool Record::isMember(DirectoryRecord& member) {
  const auto group = entry();
  if (group->type != Type::Group || member.recordType() != record::Users) return false;
  const auto name = first(member, attribute::RecordName);
  const auto primary = accountID(first(member, attribute::PrimaryGroupID));
  return !name.empty() && primary && mDirectory->isMember(*group, name, *primary);
}

bool Record::synchronize() {
  const auto before = entry();
  mDirectory->forget();
  const auto found = mDirectory->find(before->type, Directory::Key::Name, {before->name});
  if (found.empty()) return false;
  const std::lock_guard lock(mMutex);
  mEntry = found.front();
  return true;
}

}  // namespace gatehall::nss
