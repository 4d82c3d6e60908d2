#pragma once

#include <string_view>

#include "gatehall/platform/TextSystem.h"

namespace gatehall {

/// A text system in which every composed character is ten points wide, so that widths can be worked
/// out by hand.
class WorldTextSystem final : public TextSystem {
 public:
  static constexpr double kAdvance = 10.0;
  /// Text with this attribute, a number, has characters of that width instead.
  static constexpr std::string_view kAdvanceAttribute = "Advance";

  double width(std::span<const TextRun> runs) override;
  std::pair<std::size_t, std::size_t> composedCharacterRange(std::u16string_view text,
                                                             std::size_t index) override;
};

}  // namespace gatehall
