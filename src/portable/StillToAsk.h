#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// What of a query is left to ask of the network's nodes once these records were found on the local
/// ones: of accounts by id, name or GUID, and of groups by GUID, those that were not. Absent, when
/// all were. May raise what the records raise.
std::optional<QueryDescription> stillToAsk(
    const QueryDescription& query, const std::vector<std::shared_ptr<DirectoryRecord>>& found);

}  // namespace gatehall
