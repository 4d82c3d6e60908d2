#include "portable/text/IcuCharacters.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <unicode/ubrk.h>

#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"
#include "portable/text/IcuSonames.h"

namespace gatehall {

namespace {

constexpr std::size_t kLongestText = std::numeric_limits<std::int32_t>::max();

struct Breaks {
  LazyLibrary library{kIcuuc, kIcuPackage};
  decltype(::ubrk_open)* open = GATEHALL_FUNCTION(library, ubrk_open);
  decltype(::ubrk_close)* close = GATEHALL_FUNCTION(library, ubrk_close);
  decltype(::ubrk_setText)* setText = GATEHALL_FUNCTION(library, ubrk_setText);
  decltype(::ubrk_following)* following = GATEHALL_FUNCTION(library, ubrk_following);
  decltype(::ubrk_preceding)* preceding = GATEHALL_FUNCTION(library, ubrk_preceding);
};

void check(UErrorCode status) {
  if (U_FAILURE(status)) throw PlatformException("Unable to tell where characters end.");
}

/// Opening one takes far longer than a name does, and one serves one thread.
class Characters {
 public:
  Characters() {
    auto status = U_ZERO_ERROR;
    mIterator.reset(mICU.open(UBRK_CHARACTER, "", nullptr, 0, &status));
    check(status);
  }

  std::pair<std::size_t, std::size_t> at(std::u16string_view text, std::size_t index) {
    auto status = U_ZERO_ERROR;
    mICU.setText(mIterator.get(), text.data(), static_cast<std::int32_t>(text.size()), &status);
    check(status);
    const auto end = mICU.following(mIterator.get(), static_cast<std::int32_t>(index));
    const auto start = mICU.preceding(mIterator.get(), end);
    return {static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)};
  }

 private:
  static const Breaks& icu() {
    static const Breaks functions;
    return functions;
  }

  const Breaks& mICU = icu();
  std::unique_ptr<UBreakIterator, decltype(::ubrk_close)*> mIterator{nullptr, mICU.close};
};

}  // namespace

std::pair<std::size_t, std::size_t> composedCharacterAt(std::u16string_view text,
                                                        std::size_t index) {
  if (text.size() > kLongestText) throw PlatformException("A text is too long to be taken apart.");
  // Among characters below U+0300, where those that combine begin, each but a line end is whole.
  const auto isAlone = [&](std::size_t at) {
    return at >= text.size() || (text[at] < 0x300 && text[at] != u'\r' && text[at] != u'\n');
  };
  if (isAlone(index) && isAlone(index + 1) && (index == 0 || isAlone(index - 1))) return {index, 1};
  thread_local Characters characters;
  return characters.at(text, index);
}

}  // namespace gatehall
