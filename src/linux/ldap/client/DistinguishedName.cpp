#include "linux/ldap/client/DistinguishedName.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "base/Ascii.h"

namespace gatehall::ldap::distinguishedName {

namespace {

constexpr std::string_view kEscaped = "\"+,;<>\\=#";

/// Whether a name is as its canonical spelling has it but for upper-case letters; most are. Quick,
/// since the members of large groups all pass through here.
bool isPlain(std::string_view name) {
  bool isInType = true;
  std::size_t length = 0;  // of the attribute or value so far
  for (const char c : name) {
    const bool isLetter = ascii::isAlphanumeric(c) || c == '-';
    if (isLetter || (!isInType && (c == '_' || c == '.'))) {
      ++length;
    } else if (c == (isInType ? '=' : ',') && length > 0) {
      isInType = !isInType;
      length = 0;
    } else {
      return false;
    }
  }
  return !isInType && length > 0;
}

void appendEscaped(std::string& part, std::string_view value) {
  for (std::size_t index = 0; index < value.size(); ++index) {
    const char c = value[index];
    const bool isOuterSpace = c == ' ' && (index == 0 || index + 1 == value.size());
    if (c == '\0') {
      part += "\\00";
    } else {
      if (isOuterSpace || kEscaped.find(c) != std::string_view::npos) part += '\\';
      part += c;
    }
  }
}

class Reader {
 public:
  explicit Reader(std::string_view text) : mRest(text) {}

  std::optional<std::string> name() {
    std::string result;
    skipSpaces();
    if (mRest.empty()) return result;
    for (;;) {
      auto rdn = relativeName();
      if (!rdn) return std::nullopt;
      result += *rdn;
      if (mRest.empty()) return result;
      if (mRest.front() != ',' && mRest.front() != ';') return std::nullopt;
      mRest.remove_prefix(1);
      result += ',';
    }
  }

 private:
  /// One or more "ATTRIBUTE=VALUE" with "+" between them, in which their order means nothing.
  std::optional<std::string> relativeName() {
    std::vector<std::string> parts;
    for (;;) {
      std::string part;
      if (!readType(part) || !readValue(part)) return std::nullopt;
      parts.push_back(std::move(part));
      if (mRest.empty() || mRest.front() != '+') break;
      mRest.remove_prefix(1);
    }
    std::ranges::sort(parts);
    std::string joined;
    for (const auto& part : parts) joined += joined.empty() ? part : "+" + part;
    return joined;
  }

  bool readType(std::string& part) {
    skipSpaces();
    const auto equals = mRest.find('=');
    if (equals == std::string_view::npos) return false;
    auto type = mRest.substr(0, equals);
    mRest.remove_prefix(equals + 1);
    while (type.ends_with(' ')) type.remove_suffix(1);
    if (type.empty()) return false;
    for (const char c : type) {
      if (!ascii::isAlphanumeric(c) && c != '-' && c != '.') return false;
      part += ascii::lower(c);
    }
    part += '=';
    return true;
  }

  bool readValue(std::string& part) {
    skipSpaces();
    std::string value;
    std::size_t kept = 0;  // up to here a space at the end counts
    bool isQuoted = false;
    if (mRest.starts_with('"')) {
      isQuoted = true;
      mRest.remove_prefix(1);
    }
    for (;;) {
      if (mRest.empty()) {
        if (isQuoted) return false;
        break;
      }
      const char c = mRest.front();
      if (isQuoted ? c == '"' : c == ',' || c == ';' || c == '+') break;
      mRest.remove_prefix(1);
      if (c == '\0' || (!isQuoted && c == '"')) return false;
      if (c != '\\') {
        value += ascii::lower(c);
        if (isQuoted || c != ' ') kept = value.size();
        continue;
      }
      if (!readEscape(value)) return false;
      kept = value.size();
    }
    if (isQuoted) {
      mRest.remove_prefix(1);
      skipSpaces();
    }
    value.resize(kept);
    appendEscaped(part, value);
    return true;
  }

  bool readEscape(std::string& value) {
    if (mRest.empty()) return false;
    const int high = ascii::hexadecimalValue(mRest.front());
    const int low = mRest.size() > 1 ? ascii::hexadecimalValue(mRest[1]) : -1;
    if (high >= 0 && low >= 0) {
      value += ascii::lower(static_cast<char>(high * 16 + low));
      mRest.remove_prefix(2);
      return true;
    }
    const char c = mRest.front();
    if (c != ' ' && kEscaped.find(c) == std::string_view::npos) return false;
    value += c;
    mRest.remove_prefix(1);
    return true;
  }

  void skipSpaces() {
    while (mRest.starts_with(' ')) mRest.remove_prefix(1);
  }

  std::string_view mRest;
};

/// The values of a name in its canonical spelling, the outermost first, without spaces and escapes;
/// empty for one that nothing can be said of: it isn't ASCII, or several stand in one place.
std::vector<std::string> looseValues(std::string_view name) {
  std::vector<std::string> values;
  std::string value;
  bool isClear = true;
  bool isInType = true;
  const auto keep = [&] {
    values.push_back(isClear ? value : "");
    value.clear();
    isClear = isInType = true;
  };
  for (std::size_t index = 0; index < name.size(); ++index) {
    char c = name[index];
    if (isInType) {
      isInType = c != '=';
      continue;
    }
    if (c == ',') {
      keep();
      continue;
    }
    if (c == '+' || static_cast<unsigned char>(c) >= 0x7F) isClear = false;
    if (c == '\\' && index + 1 < name.size()) c = name[++index];
    if (c != ' ') value += c;
  }
  keep();
  std::ranges::reverse(values);
  return values;
}

}  // namespace

std::optional<std::string> canonical(std::string_view name) {
  if (isPlain(name)) return ascii::lower(name);
  return Reader(name).name();
}

bool isWithin(std::string_view name, std::string_view base) {
  if (base.empty() || name == base) return true;
  if (!name.ends_with(base)) return false;
  auto above = name.substr(0, name.size() - base.size());
  if (!above.ends_with(',')) return false;
  above.remove_suffix(1);
  const auto backslashes = above.size() - (above.find_last_not_of('\\') + 1);
  return backslashes % 2 == 0;  // else the comma is one of a value
}

bool mayBeWithin(std::string_view name, std::string_view base) {
  const auto values = looseValues(name);
  const auto ofBase = looseValues(base);
  const auto mayBeSame = [](const std::string& left, const std::string& right) {
    return left.empty() || right.empty() || left == right;
  };
  return values.size() >= ofBase.size() &&
         std::ranges::equal(ofBase, std::span(values).first(ofBase.size()), mayBeSame);
}

bool isCalled(std::string_view name, std::string_view attribute, std::string_view value) {
  auto part = ascii::lower(attribute) + "=";
  appendEscaped(part, ascii::lower(value));
  for (;;) {
    const auto rest = name.substr(std::min(part.size(), name.size()));
    if (name.starts_with(part) && (rest.empty() || rest.front() == ',' || rest.front() == '+')) {
      return true;
    }
    std::size_t end = 0;
    while (end < name.size() && name[end] != ',' && name[end] != '+') {
      end += name[end] == '\\' ? 2U : 1U;
    }
    if (end >= name.size() || name[end] == ',') return false;
    name.remove_prefix(end + 1);
  }
}

}  // namespace gatehall::ldap::distinguishedName
