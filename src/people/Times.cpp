#include "people/Times.h"

#include <array>
#include <chrono>
#include <ctime>
#include <langinfo.h>
#include <locale.h>
#include <string_view>

namespace gatehall {

std::string timeText(Date date, const std::string& format) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  localtime_r(&time, &parts);
  static const auto kEnglish = newlocale(LC_ALL_MASK, "C", nullptr);
  const bool isUtf8 = std::string_view(nl_langinfo(CODESET)) == "UTF-8";
  std::array<char, 256> text{};
  const auto length = isUtf8
                          ? std::strftime(text.data(), text.size(), format.c_str(), &parts)
                          : strftime_l(text.data(), text.size(), format.c_str(), &parts, kEnglish);
  return {text.data(), length};
}

std::string timeOfDay(Date date) {
  const auto half = timeText(date, "%p");
  const bool hasHalves = !half.empty() && timeText(date, "%X").find(half) != std::string::npos;
  return timeText(date, hasHalves ? "%-I:%M %p" : "%-H:%M");
}

}  // namespace gatehall
