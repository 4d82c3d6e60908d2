#include "people/Names.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "gatehall/platform/Platform.h"
#include "portable/text/Utf16.h"

namespace gatehall {

namespace {

constexpr std::array<std::uint32_t, 10> kFaceColours = {0x3C6FB4, 0x2C7F75, 0x8455A8, 0xB5523B,
                                                        0x4F7D33, 0xB0487E, 0x5A62BE, 0x96691C,
                                                        0x3B7C9B, 0x77666B};

/// Letters of which two beside each other read as initials; those of other scripts may join.
bool standsAlone(char16_t letter) { return letter < 0x530; }

constexpr std::size_t kLongest = 128;

/// Marks of a direction, embeddings, overrides and isolates (Unicode's UAX #9).
bool turns(char16_t unit) {
  return unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x202A && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069);
}

/// What ends a line, or does anything else than to be seen.
bool isControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029;
}

std::u16string firstLetter(std::u16string_view word) {
  const auto [start, length] = platform().text().composedCharacterRange(word, 0);
  std::u16string letter(word.substr(start, length));
  if (letter[0] >= u'a' && letter[0] <= u'z') letter[0] = static_cast<char16_t>(letter[0] - 32);
  return letter;
}

}  // namespace

std::string inOneLine(const std::string& text) {
  auto line = utf16(text);
  std::erase_if(line, turns);
  std::ranges::replace_if(line, isControl, u' ');
  if (line.size() > kLongest) {
    line.resize(platform().text().composedCharacterRange(line, kLongest - 1).first);
    line += u'…';
  }
  return utf8(line);
}

std::string shownName(const ListedUser& user) {
  for (const auto* name : {&user.longName, &user.shortName}) {
    auto line = inOneLine(name->value_or(""));
    if (line.find_first_not_of(' ') != std::string::npos) return line;
  }
  return std::to_string(user.uid);
}

std::string initials(const std::string& name) {
  std::vector<std::u16string> letters;
  const auto text = utf16(name);
  std::u16string_view rest = text;
  while (!rest.empty()) {
    const auto start = rest.find_first_not_of(u' ');
    if (start == std::u16string_view::npos) break;
    rest.remove_prefix(start);
    letters.push_back(firstLetter(rest));
    rest.remove_prefix(std::min(rest.find(u' '), rest.size()));
  }
  if (letters.empty()) return {};
  const auto& first = letters.front();
  const auto& last = letters.back();
  const bool both = letters.size() > 1 && standsAlone(first[0]) && standsAlone(last[0]);
  return utf8(both ? first + last : first);
}

std::uint32_t faceColour(const ListedUser& user) {
  // FNV-1a.
  std::uint32_t hash = 2166136261U;
  for (const char byte : user.guid.value_or(shownName(user))) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U;
  }
  return kFaceColours.at((hash ^ hash >> 16U) % kFaceColours.size());
}

}  // namespace gatehall
