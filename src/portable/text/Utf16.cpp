#include "portable/text/Utf16.h"

#include "portable/text/Utf8.h"

namespace gatehall {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

void append(std::string& text, char32_t character) {
  const auto put = [&](char32_t byte) { text += static_cast<char>(byte); };
  const auto putRest = [&](unsigned shift) { put(0x80U | ((character >> shift) & 0x3FU)); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0U | character >> 6U);
    putRest(0);
  } else if (character < 0x10000) {
    put(0xE0U | character >> 12U);
    putRest(6);
    putRest(0);
  } else {
    put(0xF0U | character >> 18U);
    putRest(12);
    putRest(6);
    putRest(0);
  }
}

void append(std::u16string& text, char32_t character) {
  if (character < 0x10000) {
    text += static_cast<char16_t>(character);
  } else {
    text += static_cast<char16_t>(0xD800U + ((character - 0x10000) >> 10U));
    text += static_cast<char16_t>(0xDC00U + ((character - 0x10000) & 0x3FFU));
  }
}

/// The character of a well-formed sequence.
char32_t decoded(std::string_view sequence) {
  const auto lead = static_cast<unsigned char>(sequence[0]);
  if (sequence.size() == 1) return lead;
  char32_t character = lead & (0x7FU >> sequence.size());
  for (const char byte : sequence.substr(1)) {
    character = character << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  return character;
}

}  // namespace

std::u16string utf16(std::string_view utf8) {
  std::u16string text;
  text.reserve(utf8.size());
  while (!utf8.empty()) {
    const auto length = utf8SequenceLength(utf8);
    append(text, length == 0 ? kReplacement : decoded(utf8.substr(0, length)));
    utf8.remove_prefix(length == 0 ? 1 : length);
  }
  return text;
}

std::string utf8(std::u16string_view utf16) {
  std::string text;
  text.reserve(utf16.size());
  for (std::size_t index = 0; index < utf16.size(); ++index) {
    char32_t character = utf16[index];
    if (isHighSurrogate(utf16[index]) && index + 1 < utf16.size() &&
        isLowSurrogate(utf16[index + 1])) {
      ++index;
      character = 0x10000 + ((character - 0xD800) << 10U) + (utf16[index] - 0xDC00U);
    } else if (isHighSurrogate(utf16[index]) || isLowSurrogate(utf16[index])) {
      character = kReplacement;
    }
    append(text, character);
  }
  return text;
}

}  // namespace gatehall
