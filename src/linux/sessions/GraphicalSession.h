#pragma once

#include <string_view>

/// What logind's words about a session mean to a login screen (org.freedesktop.login1(5)).
namespace gatehall::graphicalSession {

/// The seat with the machine's console.
inline constexpr const char* kSeat = "seat0";

inline bool isUsers(std::string_view kind) { return kind == "user"; }

inline bool isGraphical(std::string_view type) {
  return type == "x11" || type == "wayland" || type == "mir";
}

/// Neither still opening nor already closing.
inline bool isLoggedIn(std::string_view state) { return state == "online" || state == "active"; }

}  // namespace gatehall::graphicalSession
