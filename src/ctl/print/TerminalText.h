#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace gatehall::ctl {

/// A text that a terminal shows as it stands, on one line.
struct TerminalText {
  std::string text;
  std::size_t columns = 0;  ///< that it takes: two for a wide character, none for a combining one
};

/// The text (UTF-8) with everything escaped that would not be shown but obeyed: control characters,
/// line ends, marks that turn the direction of writing, malformed bytes. "\x1B" is a byte or ASCII
/// character, "\u{202E}" any other one.
TerminalText forTerminal(std::string_view text);

/// How many bytes at the beginning of a text that forTerminal made take no more columns than that.
std::size_t fittingLength(std::string_view shown, std::size_t columns);

/// Whether the text is printable ASCII, as most are, and so shown as it stands, a column a byte.
bool isPlainForTerminal(std::string_view text);

}  // namespace gatehall::ctl
