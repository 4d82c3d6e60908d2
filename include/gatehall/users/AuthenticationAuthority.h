#pragma once

#include <string_view>

#include "gatehall/base/Export.h"

/// Tags that authentication authorities carry as one of their fields (";basic;",
/// ";ShadowHash;…"): how an account's password is checked.
namespace gatehall::authority {

inline constexpr std::string_view Basic = "basic";
inline constexpr std::string_view ShadowHash = "ShadowHash";
inline constexpr std::string_view OrvanePasswordServer = "OrvanePasswordServer";
inline constexpr std::string_view Kerberosv5 = "Kerberosv5";
inline constexpr std::string_view LocalCachedUser = "LocalCachedUser";
inline constexpr std::string_view DisabledUser = "DisabledUser";

/// The authority of an account that is disabled because it is past its end, as a whole.
inline constexpr std::string_view ExpiredUser = ";DisabledUser;expired";

}  // namespace gatehall::authority
