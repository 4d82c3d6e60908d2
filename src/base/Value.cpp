#include "gatehall/base/Value.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "base/Ascii.h"

namespace gatehall {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

template <class... Fs>
struct Overloaded : Fs... {
  using Fs::operator()...;
};

std::string_view afterWhiteSpace(std::string_view text) {
  const auto first = text.find_first_not_of(kWhiteSpace);
  return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

/// Takes a sign off the front of the text; true when it was a minus.
bool takeSign(std::string_view& text) {
  if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
  const bool negative = text.front() == '-';
  text.remove_prefix(1);
  return negative;
}

std::uint64_t digitsPrefix(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc::result_out_of_range ? std::numeric_limits<std::uint64_t>::max()
                                                 : number;
}

/// Conversions of doubles beyond the range of the target are undefined, so they are clamped.
std::int64_t truncated(double number) {
  constexpr double limit = 9223372036854775808.0;
  if (std::isnan(number)) return 0;
  if (number >= limit) return std::numeric_limits<std::int64_t>::max();
  if (number < -limit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(number);
}

/// The shortest of the usual two precisions that reads back as the same number. (std::to_chars
/// would bring a hundred kilobytes of tables into every program.)
std::string realText(double number) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.15g", number);
  if (std::strtod(text.data(), nullptr) != number) {
    std::snprintf(text.data(), text.size(), "%.17g", number);
  }
  return text.data();
}

std::string hexadecimal(const Data& bytes) {
  std::string text = "<";
  for (const auto byte : bytes) ascii::appendHexadecimal(text, byte);
  return text + ">";
}

}  // namespace

std::int64_t integerPrefix(std::string_view text) {
  text = afterWhiteSpace(text);
  const bool negative = takeSign(text);
  const auto magnitude = digitsPrefix(text);
  constexpr auto largest = std::numeric_limits<std::int64_t>::max();
  if (magnitude > static_cast<std::uint64_t>(largest)) {
    return negative ? std::numeric_limits<std::int64_t>::min() : largest;
  }
  const auto number = static_cast<std::int64_t>(magnitude);
  return negative ? -number : number;
}

bool booleanPrefix(std::string_view text) {
  text = afterWhiteSpace(text);
  takeSign(text);
  const auto first = text.find_first_not_of('0');
  if (first == std::string_view::npos) return false;
  return std::string_view("YyTt123456789").find(text[first]) != std::string_view::npos;
}

std::optional<bool> strictBoolean(const Value& value) {
  if (value.isNumber()) return value.booleanValue();
  const auto* text = value.string();
  if (text == nullptr) return std::nullopt;
  const auto lower = ascii::lower(*text);
  if (lower == "true" || lower == "yes" || lower == "1") return true;
  if (lower == "false" || lower == "no" || lower == "0") return false;
  return std::nullopt;
}

Value::Value(const Strings& texts) : mStorage(Array(texts.begin(), texts.end())) {}

bool Value::isNumber() const {
  return std::holds_alternative<std::int64_t>(mStorage) ||
         std::holds_alternative<double>(mStorage) || std::holds_alternative<bool>(mStorage);
}

std::optional<std::int64_t> Value::integerValue() const {
  using Result = std::optional<std::int64_t>;
  return std::visit(Overloaded{[](const std::string& text) { return Result(integerPrefix(text)); },
                               [](std::int64_t number) { return Result(number); },
                               [](double number) { return Result(truncated(number)); },
                               [](bool flag) { return Result(flag ? 1 : 0); },
                               [](const auto&) { return Result(); }},
                    mStorage);
}

std::optional<std::uint64_t> Value::unsignedValue() const {
  if (const auto* text = string()) {
    auto digits = afterWhiteSpace(*text);
    const bool negative = takeSign(digits);
    const auto magnitude = digitsPrefix(digits);
    return negative ? 0 - magnitude : magnitude;
  }
  const auto number = integerValue();
  if (!number) return std::nullopt;
  return static_cast<std::uint64_t>(*number);
}

std::optional<bool> Value::booleanValue() const {
  using Result = std::optional<bool>;
  return std::visit(
      Overloaded{[](const std::string& text) { return Result(booleanPrefix(text)); },
                 [](std::int64_t number) { return Result(number != 0); },
                 [](double number) { return Result(number != 0.0); },
                 [](bool flag) { return Result(flag); }, [](const auto&) { return Result(); }},
      mStorage);
}

std::string Value::description() const {
  return std::visit(
      Overloaded{[](const std::string& text) { return text; },
                 [](std::int64_t number) { return std::to_string(number); },
                 [](double number) { return realText(number); },
                 [](bool flag) { return std::string(flag ? "1" : "0"); },
                 [](const Date& date) { return realText(date.time_since_epoch().count()); },
                 [](const Data& bytes) { return hexadecimal(bytes); },
                 [](const Array& elements) {
                   std::string text;
                   for (const auto& element : elements) {
                     if (!text.empty()) text += ", ";
                     text += element.description();
                   }
                   return "(" + text + ")";
                 },
                 [](const Dictionary& entries) { return gatehall::description(entries); }},
      mStorage);
}

void Value::wipe() {
  std::visit(Overloaded{[](std::string& text) {
                          explicit_bzero(text.data(), text.size());
                          text.clear();
                        },
                        [](Data& bytes) {
                          explicit_bzero(bytes.data(), bytes.size());
                          bytes.clear();
                        },
                        [](Array& elements) {
                          for (auto& element : elements) element.wipe();
                        },
                        [](Dictionary& entries) {
                          for (auto& [key, value] : entries) value.wipe();
                        },
                        [](auto&) {}},
             mStorage);
}

std::string description(const Strings& texts) { return Value(texts).description(); }

std::string description(const Dictionary& entries) {
  std::string text = "{";
  for (const auto& [key, value] : entries) text += key + " = " + value.description() + "; ";
  return text + "}";
}

}  // namespace gatehall
