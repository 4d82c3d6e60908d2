#include "ctl/picture/MissingScripts.h"

#include <string>
#include <string_view>

#include "portable/text/Scripts.h"

namespace gatehall::ctl {

namespace {

/// Of the blocks from Miscellaneous Symbols and Pictographs on.
bool isEmoji(char32_t character) { return character >= 0x1F300 && character <= 0x1FAFF; }

std::string_view packageWith(std::string_view script) {
  for (const auto* name : {"Han", "Hiragana", "Katakana", "Hangul", "Bopomofo"}) {
    if (script == name) return "fonts-noto-cjk";
  }
  return "fonts-noto-core";
}

}  // namespace

Strings notesOnScripts(const std::set<char32_t>& characters) {
  std::set<std::string> notes;
  for (const auto character : characters) {
    if (isEmoji(character)) {
      notes.insert("no font has emoji, which a name needs: install fonts-noto-color-emoji");
      continue;
    }
    const auto script = scriptOf(character);
    if (!script) continue;
    notes.insert(std::string("no font has ")
                     .append(*script)
                     .append(" letters, which a name needs: install ")
                     .append(packageWith(*script)));
  }
  return {notes.begin(), notes.end()};
}

}  // namespace gatehall::ctl
