#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "gatehall/base/Value.h"

namespace gatehall {

/// XML property lists, written for the reader to read. Texts have nothing that XML would have to
/// escape.
class PropertyListText {
 public:
  static std::string of(const Value& value) {
    return "<plist version=\"1.0\">" + std::visit(PropertyListText(), value.storage()) + "</plist>";
  }

  std::string operator()(const std::string& text) const { return element("string", text); }
  std::string operator()(std::int64_t number) const {
    return element("integer", std::to_string(number));
  }
  std::string operator()(double number) const { return element("real", std::to_string(number)); }
  std::string operator()(bool flag) const { return flag ? "<true/>" : "<false/>"; }
  std::string operator()(const Date& date) const {
    const auto day = std::chrono::floor<std::chrono::days>(date);
    const std::chrono::year_month_day calendar(day);
    const std::chrono::hh_mm_ss time(std::chrono::floor<std::chrono::seconds>(date) - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ",
                  static_cast<int>(calendar.year()), static_cast<unsigned>(calendar.month()),
                  static_cast<unsigned>(calendar.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return element("date", text);
  }
  std::string operator()(const Data& bytes) const {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
      const auto byte = [&](std::size_t index) {
        return index < bytes.size() ? std::uint32_t{bytes[index]} : 0U;
      };
      const auto group = byte(at) << 16U | byte(at + 1) << 8U | byte(at + 2);
      for (std::size_t digit = 0; digit < 4; ++digit) {
        const bool isFill = at + digit > bytes.size();
        text += isFill ? '=' : digits[group >> (18U - 6U * digit) & 63U];
      }
    }
    return element("data", text);
  }
  std::string operator()(const Array& elements) const {
    std::string text;
    for (const auto& each : elements) text += std::visit(*this, each.storage());
    return element("array", text);
  }
  std::string operator()(const Dictionary& entries) const {
    std::string text;
    for (const auto& [key, value] : entries) {
      text += element("key", key) + std::visit(*this, value.storage());
    }
    return element("dict", text);
  }

 private:
  static std::string element(const std::string& name, const std::string& content) {
    return "<" + name + ">" + content + "</" + name + ">";
  }
};

}  // namespace gatehall
