#include "accounts/Entries.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "accounts/Accounts.h"
#include "accounts/Nearest.h"
#include "base/Ascii.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "portable/NameBasedUUID.h"

namespace gatehall {

namespace {

Entry entryOf(const std::shared_ptr<DirectoryRecord>& record) {
  const bool isGroup = record->recordType() == record::Groups;
  auto account = accountOf(record);
  return {isGroup, std::move(account.name), std::move(account.longName), std::move(account.guid),
          std::move(account.node)};
}

std::vector<Entry> entriesWith(const QueryDescription& description) {
  const auto found = queryResults(searchNode(), description);
  if (!found) throw PlatformException("the directory does not answer");
  std::vector<Entry> entries;
  for (const auto& record : *found) entries.push_back(entryOf(record));
  return entries;
}

QueryDescription query(std::initializer_list<std::string_view> types, std::string_view kind,
                       Strings values) {
  auto description = equalTo(types, kind, std::move(values),
                             {std::string(attribute::RecordName), std::string(attribute::FullName),
                              std::string(attribute::GUID)});
  if (kind == attribute::GUID) description.match = MatchType::EqualToIgnoringCase;
  return description;
}

}  // namespace

const char* kindOf(const Entry& entry) { return entry.isGroup ? "group" : "user"; }

std::vector<Entry> entriesMeant(const AccountHost& host, const std::string& operand) {
  if (parseUUID(operand)) {
    return entriesWith(query({record::Users, record::Groups}, attribute::GUID, {operand}));
  }
  const auto meant = accountMeant(host, operand);
  if (!meant.undecidable.empty()) throw PlatformException(meant.undecidable);
  std::vector<Entry> entries;
  entries.reserve(meant.accounts.size());
  for (const auto& account : meant.accounts) {
    entries.push_back({false, account.name, account.longName, account.guid, account.node});
  }
  if (meant.userID) return entries;
  auto groups = entriesWith(query({record::Groups}, attribute::RecordName, {operand}));
  entries.insert(entries.end(), std::move_iterator(groups.begin()),
                 std::move_iterator(groups.end()));
  return entries;
}

std::string nobodyMeant(const AccountHost& host, const std::string& operand) {
  auto text = operand + " is no user and no group";
  if (parseUUID(operand) || ascii::isNumber(operand)) return text;
  auto near = nearestLoginNames(host, operand);
  for (auto& name : nearestGroupNames(host, operand)) {
    if (std::ranges::find(near, name) == near.end()) near.push_back(std::move(name));
  }
  for (std::size_t index = 0; index < near.size(); ++index) {
    text += (index == 0 ? "; near: " : ", ") + near[index];
  }
  return text;
}

std::vector<Entry> entriesWithGUIDs(const Strings& guids) {
  std::unordered_map<std::string, Entry> known;
  Strings wanted;
  std::ranges::copy_if(guids, std::back_inserter(wanted),
                       [](const auto& guid) { return parseUUID(guid).has_value(); });
  try {
    if (!wanted.empty()) {
      for (auto& entry :
           entriesWith(query({record::Users, record::Groups}, attribute::GUID, wanted))) {
        auto key = ascii::lower(entry.guid);
        known.emplace(std::move(key), std::move(entry));
      }
    }
  } catch (const PlatformException& failure) {
    platform().log().diagnostic(std::string("Unable to name GUIDs: ") + failure.what());
  }
  std::vector<Entry> entries;
  for (const auto& guid : guids) {
    const auto found = known.find(ascii::lower(guid));
    entries.push_back(found == known.end() ? Entry{.guid = guid} : found->second);
  }
  return entries;
}

}  // namespace gatehall
