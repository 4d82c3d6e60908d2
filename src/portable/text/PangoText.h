#pragma once

#include <string_view>

#include "gatehall/platform/TextSystem.h"

namespace gatehall {

/// Text as Pango draws it with Cairo: real fonts, every script, a point to a unit of the drawing
/// (72 to the inch), no rounding to pixels. Pango is mapped by the first measurement. What a thread
/// learns of the widths of Latin, Greek and Cyrillic characters it keeps, a few megabytes a font.
class PangoText final : public TextSystem {
 public:
  /// Text is drawn in the font that this attribute describes in Pango's words, "Sans Bold 12"; else
  /// in Pango's own choice.
  static constexpr std::string_view kFontAttribute = "Font";

  double width(std::span<const TextRun> runs) override;
  std::pair<std::size_t, std::size_t> composedCharacterRange(std::u16string_view text,
                                                             std::size_t index) override;
};

}  // namespace gatehall
