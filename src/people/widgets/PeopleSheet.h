#pragma once

namespace gatehall {

/// The style sheet of this folder, people.css, which stands in the program. Its colours are those
/// that a palette defines (people/look).
extern const char* const kPeopleSheet;

}  // namespace gatehall
