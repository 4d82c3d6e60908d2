#include "gatehall/text/AttributedString.h"

#include <algorithm>
#include <utility>

#include "gatehall/platform/Platform.h"

namespace gatehall {

AttributedString::AttributedString(std::u16string text, Dictionary attributes)
    : mText(std::move(text)) {
  if (!mText.empty()) mRuns.push_back({mText.size(), std::move(attributes)});
}

void AttributedString::checkRange(TextRange range) const {
  if (range.location > length() || range.length > length() - range.location) {
    throw RangeException(range);
  }
}

char16_t AttributedString::characterAtIndex(std::uint64_t index) const {
  if (index >= length()) throw RangeException({index, 1});
  return mText[index];
}

const Dictionary& AttributedString::attributesAtIndex(std::uint64_t index) const {
  std::uint64_t end = 0;
  for (const auto& run : mRuns) {
    end += run.length;
    if (index < end) return run.attributes;
  }
  throw RangeException({index, 1});
}

AttributedString AttributedString::attributedSubstring(TextRange range) const {
  checkRange(range);
  AttributedString part;
  part.mText = mText.substr(range.location, range.length);
  part.appendRuns(*this, range);
  return part;
}

double AttributedString::width() const {
  std::vector<TextRun> runs;
  std::u16string_view rest = mText;
  for (const auto& run : mRuns) {
    runs.push_back({rest.substr(0, run.length), run.attributes});
    rest.remove_prefix(run.length);
  }
  return platform().text().width(runs);
}

void AttributedString::appendRun(std::uint64_t length, const Dictionary& attributes) {
  if (length == 0) return;
  if (!mRuns.empty() && mRuns.back().attributes == attributes) {
    mRuns.back().length += length;
  } else {
    mRuns.push_back({length, attributes});
  }
}

void AttributedString::appendRuns(const AttributedString& other, TextRange range) {
  std::uint64_t start = 0;
  for (const auto& run : other.mRuns) {
    const auto end = start + run.length;
    const auto from = std::max(start, range.location);
    const auto to = std::min(end, range.end());
    if (from < to) appendRun(to - from, run.attributes);
    start = end;
  }
}

void MutableAttributedString::replaceCharacters(TextRange range, std::u16string_view text) {
  checkRange(range);
  const AttributedString before = *this;
  Dictionary attributes;
  if (!before.string().empty()) {
    const bool insertsAfter = range.length == 0 && range.location > 0;
    attributes = before.attributesAtIndex(insertsAfter ? range.location - 1 : range.location);
  }
  mText.replace(range.location, range.length, text);
  mRuns.clear();
  appendRuns(before, {0, range.location});
  appendRun(text.size(), attributes);
  appendRuns(before, {range.end(), before.length() - range.end()});
}

void MutableAttributedString::append(const AttributedString& string) {
  if (&string == this) return append(AttributedString(string));
  mText += string.string();
  appendRuns(string, {0, string.length()});
}

}  // namespace gatehall
