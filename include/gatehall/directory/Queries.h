#pragma once

#include <initializer_list>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "gatehall/base/Export.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

using Records = std::vector<std::shared_ptr<DirectoryRecord>>;

/// The shape that nearly all queries of the layer share: records of these types whose attribute
/// equals any of the values (case-sensitive), without a limit.
GATEHALL_EXPORT QueryDescription equalTo(std::initializer_list<std::string_view> recordTypes,
                                         std::string_view attribute, Strings values,
                                         Strings returning);

/// Makes the query on the node and fetches all its results in one call, partial results not
/// allowed. Absent without a node, when the query can't be made, and when the results can't be
/// fetched. May raise PlatformException.
GATEHALL_EXPORT std::optional<Records> queryResults(const std::shared_ptr<DirectoryNode>& node,
                                                    QueryDescription description);

}  // namespace gatehall
