#pragma once

#include <string>

namespace gatehall {

/// The text on one line, cut in the middle when it is wider than that in Pango's font of that name
/// (Pango's FontDescription). As wide as the system's text system measures, 72 units to the inch.
std::string fitted(const std::string& text, const std::string& font, double width);

}  // namespace gatehall
