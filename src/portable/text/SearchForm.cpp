#include "portable/text/SearchForm.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <utility>
#include <vector>

#include "base/Ascii.h"
#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"
#include "portable/text/CaseFolding.h"
#include "portable/text/IcuSonames.h"
#include "portable/text/Utf16.h"

namespace gatehall {

namespace {

/// Longer ones are no names: what stands behind is not searched.
constexpr std::size_t kLongestText = 4096;

struct Normalization {
  LazyLibrary library{kIcuuc, kIcuPackage};
  decltype(::unorm2_getNFKDInstance)* decomposition =
      GATEHALL_FUNCTION(library, unorm2_getNFKDInstance);
  decltype(::unorm2_normalize)* normalize = GATEHALL_FUNCTION(library, unorm2_normalize);
  decltype(::u_getCombiningClass)* combiningClass = GATEHALL_FUNCTION(library, u_getCombiningClass);
  decltype(::u_hasBinaryProperty)* hasProperty = GATEHALL_FUNCTION(library, u_hasBinaryProperty);
};

bool isASCII(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80U; });
}

/// Letters that Unicode doesn't take apart, in lower case.
constexpr std::array<std::pair<char16_t, std::u16string_view>, 9> kPlainLetters{{
    {u'\u00E6', u"ae"},  // æ
    {u'\u00F0', u"d"},   // ð
    {u'\u00F8', u"o"},   // ø
    {u'\u00FE', u"th"},  // þ
    {u'\u0111', u"d"},   // đ
    {u'\u0127', u"h"},   // ħ
    {u'\u0131', u"i"},   // ı
    {u'\u0142', u"l"},   // ł
    {u'\u0153', u"oe"},  // œ
}};

std::string withPlainSpaces(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return static_cast<unsigned char>(c) < 0x20U || c == 0x7F; }, ' ');
  return text;
}

/// Marks of these classes stand over, under or beside a letter that stays what it is (Unicode
/// Standard, chapter 4); lower ones, such as of a virama or a voicing mark, make another.
constexpr std::uint8_t kFirstMark = 10;

class Plain {
 public:
  std::u16string of(std::u16string_view text) const {
    const auto parts = decomposed(text);
    std::u16string plain;
    for (std::size_t at = 0; at < parts.size(); ++at) {
      const char16_t unit = parts[at];
      const bool isPair = unit >= 0xD800 && unit < 0xDC00 && at + 1 < parts.size();
      const auto character =
          isPair
              ? static_cast<UChar32>(0x10000 + ((unit - 0xD800) << 10) + (parts[at + 1] - 0xDC00))
              : static_cast<UChar32>(unit);
      append(character, parts.substr(at, isPair ? 2 : 1), plain);
      if (isPair) ++at;
    }
    return plain;
  }

 private:
  std::u16string decomposed(std::u16string_view text) const {
    auto status = U_ZERO_ERROR;
    const auto* form = mICU.decomposition(&status);
    // A character has at most eighteen in its decomposition (Unicode Standard Annex 15).
    std::u16string parts(text.size() * 18, u'\0');
    const auto length =
        mICU.normalize(form, text.data(), static_cast<std::int32_t>(text.size()), parts.data(),
                       static_cast<std::int32_t>(parts.size()), &status);
    if (U_FAILURE(status)) throw PlatformException("Unable to take a text's characters apart.");
    parts.resize(static_cast<std::size_t>(length));
    return parts;
  }

  void append(UChar32 character, std::u16string_view units, std::u16string& plain) const {
    constexpr UChar32 kTatweel = 0x640;  // draws an Arabic word out
    const auto* const letter = std::ranges::find(kPlainLetters, static_cast<char16_t>(character),
                                                 &std::pair<char16_t, std::u16string_view>::first);
    if (units.size() == 1 && letter != kPlainLetters.end()) {
      plain.append(letter->second);
    } else if (mICU.hasProperty(character, UCHAR_WHITE_SPACE) != 0) {
      plain.push_back(u' ');
    } else if (character != kTatweel && mICU.combiningClass(character) < kFirstMark &&
               mICU.hasProperty(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) == 0) {
      plain.append(units);
    }
  }

  const Normalization& mICU = icu();

  static const Normalization& icu() {
    static const Normalization functions;
    return functions;
  }
};

}  // namespace

std::string searchForm(std::string_view text) {
  text = text.substr(0, kLongestText);
  if (isASCII(text)) return withPlainSpaces(ascii::lower(text));
  try {
    // A styled capital letter is one only once it is taken apart.
    const auto plain = Plain().of(utf16(foldedCase(text)));
    return withPlainSpaces(utf8(Plain().of(utf16(foldedCase(utf8(plain))))));
  } catch (const PlatformException&) {
    return withPlainSpaces(ascii::lower(text));
  }
}

}  // namespace gatehall
