#include "portable/NameBasedUUID.h"

#include <uuid/uuid.h>

#include "base/Ascii.h"

namespace gatehall {

namespace {

bool isHyphenPlace(std::size_t index) {
  return index == 8 || index == 13 || index == 18 || index == 23;
}

}  // namespace

UUIDBytes nameBasedUUID(const UUIDBytes& nameSpace, std::string_view name) {
  UUIDBytes result;
  uuid_generate_sha1(result.data(), nameSpace.data(), name.data(), name.size());
  return result;
}

bool isNameBased(const UUIDBytes& uuid) {
  return (uuid[6] & 0xF0U) == 0x50U && (uuid[8] & 0xC0U) == 0x80U;
}

std::string uuidText(const UUIDBytes& uuid) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text(36, '-');
  std::size_t index = 0;
  for (const auto byte : uuid) {
    if (isHyphenPlace(index)) ++index;
    text[index++] = digits[byte >> 4U];
    text[index++] = digits[byte & 0xFU];
  }
  return text;
}

std::optional<UUIDBytes> parseUUID(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  std::array<char, 32> digits;
  std::size_t count = 0;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (!isHyphenPlace(index)) {
      digits[count++] = text[index];
    } else if (text[index] != '-') {
      return std::nullopt;
    }
  }
  return parseHexadecimal({digits.data(), digits.size()});
}

std::optional<UUIDBytes> parseHexadecimal(std::string_view digits) {
  UUIDBytes bytes;
  if (digits.size() != 2 * bytes.size()) return std::nullopt;
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    const int high = ascii::hexadecimalValue(digits[2 * index]);
    const int low = ascii::hexadecimalValue(digits[2 * index + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes[index] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return bytes;
}

}  // namespace gatehall
