#pragma once

#include <optional>
#include <string_view>

#include "gatehall/base/Value.h"

namespace gatehall {

/// The bytes that a text in base64 stands for (RFC 4648, 4: padded, without line breaks). Absent
/// for any other text.
std::optional<Data> dataFromBase64(std::string_view text);

}  // namespace gatehall
