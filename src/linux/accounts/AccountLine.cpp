#include "linux/accounts/AccountLine.h"

#include "base/Ascii.h"
#include "linux/files/FaultLog.h"
#include "linux/records/AccountID.h"

namespace gatehall::accountLine {

namespace {

/// Characters beyond ASCII that are blank, or not seen at all, from the first to the last.
struct Unseen {
  std::string_view first;
  std::string_view last;  ///< of the same length
};
constexpr Unseen kUnseen[] = {
    {"\xC2\x80", "\xC2\xA0"},          // control characters, the no-break space
    {"\xC2\xAD", "\xC2\xAD"},          // the soft hyphen
    {"\xE1\x9A\x80", "\xE1\x9A\x80"},  // the Ogham space
    {"\xE1\xA0\x8E", "\xE1\xA0\x8E"},  // the Mongolian vowel separator
    {"\xE2\x80\x80", "\xE2\x80\x8F"},  // spaces, zero-width characters, marks of direction
    {"\xE2\x80\xA8", "\xE2\x80\xAF"},  // separators of lines, embeddings, a narrow space
    {"\xE2\x81\x9F", "\xE2\x81\xAF"},  // a space, the word joiner, isolates
    {"\xE3\x80\x80", "\xE3\x80\x80"},  // the ideographic space
    {"\xEF\xB8\x80", "\xEF\xB8\x8F"},  // variation selectors
    {"\xEF\xBB\xBF", "\xEF\xBB\xBF"},  // the byte order mark
};

/// How many bytes of what is unseen the text begins with.
std::size_t unseenLength(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  if (first <= ' ' || first == 0x7F) return 1;
  for (const auto& each : kUnseen) {
    const auto start = text.substr(0, each.first.size());
    if (each.first <= start && start <= each.last) return start.size();
  }
  return 0;
}

}  // namespace

std::string plainName(std::string_view name) {
  std::string plain;
  while (!name.empty()) {
    const auto unseen = unseenLength(name);
    if (unseen == 0) plain += name.front();
    name.remove_prefix(unseen == 0 ? 1 : unseen);
  }
  return plain;
}

bool readID(std::string_view text, std::string_view what, std::uint32_t& number,
            std::string& fault) {
  if (const auto read = accountID(text)) {
    number = *read;
    return true;
  }
  const bool isNumber = ascii::isNumber(text.substr(text.starts_with('-') ? 1 : 0));
  fault = std::string(what) + " " + (isNumber ? "" : "\"") + printable(text) +
          (isNumber ? " is out of range" : "\" is not a number");
  return false;
}

bool checkLine(std::string_view line, std::string_view name, std::size_t count,
               std::size_t expected, std::string& fault) {
  if (line.find('\0') != std::string_view::npos) {
    fault = "the line holds a NUL byte";
  } else if (count != expected) {
    fault =
        "the line has " + std::to_string(count) + " fields instead of " + std::to_string(expected);
  } else if (name.empty()) {
    fault = "the name is empty";
  }
  return fault.empty();
}

}  // namespace gatehall::accountLine
