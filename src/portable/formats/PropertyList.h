#pragma once

#include <cstddef>
#include <string_view>

#include "gatehall/base/PlatformException.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// A longer property list is not read.
inline constexpr std::size_t kLargestPropertyList = std::size_t{8} << 20U;

/// Bytes that are no property list. The text says what is wrong and where, as far as it is known.
class MalformedPropertyList : public PlatformException {
 public:
  using PlatformException::PlatformException;
};

/// The value that a property list's bytes hold, XML or binary. From any thread, in bounded time and
/// memory.
///
/// A number beyond the signed 64 bits is a real, the nearest; a binary list's UID is an integer.
/// Text that stands where a number or a date belongs reads as libplist reads it, which is 0.
///
/// Raises MalformedPropertyList when the bytes are no property list, hold text that is not UTF-8,
/// or go beyond the limits on size and nesting; another PlatformException when libplist can't be
/// mapped.
Value parsePropertyList(std::string_view bytes);

}  // namespace gatehall
