#include "linux/ldap/client/SearchFilter.h"

#include "base/Ascii.h"

namespace gatehall::ldap::searchFilter {

namespace {

/// Of a filter. Servers refuse messages beyond 256 KiB.
constexpr std::size_t kLongestFilter = 150000;

}  // namespace

std::string escaped(std::string_view value) {
  std::string text;
  text.reserve(value.size());
  for (const char c : value) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isPlain =
        byte >= ' ' && byte < 0x7F && c != '*' && c != '(' && c != ')' && c != '\\';
    if (isPlain) {
      text += c;
    } else {
      text += '\\';
      ascii::appendHexadecimal(text, byte);
    }
  }
  return text;
}

std::string equals(std::string_view attribute, std::string_view value) {
  return "(" + std::string(attribute) + "=" + escaped(value) + ")";
}

std::string contains(std::string_view attribute, std::string_view value) {
  return "(" + std::string(attribute) + "=*" + escaped(value) + "*)";
}

std::string anyOf(std::span<const std::string> filters) {
  if (filters.size() == 1) return filters.front();
  std::string text = "(|";
  for (const auto& each : filters) text += each;
  return text + ")";
}

std::vector<std::string> anyOfInParts(std::span<const std::string> terms, std::size_t mostTerms) {
  std::vector<std::string> filters;
  std::size_t begin = 0;
  std::size_t length = 0;
  for (std::size_t end = 0; end <= terms.size(); ++end) {
    const bool isFull = end - begin == mostTerms || length > kLongestFilter;
    if (end > begin && (end == terms.size() || isFull)) {
      filters.push_back(anyOf(terms.subspan(begin, end - begin)));
      begin = end;
      length = 0;
    }
    if (end < terms.size()) length += terms[end].size();
  }
  return filters;
}

bool isWhole(std::string_view text) {
  std::size_t depth = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '(') ++depth;
    if (depth == 0) return false;
    if (text[at] == ')') --depth;
    if (depth == 0) return at + 1 == text.size();
  }
  return false;
}

std::string bothOf(std::string_view one, std::string_view other) {
  return "(&" + std::string(one) + std::string(other) + ")";
}

}  // namespace gatehall::ldap::searchFilter
