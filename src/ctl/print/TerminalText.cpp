#include "ctl/print/TerminalText.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <cwchar>

namespace gatehall::ctl {

namespace {

/// While it lives, the thread reads characters as UTF-8, whatever the user's locale says.
class Utf8Locale {
 public:
  Utf8Locale() : mPrevious(uselocale(utf8())) {}
  ~Utf8Locale() { uselocale(mPrevious); }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

 private:
  /// Kept for the life of the process. Where it is missing, only ASCII is shown as it stands.
  static locale_t utf8() {
    static const locale_t locale = [] {
      const auto wanted = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
      return wanted != nullptr ? wanted : newlocale(LC_CTYPE_MASK, "C", nullptr);
    }();
    return locale;
  }

  locale_t mPrevious;
};

/// Unicode's bidirectional controls, which have no width.
bool turnsDirection(wchar_t character) {
  return character == 0x061C || character == 0x200E || character == 0x200F ||
         (character >= 0x202A && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

std::string escape(const char* format, unsigned code) {
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), format, code);
  return text.data();
}

}  // namespace

bool isPlainForTerminal(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= 0x20 && c < 0x7F; });
}

TerminalText forTerminal(std::string_view text) {
  if (isPlainForTerminal(text)) return {std::string(text), text.size()};
  const Utf8Locale locale;
  TerminalText result;
  std::mbstate_t state{};
  const auto append = [&result](std::string_view shown, std::size_t columns) {
    result.text += shown;
    result.columns += columns;
  };
  while (!text.empty()) {
    wchar_t character = 0;
    auto length = std::mbrtowc(&character, text.data(), text.size(), &state);
    const bool malformed = length > text.size();  // both of its failures are huge
    if (malformed) {
      state = {};
      character = 0;
    }
    if (malformed || length == 0) length = 1;

    const int columns = wcwidth(character);
    if (malformed || character < 0x20 || character == 0x7F) {
      const auto shown = escape("\\x%02X", static_cast<unsigned char>(text.front()));
      append(shown, shown.size());
    } else if (columns < 0 || turnsDirection(character)) {
      const auto shown = escape("\\u{%04X}", static_cast<unsigned>(character));
      append(shown, shown.size());
    } else {
      append(text.substr(0, length), static_cast<std::size_t>(columns));
    }
    text.remove_prefix(length);
  }
  return result;
}

std::size_t fittingLength(std::string_view shown, std::size_t columns) {
  if (isPlainForTerminal(shown)) return std::min(shown.size(), columns);
  const Utf8Locale locale;
  std::mbstate_t state{};
  std::size_t length = 0;
  while (length < shown.size()) {
    wchar_t character = 0;
    const auto bytes =
        std::mbrtowc(&character, shown.data() + length, shown.size() - length, &state);
    const auto width = static_cast<std::size_t>(std::max(wcwidth(character), 0));
    if (bytes == 0 || bytes > shown.size() - length || width > columns) break;
    columns -= width;
    length += bytes;
  }
  return length;
}

}  // namespace gatehall::ctl
