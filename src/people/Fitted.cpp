#include "people/Fitted.h"

#include <algorithm>
#include <utility>

#include "gatehall/text/TruncationExtensions.h"
#include "portable/text/PangoText.h"
#include "portable/text/Utf16.h"

namespace gatehall {

std::string fitted(const std::string& text, const std::string& font, double width) {
  auto line = utf16(text);
  std::ranges::replace_if(
      line, [](char16_t unit) { return unit < u' '; }, u' ');
  const AttributedString styled(std::move(line), {{std::string(PangoText::kFontAttribute), font}});
  try {
    return utf8(truncatedStringToFit(styled, static_cast<float>(width)).string());
  } catch (const RangeException&) {
    // Full stops or spaces at its end led the cut past it.
    auto rest = styled.string();
    rest.resize(rest.find_last_not_of(u" .") + 1);
    return rest.size() < styled.length() ? fitted(utf8(rest), font, width) : "\u2026";
  }
}

}  // namespace gatehall
