#pragma once

#include <string>
#include <string_view>

#include "gatehall/base/Export.h"

namespace gatehall {

/// The order in which people of the current locale expect names: case-insensitive, runs of digits
/// by their numeric value. From any thread. May raise PlatformException when the host's collation
/// can't be had.
class GATEHALL_EXPORT Collation {
 public:
  virtual ~Collation() = default;

  /// -1, 0 or 1. Texts are UTF-8; malformed sequences count as U+FFFD.
  virtual int compare(std::string_view left, std::string_view right) = 0;

  /// Bytes whose plain order is that of compare, for sorting many texts. Good until the locale
  /// changes.
  virtual std::string sortKey(std::string_view text) = 0;
};

}  // namespace gatehall
