#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// AccountsService on the bus, and its users' objects.
namespace gatehall::accountsService {

inline constexpr const char* kName = "org.freedesktop.Accounts";
inline constexpr const char* kPath = "/org/freedesktop/Accounts";

/// A user's object: this and the user id.
inline constexpr std::string_view kUserPath = "/org/freedesktop/Accounts/User";

inline constexpr const char* kUser = "org.freedesktop.Accounts.User";

/// malcontent's extension.
inline constexpr const char* kSessionLimits = "com.endlessm.ParentalControls.SessionLimits";

/// The user whose object stands at the path; absent for a path of another kind.
std::optional<std::uint32_t> userOf(std::string_view path);

}  // namespace gatehall::accountsService
