#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

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

/// Those of the list that somebody may have meant, no more than so many, the nearest first and of
/// two that are as near, the first: a third of the text's letters, one at least, may be wrong.
std::vector<std::string_view> nearestNames(std::string_view text,
                                           std::span<const std::string_view> names,
                                           std::size_t most);

}  // namespace gatehall
