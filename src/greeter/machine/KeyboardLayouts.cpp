#include "greeter/machine/KeyboardLayouts.h"

#include <algorithm>
#include <cstddef>

namespace gatehall::greeter {

namespace {

/// XkbNumKbdGroups
constexpr std::size_t kMostLayouts = 4;

/// Takes the text up to the separator off the front of the rest, with the separator.
std::string_view takeUpTo(std::string_view& rest, char separator) {
  const auto end = std::min(rest.find(separator), rest.size());
  const auto text = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return text;
}

std::string_view withoutBlanks(std::string_view text) {
  const auto first = std::min(text.find_first_not_of(' '), text.size());
  return text.substr(first);
}

/// What the list calls the layout, or its variant: "  CODE  NAME" below "! layout",
/// "  VARIANT  CODE: NAME" below "! variant".
std::string_view nameIn(std::string_view list, std::string_view code, std::string_view variant) {
  const std::string_view wanted = variant.empty() ? "! layout" : "! variant";
  bool isThere = false;
  while (!list.empty()) {
    const auto line = takeUpTo(list, '\n');
    if (line.starts_with('!')) {
      isThere = line == wanted;
      continue;
    }
    if (!isThere) continue;
    auto rest = withoutBlanks(line);
    const auto key = takeUpTo(rest, ' ');
    rest = withoutBlanks(rest);
    if (variant.empty()) {
      if (key == code) return rest;
    } else if (key == variant && takeUpTo(rest, ':') == code) {
      return withoutBlanks(rest);
    }
  }
  return {};
}

}  // namespace

std::vector<KeyboardLayout> layoutsIn(std::string_view names, std::string_view list,
                                      const MessageCatalogue& words) {
  takeUpTo(names, '\0');
  takeUpTo(names, '\0');
  auto codes = takeUpTo(names, '\0');
  auto variants = takeUpTo(names, '\0');
  std::vector<KeyboardLayout> layouts;
  while (!codes.empty() && layouts.size() < kMostLayouts) {
    const auto code = takeUpTo(codes, ',');
    const auto variant = takeUpTo(variants, ',');
    auto name = nameIn(list, code, variant);
    if (name.empty()) name = nameIn(list, code, "");
    layouts.push_back({std::string(code), std::string(variant),
                       std::string(name.empty() ? code : words.translated(name))});
  }
  return layouts;
}

}  // namespace gatehall::greeter
