#pragma once

#include <string>
#include <string_view>

#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"

namespace gatehall::greeter {

/// /etc/gatehall/greeter.toml. Every setting has a default that suits a machine without the file.
struct GreeterSettings {
  static constexpr std::string_view kPath = "/etc/gatehall/greeter.toml";

  enum class Refused { Shown, Hidden };
  enum class Theme { Auto, Light, Dark };

  /// refused-users = "show" | "hide": those who may not log in
  Refused refusedUsers = Refused::Shown;
  std::string background{};   ///< background = "/path.png|jpg" or "#rrggbb"; "": the theme's
  std::string logo{};         ///< logo = "/path.png|svg"
  std::string style{};        ///< style = "/path.css", behind the theme's own rules
  Theme theme = Theme::Auto;  ///< theme = "light" | "dark" | "auto": as GTK is set up
  int scale = 0;              ///< scale = 1…4; 0: by the monitor
  bool highContrast = false;  ///< high-contrast = true
  bool largeText = false;     ///< large-text = true
  std::string clock{};        ///< clock = strftime(3) format; "": the language's
  bool hostName = true;       ///< host-name = false: it isn't shown
  bool power = true;          ///< power = false: the machine can't be switched off here

  /// What the file says. A file that can't be trusted or understood counts as none, a setting that
  /// can't be understood as not there; the faults name the line.
  static GreeterSettings read(const HostOptions& options, FaultLog& faults);

  friend bool operator==(const GreeterSettings&, const GreeterSettings&) = default;
};

}  // namespace gatehall::greeter
