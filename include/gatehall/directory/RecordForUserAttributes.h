#pragma once

#include <memory>

#include "gatehall/base/Export.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// The one user record that an attribute dictionary describes, or nullptr. The dictionary is keyed
/// by RecordName, MetaNodeLocation, GUID and UniqueID; a value is a single one or an array, whose
/// first element counts. The record is looked for by name, on the node that the dictionary names or
/// else on the search node; of several with that name the GUID decides, then the user id (0 when
/// the dictionary has none). A failure of the directory is logged.
GATEHALL_EXPORT std::shared_ptr<DirectoryRecord> recordForUserAttributes(
    const Dictionary& attributes);

}  // namespace gatehall
