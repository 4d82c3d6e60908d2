#pragma once

#include <optional>
#include <string>

namespace gatehall {

/// The name of the script that the character is written in, as Unicode has it ("Devanagari"),
/// asked of ICU, which is mapped then. Absent for what several scripts share, and what none has.
/// Raises PlatformException without ICU.
std::optional<std::string> scriptOf(char32_t character);

}  // namespace gatehall
