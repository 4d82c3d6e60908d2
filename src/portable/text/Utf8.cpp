#include "portable/text/Utf8.h"

namespace gatehall {

std::size_t utf8SequenceLength(std::string_view bytes) {
  if (bytes.empty()) return 0;
  const auto at = [&](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
  const unsigned lead = at(0);
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (bytes.size() < length) return 0;
  for (std::size_t index = 1; index < length; ++index) {
    if ((at(index) & 0xC0U) != 0x80) return 0;
  }
  const unsigned second = at(1);
  const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool surrogate = lead == 0xED && second > 0x9F;
  const bool tooLarge = lead == 0xF4 && second > 0x8F;
  return overlong || surrogate || tooLarge ? 0 : length;
}

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto length = utf8SequenceLength(bytes);
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

}  // namespace gatehall
