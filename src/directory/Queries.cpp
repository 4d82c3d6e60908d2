#include "gatehall/directory/Queries.h"

#include <utility>

namespace gatehall {

QueryDescription equalTo(std::initializer_list<std::string_view> recordTypes,
                         std::string_view attribute, Strings values, Strings returning) {
  return {.recordTypes = Strings(recordTypes.begin(), recordTypes.end()),
          .attribute = std::string(attribute),
          .match = MatchType::EqualTo,
          .values = std::move(values),
          .returning = std::move(returning)};
}

std::optional<Records> queryResults(const std::shared_ptr<DirectoryNode>& node,
                                    QueryDescription description) {
  const auto query = node ? node->query(std::move(description)) : nullptr;
  return query ? query->results(false) : std::nullopt;
}

}  // namespace gatehall
