#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace gatehall::fuzz {

inline std::string_view text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// What must hold for every input.
inline void require(bool holds) {
  if (!holds) std::abort();
}

/// Calls visit with each line of the text, without its line feed.
template <class Visit>
void eachLine(std::string_view text, Visit visit) {
  for (;;) {
    const auto feed = text.find('\n');
    visit(text.substr(0, feed));
    if (feed == std::string_view::npos) return;
    text.remove_prefix(feed + 1);
  }
}

}  // namespace gatehall::fuzz
