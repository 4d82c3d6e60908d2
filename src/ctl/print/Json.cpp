#include "ctl/print/Json.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <variant>

namespace gatehall::ctl {

namespace {

/// RFC 4648, 4.
std::string base64(const Data& bytes) {
  constexpr std::string_view digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t start = 0; start < bytes.size(); start += 3) {
    const auto count = std::min<std::size_t>(3, bytes.size() - start);
    std::uint32_t group = 0;
    for (std::size_t index = 0; index < 3; ++index) {
      group = (group << 8U) | (index < count ? bytes[start + index] : 0U);
    }
    for (std::size_t digit = 0; digit < 4; ++digit) {
      text += digit <= count ? digits[(group >> (18U - 6U * digit)) & 0x3FU] : '=';
    }
  }
  return text;
}

struct JsonOf {
  Json operator()(const Date& date) const { return {{"$date", isoText(date)}}; }
  Json operator()(const Data& bytes) const { return {{"$data", base64(bytes)}}; }
  Json operator()(const Array& elements) const {
    auto list = Json::array();
    for (const auto& element : elements) list.push_back(toJson(element));
    return list;
  }
  Json operator()(const Dictionary& entries) const { return toJson(entries); }
  template <class Plain>
  Json operator()(const Plain& plain) const {
    return Json(plain);
  }
};

}  // namespace

Json toJson(const Value& value) { return std::visit(JsonOf(), value.storage()); }

Json toJson(const Dictionary& entries) {
  auto object = Json::object();
  for (const auto& [key, value] : entries) object[key] = toJson(value);
  return object;
}

Json orNull(const std::optional<Value>& value) { return value ? toJson(*value) : Json(); }

std::string isoText(Date date) { return isoText(momentOf(date)); }

std::string isoText(Moment moment) {
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss time(moment - day);
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%06d",
                static_cast<int>(calendar.year()), static_cast<unsigned>(calendar.month()),
                static_cast<unsigned>(calendar.day()), static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
                static_cast<int>(time.subseconds().count()));
  std::string result = text.data();
  result.erase(result.find_last_not_of('0') + 1);
  if (result.back() == '.') result.pop_back();
  return result + "Z";
}

namespace {

/// The serialized document, safe to show.
std::string shownText(const std::string& plain) {
  std::string text;
  text.reserve(plain.size() + 1);
  // The serializer escapes only what JSON demands: not DEL, and not U+0080 to U+009F, to which
  // terminals listen as well. Both stand within strings only.
  for (std::size_t index = 0; index < plain.size(); ++index) {
    const auto byte = static_cast<unsigned char>(plain[index]);
    const auto next = index + 1 < plain.size() ? static_cast<unsigned char>(plain[index + 1]) : 0U;
    std::array<char, 8> escape;
    if (byte == 0x7F) {
      text += "\\u007f";
    } else if (byte == 0xC2 && next < 0xA0) {
      std::snprintf(escape.data(), escape.size(), "\\u%04x", next);
      text += escape.data();
      ++index;
    } else {
      text += plain[index];
    }
  }
  return text + "\n";
}

}  // namespace

std::string documentText(const Json& document) {
  return shownText(document.dump(2, ' ', false, Json::error_handler_t::replace));
}

std::string lineText(const Json& document) {
  return shownText(document.dump(-1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace gatehall::ctl
