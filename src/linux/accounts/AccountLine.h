#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// What the lines of passwd(5), shadow(5) and group(5) have in common: fields between colons.
namespace gatehall::accountLine {

/// True for what stands for no account: blank lines, comments, and the lines beginning with + or -
/// by which nsswitch's "compat" mode includes accounts from elsewhere.
inline bool isNoAccount(std::string_view line) {
  return line.empty() || line.front() == '#' || line.front() == '+' || line.front() == '-';
}

inline std::string_view name(std::string_view line) {
  std::size_t length = 0;
  while (length < line.size() && line[length] != ':') ++length;
  return line.substr(0, length);
}

/// The name without white space, control characters and a byte order mark around it.
inline std::string_view bareName(std::string_view name) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  const auto isBlank = [](char c) { return (c >= 0 && c <= ' ') || c == '\x7F'; };
  if (name.starts_with(kMark)) name.remove_prefix(kMark.size());
  while (!name.empty() && isBlank(name.front())) name.remove_prefix(1);
  while (!name.empty() && isBlank(name.back())) name.remove_suffix(1);
  return name;
}

inline bool hasName(std::string_view line, std::string_view name) {
  return line.size() > name.size() && line[name.size()] == ':' && line.starts_with(name);
}

/// The field of that index; empty when the line has fewer. The fields in front are short, so that
/// a plain loop is faster than a search.
inline std::string_view field(std::string_view line, std::size_t index) {
  const char* start = line.data();
  const char* end = start + line.size();
  for (; index > 0 && start != end; ++start) {
    if (*start == ':') --index;
  }
  const char* stop = start;
  while (stop != end && *stop != ':') ++stop;
  return {start, static_cast<std::size_t>(stop - start)};
}

/// Cuts the line into its fields; answers how many there are, which may be more than fit.
inline std::size_t split(std::string_view line, std::span<std::string_view> fields) {
  std::size_t count = 0;
  for (;;) {
    const auto colon = line.find(':');
    if (count < fields.size()) fields[count] = line.substr(0, colon);
    ++count;
    if (colon == std::string_view::npos) return count;
    line.remove_prefix(colon + 1);
  }
}

/// The name without white space, control characters and marks that nobody sees (a byte order mark,
/// zero-width characters), wherever they stand in it: what whoever wrote it took it for.
std::string plainName(std::string_view name);

/// Reads an id into number; else false, with the reason in fault.
bool readID(std::string_view text, std::string_view what, std::uint32_t& number,
            std::string& fault);

/// The checks that every line has to pass: a name, as many fields as there should be, no NUL byte.
bool checkLine(std::string_view line, std::string_view name, std::size_t count,
               std::size_t expected, std::string& fault);

}  // namespace gatehall::accountLine
