#include "greeter/machine/Languages.h"

#include <algorithm>
#include <langinfo.h>
#include <locale.h>
#include <memory>
#include <type_traits>
#include <utility>

namespace gatehall::greeter {

namespace {

constexpr std::string_view kCodeset = ".UTF-8";
constexpr std::size_t kLongestName = 64;

struct Freed {
  void operator()(locale_t locale) const { freelocale(locale); }
};
using Locale = std::unique_ptr<std::remove_pointer_t<locale_t>, Freed>;

/// The name with the codeset written as everywhere but in locale(1)'s list; "" when it names no
/// language in UTF-8.
std::string nameIn(std::string_view line) {
  const auto dot = line.find('.');
  if (dot == std::string_view::npos || dot == 0 || line.size() > kLongestName) return {};
  const auto language = line.substr(0, dot);
  const auto rest = line.substr(dot + 1);
  const auto modifier = rest.substr(std::min(rest.find('@'), rest.size()));
  auto codeset = std::string(rest.substr(0, rest.size() - modifier.size()));
  std::ranges::transform(codeset, codeset.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  if ((codeset != "utf8" && codeset != "utf-8") || language == "C" || language == "POSIX") {
    return {};
  }
  std::string name(language);
  return name.append(kCodeset).append(modifier);
}

std::string textIn(const Locale& locale, nl_item item) {
  const char* text = nl_langinfo_l(item, locale.get());
  return text == nullptr ? std::string() : text;
}

/// As names in a list begin; other scripts than Latin have no such custom, or more letters to it.
std::string withCapital(std::string name) {
  if (!name.empty() && name.front() >= 'a' && name.front() <= 'z') {
    name.front() = static_cast<char>(name.front() - 'a' + 'A');
  }
  return name;
}

}  // namespace

Language languageOf(std::string_view locale) {
  Language result{std::string(locale), std::string(locale)};
  const Locale own(newlocale(LC_ADDRESS_MASK | LC_CTYPE_MASK, result.locale.c_str(), locale_t{}));
  if (!own) return result;
  const auto language = textIn(own, _NL_ADDRESS_LANG_NAME);
  const auto country = textIn(own, _NL_ADDRESS_COUNTRY_NAME);
  if (language.empty()) return result;
  result.name = withCapital(language);
  if (!country.empty()) result.name.append(" (").append(country).append(")");
  return result;
}

std::vector<Language> languagesIn(std::string_view locales) {
  std::vector<Language> languages;
  while (!locales.empty()) {
    const auto end = std::min(locales.find('\n'), locales.size());
    if (const auto name = nameIn(locales.substr(0, end)); !name.empty()) {
      languages.push_back(languageOf(name));
    }
    locales.remove_prefix(std::min(end + 1, locales.size()));
  }
  std::ranges::sort(languages, {},
                    [](const Language& each) { return std::pair(each.name, each.locale); });
  const auto again = std::ranges::unique(languages);
  languages.erase(again.begin(), again.end());
  return languages;
}

}  // namespace gatehall::greeter
