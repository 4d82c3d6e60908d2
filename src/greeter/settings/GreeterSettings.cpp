#include "greeter/settings/GreeterSettings.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <utility>

#include "linux/files/TomlFile.h"

namespace gatehall::greeter {

namespace {

/// A value as its type, or absent when it is of another.
template <typename Type>
std::optional<Type> exactly(const toml::node& value) {
  return value.value_exact<Type>();
}

bool isPath(std::string_view text) { return text.starts_with('/'); }

bool isColour(std::string_view text) {
  constexpr std::string_view digits = "0123456789abcdefABCDEF";
  return text.size() == 7 && text.front() == '#' &&
         text.find_first_not_of(digits, 1) == std::string_view::npos;
}

/// Takes the value; false when it is none that the setting can have.
using Take = bool (*)(const toml::node& value, GreeterSettings& settings);

template <bool GreeterSettings::*member>
bool takeBoolean(const toml::node& value, GreeterSettings& settings) {
  const auto boolean = exactly<bool>(value);
  if (boolean) settings.*member = *boolean;
  return boolean.has_value();
}

template <std::string GreeterSettings::*member>
bool takePath(const toml::node& value, GreeterSettings& settings) {
  auto text = exactly<std::string>(value);
  if (!text || !isPath(*text)) return false;
  settings.*member = std::move(*text);
  return true;
}

bool takeRefused(const toml::node& value, GreeterSettings& settings) {
  const auto text = exactly<std::string>(value);
  if (text != "show" && text != "hide") return false;
  settings.refusedUsers =
      text == "show" ? GreeterSettings::Refused::Shown : GreeterSettings::Refused::Hidden;
  return true;
}

bool takeBackground(const toml::node& value, GreeterSettings& settings) {
  auto text = exactly<std::string>(value);
  if (!text || !(isPath(*text) || isColour(*text))) return false;
  settings.background = std::move(*text);
  return true;
}

bool takeTheme(const toml::node& value, GreeterSettings& settings) {
  using Theme = GreeterSettings::Theme;
  const auto text = exactly<std::string>(value);
  if (text != "light" && text != "dark" && text != "auto") return false;
  settings.theme = text == "light" ? Theme::Light : text == "dark" ? Theme::Dark : Theme::Auto;
  return true;
}

bool takeScale(const toml::node& value, GreeterSettings& settings) {
  const auto scale = exactly<std::int64_t>(value);
  if (!scale || *scale < 1 || *scale > 4) return false;
  settings.scale = static_cast<int>(*scale);
  return true;
}

bool takeClock(const toml::node& value, GreeterSettings& settings) {
  auto text = exactly<std::string>(value);
  if (!text || text->empty()) return false;
  settings.clock = std::move(*text);
  return true;
}

struct Setting {
  std::string_view name;
  Take take;
  std::string_view wants;  ///< what it can be
};

constexpr std::string_view kBoolean = "neither true nor false";
constexpr std::array<Setting, 11> kSettings{{
    {"refused-users", takeRefused, "neither \"show\" nor \"hide\""},
    {"background", takeBackground, "neither the path of a picture nor a colour as \"#2c3e50\""},
    {"logo", takePath<&GreeterSettings::logo>, "not the path of a picture"},
    {"style", takePath<&GreeterSettings::style>, "not the path of a style sheet"},
    {"theme", takeTheme, "neither \"light\" nor \"dark\" nor \"auto\""},
    {"scale", takeScale, "not a whole number from 1 to 4"},
    {"high-contrast", takeBoolean<&GreeterSettings::highContrast>, kBoolean},
    {"large-text", takeBoolean<&GreeterSettings::largeText>, kBoolean},
    {"clock", takeClock, "not a format of strftime(3)"},
    {"host-name", takeBoolean<&GreeterSettings::hostName>, kBoolean},
    {"power", takeBoolean<&GreeterSettings::power>, kBoolean},
}};

}  // namespace

GreeterSettings GreeterSettings::read(const HostOptions& options, FaultLog& faults) {
  std::array<std::string_view, kSettings.size()> names;
  std::transform(kSettings.begin(), kSettings.end(), names.begin(),
                 [](const Setting& setting) { return setting.name; });
  GreeterSettings settings;
  const auto file = TomlFile::read(options, kPath, faults);
  for (const auto& [key, value] : file.table) {
    const auto* const setting =
        std::find_if(kSettings.begin(), kSettings.end(),
                     [name = key.str()](const Setting& each) { return each.name == name; });
    if (setting == kSettings.end()) {
      reportUnknownKey(faults, kPath, key, "", names);
    } else if (!setting->take(value, settings)) {
      std::string message(setting->name);
      message.append(" is ").append(setting->wants);
      faults.report(kPath, value.source().begin.line, message);
    }
  }
  return settings;
}

}  // namespace gatehall::greeter
