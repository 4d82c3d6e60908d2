#include "ctl/policy/ListedNames.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "accounts/Accounts.h"
#include "accounts/Nearest.h"
#include "ctl/request/Verb.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"

namespace gatehall::ctl {

namespace {

constexpr std::string_view kEverybody = "everybody";

std::string firstOf(DirectoryRecord& record, std::string_view kind) {
  const auto values = record.valuesForAttribute(kind);
  return values && !values->empty() ? values->front() : std::string();
}

/// The first group with that value; nullptr when there is none.
std::shared_ptr<DirectoryRecord> groupWith(std::string_view kind, const std::string& value) {
  const auto records = queryResults(searchNode(), equalTo({record::Groups}, kind, {value}, {}));
  if (!records) throw PlatformException("The directory does not answer.");
  return records->empty() ? nullptr : records->front();
}

std::string groupName(DirectoryRecord& group) {
  return firstOf(group, attribute::RecordName).append(" (group)");
}

CommentedText entryOf(std::string guid, std::string name, const std::string& operand) {
  if (guid.empty()) throw UsageError("'" + operand + "' has no GUID that a list could hold");
  return {.text = std::move(guid), .comment = std::move(name)};
}

[[noreturn]] void refuse(const Host& host, const Meant& meant) {
  auto nearest = meant.nearest;
  for (auto& name : nearestGroupNames(host.accounts(), meant.operand)) {
    if (std::ranges::find(nearest, name) == nearest.end()) nearest.push_back(std::move(name));
  }
  std::string text = "no user and no group is '" + meant.operand + "'";
  for (std::size_t place = 0; place < nearest.size(); ++place) {
    text.append(place == 0 ? "; did you mean " : " or ").append(nearest[place]);
  }
  throw UsageError(text.append(nearest.empty() ? "" : "?"));
}

}  // namespace

CommentedText listEntryOf(const Host& host, const std::string& operand) {
  if (operand == "*") return {.text = operand, .comment = std::string(kEverybody)};
  const auto meant = accountMeant(host.accounts(), operand);
  if (!meant.accounts.empty()) {
    const auto& account = meant.accounts.front();
    return entryOf(account.guid, account.name, operand);
  }
  if (!meant.undecidable.empty()) throw PlatformException(operand + ": " + meant.undecidable);
  auto group = groupWith(attribute::RecordName, operand);
  if (!group) group = groupWith(attribute::GUID, operand);
  if (!group) refuse(host, meant);
  return entryOf(firstOf(*group, attribute::GUID), groupName(*group), operand);
}

std::optional<std::string> nameOfEntry(const Host& host, const std::string& entry) {
  if (entry == "*") return std::string(kEverybody);
  try {
    const auto meant = accountMeant(host.accounts(), entry);
    if (!meant.accounts.empty()) return meant.accounts.front().name;
    const auto group = groupWith(attribute::GUID, entry);
    return group ? std::optional(groupName(*group)) : std::nullopt;
  } catch (const PlatformException&) {
    return std::nullopt;
  } catch (const MeansNobody&) {
    return std::nullopt;
  }
}

}  // namespace gatehall::ctl
