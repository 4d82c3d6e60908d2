#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace gatehall::greeter {

/// A language that sessions can be in.
struct Language {
  std::string locale;  ///< "de_AT.UTF-8"
  std::string name;    ///< in the language itself: "Deutsch (Österreich)"

  friend bool operator==(const Language&, const Language&) = default;
};

/// The language of a locale's name, as glibc's locale itself calls it; where that isn't installed,
/// or doesn't, the name stands for it.
Language languageOf(std::string_view locale);

/// The locales in UTF-8 among the lines that locale(1) prints, each once, by what their languages
/// are called. Those of no language (C, POSIX) are left out.
std::vector<Language> languagesIn(std::string_view locales);

}  // namespace gatehall::greeter
