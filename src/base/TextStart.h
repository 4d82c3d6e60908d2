#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace gatehall {

/// A text's first bytes as a number, which has the order of texts as far as it differs: to sort
/// many of them without looking into each, time and again.
inline std::uint64_t startOfText(std::string_view text) {
  std::uint64_t start = 0;
  for (std::size_t index = 0; index < sizeof start; ++index) {
    const auto byte = index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
    start = start << 8U | byte;
  }
  return start;
}

}  // namespace gatehall
