#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

namespace gatehall {

/// Location and length, in UTF-16 units, of the composed character sequence (an extended grapheme
/// cluster, Unicode Standard Annex 29) that holds the unit at index, which is below the text's
/// length. From any thread. Maps ICU. Raises PlatformException when ICU can't be had.
std::pair<std::size_t, std::size_t> composedCharacterAt(std::u16string_view text,
                                                        std::size_t index);

}  // namespace gatehall
