#pragma once

namespace gatehall::greeter {

/// The style sheet theme.css, which stands in the program.
extern const char* const kTheme;

}  // namespace gatehall::greeter
