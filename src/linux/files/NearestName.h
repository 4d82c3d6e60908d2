#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace gatehall {

/// The name of a list that a text comes nearest to, for what somebody may have meant to write.
struct NearestName {
  std::string_view name;
  /// So many letters are another, missing or too many, or two neighbours changed places, whatever
  /// their case: 0 when case alone tells them apart, or nothing.
  std::size_t edits = 0;

  /// One slip away, or none.
  bool isSlip() const { return edits <= 1; }
};

/// Of two that are as near, the first. The list has a name; a text is compared up to its 64th byte.
NearestName nearestName(std::string_view text, std::span<const std::string_view> names);

}  // namespace gatehall
