#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"
#include "gatehall/text/TextRange.h"

namespace gatehall {

/// UTF-16 text in which every unit has attributes, such as a font; neighbours with equal attributes
/// form a run. Indexes and lengths count UTF-16 units. The keys of attributes are those that the
/// host's TextSystem draws by. From any thread, as long as nobody changes it.
class GATEHALL_EXPORT AttributedString {
 public:
  AttributedString() = default;
  explicit AttributedString(std::u16string text, Dictionary attributes = {});

  const std::u16string& string() const { return mText; }
  std::uint64_t length() const { return mText.size(); }

  /// Raises RangeException beyond the end.
  char16_t characterAtIndex(std::uint64_t index) const;
  const Dictionary& attributesAtIndex(std::uint64_t index) const;
  AttributedString attributedSubstring(TextRange range) const;

  /// Points that the text takes on one line, with its attributes. May raise PlatformException.
  double width() const;

  friend bool operator==(const AttributedString&, const AttributedString&) = default;

 protected:
  struct Run {
    std::uint64_t length;
    Dictionary attributes;
    friend bool operator==(const Run&, const Run&) = default;
  };

  void checkRange(TextRange range) const;
  void appendRun(std::uint64_t length, const Dictionary& attributes);
  /// Appends those runs of the other string that cover the range.
  void appendRuns(const AttributedString& other, TextRange range);

  std::u16string mText;
  std::vector<Run> mRuns;
};

/// One that can be changed, by one thread at a time.
class GATEHALL_EXPORT MutableAttributedString : public AttributedString {
 public:
  using AttributedString::AttributedString;
  explicit MutableAttributedString(const AttributedString& string) : AttributedString(string) {}

  /// Replaces the range by a text that takes the attributes of the first unit replaced; an empty
  /// range's, those of the unit before it, or at the start after it. Raises RangeException.
  void replaceCharacters(TextRange range, std::u16string_view text);

  /// Appends text and attributes.
  void append(const AttributedString& string);

  void setAttributedString(const AttributedString& string) { AttributedString::operator=(string); }
};

}  // namespace gatehall
