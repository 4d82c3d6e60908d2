#include "people/Words.h"

#include <algorithm>
#include <array>
#include <utility>

namespace gatehall {

namespace {

std::string_view text(const Environment& environment, const char* name) {
  const char* value = environment(name);
  return value != nullptr ? std::string_view(value) : std::string_view();
}

/// "de_AT.UTF-8" is of "de".
std::string_view languageOf(std::string_view locale) {
  return locale.substr(0, locale.find_first_of("_.@"));
}

bool isRightToLeft(std::string_view locale) {
  constexpr std::array<std::string_view, 10> languages = {"ar", "ckb", "dv", "fa", "he",
                                                          "ps", "sd",  "ug", "ur", "yi"};
  return std::ranges::find(languages, languageOf(locale)) != languages.end();
}

/// Whether there is nothing to translate for it.
bool isOfSource(std::string_view locale) {
  const auto language = languageOf(locale);
  return language == "C" || language == "POSIX" || language == "en";
}

}  // namespace

Words wordsFor(const Environment& environment, std::string_view folder) {
  std::string_view locale;
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (locale.empty()) locale = text(environment, name);
  }
  const auto language = languageOf(locale);
  if (language.empty() || language == "C" || language == "POSIX") return {};
  std::string wanted(text(environment, "LANGUAGE"));
  wanted.append(":").append(locale);
  for (std::string_view rest = wanted; !rest.empty();) {
    const auto each = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(each.size() + 1, rest.size()));
    if (each.empty()) continue;
    if (isOfSource(each)) break;
    auto catalogue = catalogueFor(each, "gatehall", folder);
    if (catalogue.isEmpty()) continue;
    return {std::move(catalogue), std::string(each), isRightToLeft(each)};
  }
  return {};
}

std::string isolated(std::string_view name) {
  std::string text("\u2068");
  return text.append(name).append("\u2069");
}

std::string withPlace(std::string_view sentence, std::string_view text) {
  constexpr std::string_view kPlace = "%s";
  std::string result(sentence);
  const auto place = result.find(kPlace);
  if (place != std::string::npos) result.replace(place, kPlace.size(), text);
  return result;
}

}  // namespace gatehall
