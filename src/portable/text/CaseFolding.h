#pragma once

#include <string>
#include <string_view>

namespace gatehall {

/// The text without its differences of case, in any script (Unicode's full case folding): two texts
/// that differ only in case fold to the same bytes. UTF-8; malformed sequences count as U+FFFD. ICU
/// is mapped by the first text that is not ASCII, which raises PlatformException when it is not
/// installed. From any thread.
std::string foldedCase(std::string_view text);

}  // namespace gatehall
