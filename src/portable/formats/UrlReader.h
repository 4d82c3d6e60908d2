#pragma once

#include <optional>
#include <string_view>

#include "gatehall/platform/Markup.h"

namespace gatehall {

/// Reads a URL with uriparser, as Markup::parseURL: at most 8 KiB.
std::optional<URL> readURL(std::string_view text);

}  // namespace gatehall
