#include "ctl/export/RecordEntry.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "gatehall/platform/AttributeKinds.h"

namespace gatehall::ctl {

namespace {

/// What is asked for by itself where the record can't be had as a whole.
constexpr std::array kKinds{attribute::RecordName,
                            attribute::UniqueID,
                            attribute::GUID,
                            attribute::FullName,
                            attribute::PrimaryGroupID,
                            attribute::UserShell,
                            attribute::NFSHomeDirectory,
                            attribute::HomeDirectory,
                            attribute::Picture,
                            attribute::AuthenticationAuthority,
                            attribute::Password,
                            attribute::AuthenticationHint,
                            attribute::TavloSettings,
                            attribute::MetaNodeLocation,
                            attribute::OriginalNodeName,
                            attribute::CopyTimestamp,
                            attribute::GroupMembers,
                            attribute::GroupMembership,
                            attribute::NestedGroups,
                            attribute::Guest,
                            attribute::External};

/// JSON is UTF-8 throughout; a full name of another time may be anything.
Json textJson(const std::string& text) {
  Json json(text);
  try {
    static_cast<void>(json.dump());
    return json;
  } catch (const Json::type_error&) {
    return toJson(Value(Data(text.begin(), text.end())));
  }
}

Json valuesJson(const Strings& values) {
  if (values.size() == 1) return textJson(values.front());
  auto list = Json::array();
  for (const auto& value : values) list.push_back(textJson(value));
  return list;
}

using Attributes = std::map<std::string, Strings, std::less<>>;
using Reasons = std::map<std::string, std::string, std::less<>>;

/// The record's attributes, and why those that can't be read can't.
Attributes attributesOf(DirectoryRecord& record, Reasons& unreadable) {
  Attributes found;
  try {
    if (const auto details = record.recordDetails({})) {
      for (const auto& [kind, value] : *details) {
        auto& values = found[kind];
        const auto* list = value.array();
        if (list == nullptr) continue;
        for (const auto& each : *list) values.push_back(each.description());
      }
    }
    return found;
  } catch (const PlatformException&) {
    found.clear();
  }
  for (const auto kind : kKinds) {
    try {
      if (auto values = record.valuesForAttribute(kind)) found.emplace(kind, std::move(*values));
    } catch (const PlatformException& failure) {
      unreadable.emplace(kind, failure.what());
    }
  }
  return found;
}

bool isMember(DirectoryRecord& group, DirectoryRecord& account) {
  try {
    return group.isMember(account);
  } catch (const PlatformException&) {
    return false;
  }
}

/// Those of the accounts that the group holds, where it can't list them.
void addMembersOneByOne(DirectoryRecord& group, const Records& accounts, Attributes& attributes) {
  Strings names;
  for (const auto& account : accounts) {
    const auto name = valuesOf(*account, attribute::RecordName);
    if (!name.empty() && isMember(group, *account)) names.push_back(name.front());
  }
  if (!names.empty()) attributes.insert_or_assign(std::string(attribute::GroupMembership), names);
}

/// "" when it is empty, else absent.
std::optional<std::string> passwordOf(DirectoryRecord& account, Gathered& gathered) {
  try {
    DirectoryError error;
    if (account.verifyPassword("", error)) return std::string();
    if (error.domain != kDirectoryErrorDomain || error.code != directoryError::kHashUnreadable) {
      return std::nullopt;
    }
  } catch (const PlatformException&) {
    // As one that can't be read.
    gathered.note("Not every directory tells whose password is empty");
    return std::nullopt;
  }
  gathered.note("Password hashes can't be read: every password counts as set, and none as locked");
  return std::nullopt;
}

}  // namespace

std::span<const std::string_view> recordKinds() { return kKinds; }

Strings valuesOf(DirectoryRecord& record, std::string_view kind) {
  try {
    return record.valuesForAttribute(kind).value_or(Strings());
  } catch (const PlatformException&) {
    return {};
  }
}

Json recordEntry(DirectoryRecord& record, const Records& accounts, Gathered& gathered) {
  const auto type = record.recordType();
  Reasons unreadable;
  auto attributes = attributesOf(record, unreadable);
  if (unreadable.contains(attribute::GroupMembership)) {
    addMembersOneByOne(record, accounts, attributes);
  }
  Json entry = {{"type", type}, {"attributes", Json::object()}};
  // A reader looks for the name first.
  for (const auto kind : {attribute::RecordName, attribute::UniqueID, attribute::FullName}) {
    const auto found = attributes.find(kind);
    if (found == attributes.end()) continue;
    entry["attributes"][found->first] = valuesJson(found->second);
    attributes.erase(found);
  }
  for (const auto& [kind, values] : attributes) {
    if (kind != attribute::JPEGPhoto) entry["attributes"][kind] = valuesJson(values);
  }
  if (!unreadable.empty()) entry["unreadable"] = unreadable;
  if (type != record::Users) return entry;
  if (const auto password = passwordOf(record, gathered)) entry["password"] = *password;
  try {
    if (const auto policy = record.passwordPolicy()) entry["policy"] = toJson(*policy);
  } catch (const PlatformException& failure) {
    gathered.note(std::string("Not every password's policy can be told: ") + failure.what());
  }
  return entry;
}

}  // namespace gatehall::ctl
