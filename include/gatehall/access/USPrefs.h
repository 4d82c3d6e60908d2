#pragma once

#include <optional>

#include "gatehall/access/PreferenceSource.h"
#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// The login screen's preferences, domain "com.orvane.gatehall": the managed value where there is
/// one, of whatever kind, else the domain's. Each accessor also tells where its answer came from,
/// to who gives it a place for that. From any thread. All may raise PlatformException.
class GATEHALL_EXPORT USPrefs {
 public:
  USPrefs() = delete;

  /// GUIDs of users and groups, or "*"; absent without a list.
  static std::optional<Array> allowedList(PreferenceSource* source = nullptr);
  static std::optional<Array> deniedList(PreferenceSource* source = nullptr);

  /// Whether an allow list that is set and comes out as nobody admits nobody. By default it counts
  /// as no list, and everybody is admitted.
  static bool strictAllowList(PreferenceSource* source = nullptr);

  /// Short names; absent without a list. Synchronizes first.
  static std::optional<Array> hiddenUsersList(PreferenceSource* source = nullptr);

  /// Whether user ids below 501 are hidden; by default not.
  static bool hide500Users(PreferenceSource* source = nullptr);

  /// Whether local users may log in; by default, and with a malformed value, they may.
  static bool localUserLoginEnabled(PreferenceSource* source = nullptr);

  /// Whether these are listed; by default they are. The keys say the opposite: "HideAdminUsers",
  /// "HideLocalUsers", "HideMobileAccounts".
  static bool showAdminUsers(PreferenceSource* source = nullptr);
  static bool showLocalUsers(PreferenceSource* source = nullptr);
  static bool showMobileHomeUsers(PreferenceSource* source = nullptr);

  /// Whether network users are listed: never. No preference changes it.
  static bool showNetworkUsers(PreferenceSource* source = nullptr);

  /// Makes later reads see what is stored now, in the domain and in the managed files.
  static void synchronize();
};

}  // namespace gatehall
