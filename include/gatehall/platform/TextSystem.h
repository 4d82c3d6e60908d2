#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <utility>

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// A stretch of UTF-16 text that has the same attributes throughout.
struct GATEHALL_EXPORT TextRun {
  std::u16string_view text;
  const Dictionary& attributes;
};

/// How wide styled text is and where its characters end. From any thread. May raise
/// PlatformException when the host's text system can't be had, or a text is longer than it
/// measures.
class GATEHALL_EXPORT TextSystem {
 public:
  virtual ~TextSystem() = default;

  /// Points that the runs take, side by side on one line, drawn with their attributes. A host says
  /// which attributes it draws by, and passes over others.
  virtual double width(std::span<const TextRun> runs) = 0;

  /// Location and length, in UTF-16 units, of the composed character sequence that holds the unit
  /// at index. The index is below the text's length.
  virtual std::pair<std::size_t, std::size_t> composedCharacterRange(std::u16string_view text,
                                                                     std::size_t index) = 0;
};

}  // namespace gatehall
