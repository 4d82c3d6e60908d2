#pragma once

#include <string>
#include <string_view>

namespace gatehall {

/// The text in the other encoding. What is malformed (for UTF-16, a surrogate without its other
/// half) becomes U+FFFD.
std::u16string utf16(std::string_view utf8);
std::string utf8(std::u16string_view utf16);

}  // namespace gatehall
