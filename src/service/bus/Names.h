#pragma once

#include "listing/Gatehalld.h"

/// What the service is called on the bus.
namespace gatehall::service {

inline constexpr const char* kServiceName = gatehalld::kName;
inline constexpr const char* kObjectPath = gatehalld::kPath;
inline constexpr const char* kInterface = gatehalld::kInterface;

/// Errors, beside those of D-Bus itself (sd-bus-errors(3)).
inline constexpr const char* kNoSuchUser = "com.orvane.Gatehall1.Error.NoSuchUser";
inline constexpr const char* kNoList = "com.orvane.Gatehall1.Error.NoList";

/// polkit actions.
inline constexpr const char* kReadLoginHours = "com.orvane.gatehall.read-login-hours";
inline constexpr const char* kExplain = "com.orvane.gatehall.explain";

}  // namespace gatehall::service
