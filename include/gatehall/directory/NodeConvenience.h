#pragma once

#include <memory>
#include <string_view>

#include "gatehall/base/Export.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// The node that searches every configured directory; absent without a default session. May raise
/// PlatformException, as every function here.
GATEHALL_EXPORT std::shared_ptr<DirectoryNode> searchNode();

/// The node that holds this machine's own accounts; absent without a default session.
GATEHALL_EXPORT std::shared_ptr<DirectoryNode> localNode();

/// The node of that full name; absent without a default session, and when it can't be opened.
GATEHALL_EXPORT std::shared_ptr<DirectoryNode> nodeWithName(std::string_view name);

}  // namespace gatehall
