#include "portable/StillToAsk.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "base/Ascii.h"
#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

std::optional<QueryDescription> stillToAsk(
    const QueryDescription& query, const std::vector<std::shared_ptr<DirectoryRecord>>& found) {
  const auto kind = attribute::canonical(query.attribute);
  const bool isGUID = kind == attribute::GUID;
  const bool isOfUser = kind == attribute::UniqueID || kind == attribute::RecordName;
  const bool isExact = query.match == MatchType::EqualTo ||
                       (isGUID && query.match == MatchType::EqualToIgnoringCase);
  const bool isForUsers = std::ranges::all_of(
      query.recordTypes, [](const auto& type) { return type == record::Users; });
  if (found.empty() || !isExact || !(isGUID || (isOfUser && isForUsers))) return query;
  // GUIDs are spelled in either case.
  const auto key = [isGUID](const std::string& value) {
    return isGUID ? ascii::lower(value) : value;
  };
  std::unordered_set<std::string> known;
  for (const auto& each : found) {
    for (const auto& value : each->valuesForAttribute(kind).value_or(Strings())) {
      known.insert(key(value));
    }
  }
  auto open = query;
  std::erase_if(open.values, [&](const auto& value) { return known.contains(key(value)); });
  if (open.values.empty()) return std::nullopt;
  return open;
}

}  // namespace gatehall
