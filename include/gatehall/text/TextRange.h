#pragma once

#include <cstdint>

#include "gatehall/base/Export.h"
#include "gatehall/base/PlatformException.h"

namespace gatehall {

/// A stretch of text, in UTF-16 units.
struct GATEHALL_EXPORT TextRange {
  std::uint64_t location = 0;
  std::uint64_t length = 0;

  /// The first index behind the range.
  std::uint64_t end() const { return location + length; }
  friend bool operator==(const TextRange&, const TextRange&) = default;
};

/// A range or an index that lies outside a text.
class GATEHALL_EXPORT RangeException : public PlatformException {
 public:
  /// "Invalid range {location, length}."
  explicit RangeException(TextRange range);
};

}  // namespace gatehall
