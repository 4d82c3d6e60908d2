#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/base/Export.h"

namespace gatehall {

/// Looks up a localized string: key, default for a key that the table lacks, table.
using StringBundle = std::function<std::optional<std::string>(
    std::string_view key, std::string_view defaultText, std::string_view table)>;

/// The process-wide bundle that the layer's own texts come from. It starts empty; a host that
/// embeds the layer may set it before use.
GATEHALL_EXPORT void setStringBundle(StringBundle bundle);

/// The string from the bundle; absent while there is none.
GATEHALL_EXPORT std::optional<std::string> localizedString(std::string_view key,
                                                           std::string_view defaultText,
                                                           std::string_view table);

}  // namespace gatehall
