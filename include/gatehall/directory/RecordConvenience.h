#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "gatehall/base/Export.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// The user id of an account that has none, or none that can be read.
inline constexpr std::uint32_t kUnreadableUID = 0xFFFFFFFE;

/// The record's first UniqueID; kUnreadableUID without one. More than one is reported to the
/// diagnostic log. May raise PlatformException, as every function here.
GATEHALL_EXPORT std::uint32_t getUID(DirectoryRecord& record);

/// The record's first GUID, or absent.
GATEHALL_EXPORT std::optional<std::string> getGUID(DirectoryRecord& record);

/// The node that holds the record; absent when the record names none or it can't be opened.
GATEHALL_EXPORT std::shared_ptr<DirectoryNode> node(DirectoryRecord& record);

/// The record's names as a person reads them: "(ann, annie)".
GATEHALL_EXPORT std::string description(DirectoryRecord& record);

/// -1, 0 or 1: the records' GUIDs by plain, case-sensitive order; an absent GUID comes first.
GATEHALL_EXPORT int compareGUIDs(DirectoryRecord& left, DirectoryRecord& right);

}  // namespace gatehall
