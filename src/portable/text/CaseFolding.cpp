#include "portable/text/CaseFolding.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <vector>

#include "base/Ascii.h"
#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"
#include "portable/text/IcuSonames.h"

namespace gatehall {

namespace {

constexpr UChar32 kReplacement = 0xFFFD;

/// A folded character has at most three times the UTF-16 units of the original, and a unit at most
/// three bytes of UTF-8; ICU counts in 32 bits.
constexpr std::size_t kLongestText = std::numeric_limits<std::int32_t>::max() / 9;

struct Unicode {
  LazyLibrary library{kIcuuc, kIcuPackage};
  decltype(::u_strFromUTF8WithSub)* fromUTF8 = GATEHALL_FUNCTION(library, u_strFromUTF8WithSub);
  decltype(::u_strFoldCase)* foldCase = GATEHALL_FUNCTION(library, u_strFoldCase);
  decltype(::u_strToUTF8)* toUTF8 = GATEHALL_FUNCTION(library, u_strToUTF8);
};

bool isASCII(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80U; });
}

std::int32_t count(std::size_t size) { return static_cast<std::int32_t>(size); }

}  // namespace

std::string foldedCase(std::string_view text) {
  if (isASCII(text)) return ascii::lower(text);
  if (text.size() > kLongestText) throw std::length_error("a text of that length can't be folded");
  static const Unicode unicode;

  auto status = U_ZERO_ERROR;
  std::int32_t units = 0;
  std::vector<UChar> plain(text.size());
  unicode.fromUTF8(plain.data(), count(plain.size()), &units, text.data(), count(text.size()),
                   kReplacement, nullptr, &status);

  std::vector<UChar> folded(static_cast<std::size_t>(units) * 3);
  units = unicode.foldCase(folded.data(), count(folded.size()), plain.data(), units,
                           U_FOLD_CASE_DEFAULT, &status);

  std::string result(static_cast<std::size_t>(units) * 3, '\0');
  std::int32_t bytes = 0;
  unicode.toUTF8(result.data(), count(result.size()), &bytes, folded.data(), units, &status);
  if (U_FAILURE(status)) throw PlatformException("Unable to fold a text's case.");
  result.resize(static_cast<std::size_t>(bytes));
  return result;
}

}  // namespace gatehall
