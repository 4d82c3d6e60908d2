#pragma once

#include <optional>
#include <string_view>

#include "gatehall/platform/Markup.h"

namespace gatehall {

/// Reads an XML document with libxml2, as Markup::parseXML: at most 16 KiB of text and 32 elements
/// within one another.
std::optional<XMLElement> readXML(std::string_view text);

}  // namespace gatehall
