#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ctl/export/Gathered.h"
#include "ctl/print/Json.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall::ctl {

/// The kinds of attributes that a record of a host may have, but a photograph.
std::span<const std::string_view> recordKinds();

/// A record's values of the kind; none when it has none or they can't be read.
Strings valuesOf(DirectoryRecord& record, std::string_view kind);

/// An account or a group as a world file has it, without a password but the empty one. Of a group
/// whose members can't be told, those of the accounts that it holds are told one by one.
Json recordEntry(DirectoryRecord& record, const Records& accounts, Gathered& gathered);

}  // namespace gatehall::ctl
