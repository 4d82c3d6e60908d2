#include "linux/records/AccountLookup.h"

#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

std::optional<std::string> accountAttribute(DirectoryService& directory, std::uint32_t userID,
                                            std::string_view kind) {
  const auto session = directory.defaultSession();
  if (!session) return std::nullopt;
  for (const auto type : {NodeType::Local, NodeType::Search}) {
    const auto node = session->nodeByType(type);
    if (!node) continue;
    const auto query = node->query({.recordTypes = {std::string(record::Users)},
                                    .attribute = std::string(attribute::UniqueID),
                                    .match = MatchType::EqualTo,
                                    .values = {std::to_string(userID)},
                                    .returning = {std::string(kind)},
                                    .maximumResults = 1});
    const auto records = query ? query->results(false) : std::nullopt;
    if (!records || records->empty()) continue;
    const auto values = records->front()->valuesForAttribute(kind);
    if (!values || values->empty()) return std::nullopt;
    return values->front();
  }
  return std::nullopt;
}

}  // namespace gatehall
