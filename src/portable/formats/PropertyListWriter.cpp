#include "portable/formats/PropertyListWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <variant>

#include "portable/formats/PropertyList.h"
#include "portable/text/Utf8.h"

namespace gatehall {

namespace {

constexpr std::string_view kStep = "  ";

std::string element(std::string_view name, std::string_view content) {
  std::string text("<");
  return text.append(name).append(">").append(content).append("</").append(name).append(">");
}

std::string base64(const Data& bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const auto byte = [&](std::size_t index) {
      return index < bytes.size() ? std::uint32_t{bytes[index]} : 0U;
    };
    const auto group = byte(at) << 16U | byte(at + 1) << 8U | byte(at + 2);
    for (std::size_t digit = 0; digit < 4; ++digit) {
      const bool isFill = at + digit > bytes.size();
      text += isFill ? '=' : kDigits[group >> (18U - 6U * digit) & 63U];
    }
  }
  return text;
}

/// Writes what kind of value it is given, its further lines indented.
class Writer {
 public:
  explicit Writer(std::string indentation) : mIndentation(std::move(indentation)) {}

  std::string operator()(const std::string& text) const {
    return element("string", propertyListCharacters(text));
  }
  std::string operator()(std::int64_t number) const {
    return element("integer", std::to_string(number));
  }
  std::string operator()(double number) const {
    if (!std::isfinite(number)) throw MalformedPropertyList("a real that is no number");
    std::array<char, 64> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    return element("real", {digits.data(), end.ptr});
  }
  std::string operator()(bool flag) const { return flag ? "<true/>" : "<false/>"; }
  std::string operator()(const Date& date) const {
    namespace chrono = std::chrono;
    constexpr Date kFirst{chrono::sys_days{chrono::year{0} / 1 / 1}};
    constexpr Date kEnd{chrono::sys_days{chrono::year{10000} / 1 / 1}};
    if (!(date >= kFirst && date < kEnd)) throw MalformedPropertyList("a date beyond all years");
    const auto day = chrono::floor<chrono::days>(date);
    const chrono::year_month_day calendar(day);
    const chrono::hh_mm_ss time(chrono::floor<chrono::seconds>(date) - day);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
                  static_cast<int>(calendar.year()), static_cast<unsigned>(calendar.month()),
                  static_cast<unsigned>(calendar.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return element("date", text.data());
  }
  std::string operator()(const Data& bytes) const { return element("data", base64(bytes)); }
  std::string operator()(const Array& elements) const {
    if (elements.empty()) return "<array/>";
    std::string lines;
    for (const auto& each : elements) lines += line(inside(each));
    return collection("array", lines);
  }
  std::string operator()(const Dictionary& entries) const {
    if (entries.empty()) return "<dict/>";
    std::string lines;
    for (const auto& [key, value] : entries) {
      // The grammar has no characters in keys that would have to be written otherwise.
      if (key.empty() || key.find_first_of("<>&") != std::string::npos) {
        throw MalformedPropertyList("a key that can't be written");
      }
      lines += line(element("key", propertyListCharacters(key))) + line(inside(value));
    }
    return collection("dict", lines);
  }

 private:
  std::string inside(const Value& value) const {
    return propertyListElement(value, mIndentation + std::string(kStep));
  }
  std::string line(const std::string& content) const {
    return mIndentation + std::string(kStep) + content + "\n";
  }
  std::string collection(std::string_view name, const std::string& lines) const {
    std::string text("<");
    text.append(name).append(">\n").append(lines).append(mIndentation);
    return text.append("</").append(name).append(">");
  }

  std::string mIndentation;
};

}  // namespace

std::string propertyListCharacters(std::string_view text) {
  if (!isUtf8(text)) throw MalformedPropertyList("text that is not UTF-8");
  std::string result;
  for (const char c : text) {
    // A carriage return is read as a line feed (XML 1.0, 2.11).
    const bool isControl = (c >= 0 && c < ' ' && c != '\n' && c != '\t') || c == '\x7F';
    if (isControl) throw MalformedPropertyList("a control character");
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string propertyListElement(const Value& value, std::string_view indentation) {
  return std::visit(Writer(std::string(indentation)), value.storage());
}

std::string propertyListText(const Value& value) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" +
         propertyListElement(value, "") + "\n</plist>\n";
}

}  // namespace gatehall
