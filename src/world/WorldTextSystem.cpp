#include "world/WorldTextSystem.h"

#include <variant>

#include "portable/text/IcuCharacters.h"

namespace gatehall {

namespace {

double advance(const Dictionary& attributes) {
  const auto entry = attributes.find(WorldTextSystem::kAdvanceAttribute);
  if (entry == attributes.end()) return WorldTextSystem::kAdvance;
  const auto* real = std::get_if<double>(&entry->second.storage());
  if (real != nullptr) return *real;
  const auto number = entry->second.integerValue();
  return number ? static_cast<double>(*number) : WorldTextSystem::kAdvance;
}

}  // namespace

double WorldTextSystem::width(std::span<const TextRun> runs) {
  double points = 0;
  for (const auto& run : runs) {
    for (std::size_t index = 0; index < run.text.size();) {
      const auto [start, length] = composedCharacterAt(run.text, index);
      points += advance(run.attributes);
      index = start + length;
    }
  }
  return points;
}

std::pair<std::size_t, std::size_t> WorldTextSystem::composedCharacterRange(
    std::u16string_view text, std::size_t index) {
  return composedCharacterAt(text, index);
}

}  // namespace gatehall
