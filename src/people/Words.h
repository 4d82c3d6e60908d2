#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "portable/formats/MessageCatalogue.h"

namespace gatehall {

/// What a program says to the person in front of it, in their language.
struct Words {
  MessageCatalogue catalogue{};
  std::string locale{};        ///< whose they are, "de_AT.UTF-8"; "": the source's own English
  bool isRightToLeft = false;  ///< so its script is written

  std::string_view translated(std::string_view message) const {
    return catalogue.translated(message);
  }
};

/// What an environment says by a variable's name; null: nothing.
using Environment = std::function<const char*(const char* name)>;

/// Those of the first language that the environment asks for and there are words in, by the rules
/// of gettext(3): LC_ALL, else LC_MESSAGES, else LANG names the locale, and unless it is "C" or
/// "POSIX", LANGUAGE the languages to try before it, between colons.
Words wordsFor(const Environment& environment, std::string_view folder = kCatalogues);

/// A name for a sentence, in whose order what the name is written in has no part (U+2068, U+2069).
std::string isolated(std::string_view name);

/// The sentence with the text in the place of its first "%s".
std::string withPlace(std::string_view sentence, std::string_view text);

}  // namespace gatehall
