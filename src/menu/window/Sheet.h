#pragma once

namespace gatehall::menu {

/// The style sheet of this folder, menu.css, which stands in the program. Its colours are those
/// that a palette defines (people/look).
extern const char* const kSheet;

}  // namespace gatehall::menu
