#pragma once

/// What gatehalld(8), which has the list of users, is called on the bus (docs/bus.md).
namespace gatehall::gatehalld {

inline constexpr const char* kName = "com.orvane.Gatehall1";
inline constexpr const char* kPath = "/com/orvane/Gatehall1";
inline constexpr const char* kInterface = "com.orvane.Gatehall1";

}  // namespace gatehall::gatehalld
