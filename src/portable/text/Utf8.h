#pragma once

#include <cstddef>
#include <string_view>

namespace gatehall {

/// True when the bytes are well-formed UTF-8 (RFC 3629): no overlong forms, no surrogates, nothing
/// beyond U+10FFFF.
bool isUtf8(std::string_view bytes);

/// Length of the well-formed sequence that the bytes begin with, 0 when there is none.
std::size_t utf8SequenceLength(std::string_view bytes);

}  // namespace gatehall
