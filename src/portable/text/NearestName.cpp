#include "portable/text/NearestName.h"

#include <algorithm>
#include <vector>

#include "base/Ascii.h"

namespace gatehall {

namespace {

constexpr std::size_t kLongestCompared = 64;

/// The optimal string alignment distance, row by row.
std::size_t edits(std::string_view from, std::string_view to) {
  const auto isSame = [&](std::size_t row, std::size_t column) {
    return ascii::lower(from[row - 1]) == ascii::lower(to[column - 1]);
  };
  std::vector<std::size_t> last;
  std::vector<std::size_t> above;
  std::vector<std::size_t> row(to.size() + 1);
  for (std::size_t column = 0; column <= to.size(); ++column) row[column] = column;
  for (std::size_t at = 1; at <= from.size(); ++at) {
    last = std::move(above);
    above = row;
    row[0] = at;
    for (std::size_t column = 1; column <= to.size(); ++column) {
      row[column] = std::min({above[column] + 1, row[column - 1] + 1,
                              above[column - 1] + (isSame(at, column) ? 0 : 1)});
      if (at > 1 && column > 1 && isSame(at, column - 1) && isSame(at - 1, column)) {
        row[column] = std::min(row[column], last[column - 2] + 1);
      }
    }
  }
  return row.back();
}

}  // namespace

NearestName nearestName(std::string_view text, std::span<const std::string_view> names) {
  NearestName nearest;
  for (const auto name : names) {
    const auto distance = edits(text.substr(0, kLongestCompared), name);
    if (nearest.name.empty() || distance < nearest.edits) nearest = {name, distance};
  }
  return nearest;
}

std::vector<std::string_view> nearestNames(std::string_view text,
                                           std::span<const std::string_view> names,
                                           std::size_t most) {
  text = text.substr(0, kLongestCompared);
  const auto farthest = std::max<std::size_t>(text.size() / 3, 1);
  std::vector<NearestName> near;
  for (const auto name : names) {
    const auto longer = std::max(text.size(), name.size());
    if (longer - std::min(text.size(), name.size()) > farthest) continue;
    const auto distance = edits(text, name);
    if (distance <= farthest) near.push_back({name, distance});
  }
  std::ranges::stable_sort(near, {}, &NearestName::edits);
  std::vector<std::string_view> result;
  for (const auto& each : near) {
    if (result.size() == most) break;
    if (std::ranges::find(result, each.name) == result.end()) result.push_back(each.name);
  }
  return result;
}

}  // namespace gatehall
