#pragma once

#include <string_view>

#include "gatehall/base/Export.h"

/// The names under which a host posts what happens on it, besides the one for the locale
/// (NotificationCenter.h).
namespace gatehall {

// Distributed notifications.

/// The settings of the login screen changed, or accounts did in a way that nothing is known about.
inline constexpr std::string_view kRefreshUserListNotification =
    "com.orvane.gatehall.refreshuserlist";
inline constexpr std::string_view kUserWasAddedNotification = "com.orvane.UserWasAddedNotification";
inline constexpr std::string_view kUserWasRemovedNotification =
    "com.orvane.UserWasRemovedNotification";
inline constexpr std::string_view kUserWasEnabledNotification =
    "com.orvane.UserWasEnabledNotification";
inline constexpr std::string_view kUserWasDisabledNotification =
    "com.orvane.UserWasDisabledNotification";

/// What an account says about its user changed, the full name for one. The user info holds the GUID
/// under kGeneratedUIDKey.
inline constexpr std::string_view kFullUserNameDidChangeNotification =
    "com.orvane.FullUserNameDidChangeNotification";
inline constexpr std::string_view kGeneratedUIDKey = "generatedUID";

/// Somebody logged in to a graphical session, or out of one.
inline constexpr std::string_view kSessionUserChangedNotification =
    "com.orvane.vexa.GUISessionUserChanged";

/// The parental controls of a user changed. The user info holds the short name under
/// kKinwatchUserNameKey.
inline constexpr std::string_view kKinwatchLoginStatusChangedNotification =
    "KinwatchLoginStatusChangedNotification";
inline constexpr std::string_view kKinwatchUserNameKey = "userName";

// System-wide notifications.

/// Another session owns the console, or none does.
inline constexpr std::string_view kConsoleSessionChangedNotification =
    "com.orvane.vexa.GUIConsoleSessionChanged";
/// A group of the local node changed.
inline constexpr std::string_view kLocalGroupsChangedNotification =
    "com.orvane.system.Lexidir.update.Local.groups";
/// A file that holds accounts of the local node was written. What changed in it is told by the
/// other notifications, and later; a host that learns of changes otherwise never posts this one.
inline constexpr std::string_view kAccountFilesChangedNotification =
    "com.orvane.gatehall.accountfiles";

}  // namespace gatehall
