#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// The first value that the account of a user id has for an attribute kind. The local node is asked
/// first, so that a local account costs no network. Absent when there is no such account or value.
/// May raise PlatformException.
std::optional<std::string> accountAttribute(DirectoryService& directory, std::uint32_t userID,
                                            std::string_view kind);

}  // namespace gatehall
