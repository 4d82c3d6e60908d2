#include "gatehall/access/USPrefs.h"

#include <string_view>

#include "gatehall/access/GHUIManagedPrefs.h"
#include "gatehall/platform/Platform.h"

namespace gatehall {

namespace {

constexpr std::string_view kDomain = "com.orvane.gatehall";

void tell(PreferenceSource* place, PreferenceSource source) {
  if (place != nullptr) *place = source;
}

/// A managed value of another kind hides the domain: there is no list then.
std::optional<Array> prefList(std::string_view key, PreferenceSource* source) {
  auto value = GHUIManagedPrefs::managedPrefs()->objectForKey(key);
  const bool managed = value.has_value();
  if (!value) value = platform().preferences().copyApplicationValue(key, kDomain);
  const auto* list = value ? value->array() : nullptr;
  tell(source, managed           ? PreferenceSource::Managed
               : list != nullptr ? PreferenceSource::Preferences
                                 : PreferenceSource::Default);
  return list != nullptr ? std::optional(*list) : std::nullopt;
}

/// The key's boolean. It goes to the place, if one is given, only when there is one that reads as a
/// boolean; the result is false then. A managed value of another kind hides the domain.
bool prefBoolean(std::string_view key, bool* place, PreferenceSource* source) {
  bool found = false;
  bool result = false;
  if (const auto managed = GHUIManagedPrefs::managedPrefs()->objectForKey(key)) {
    const auto value = managed->booleanValue();
    found = value.has_value();
    result = value.value_or(false);
    tell(source, PreferenceSource::Managed);
  } else {
    result = platform().preferences().applicationBoolean(key, kDomain, found);
    tell(source, found ? PreferenceSource::Preferences : PreferenceSource::Default);
  }
  if (found && place != nullptr) *place = result;
  return result;
}

}  // namespace

std::optional<Array> USPrefs::allowedList(PreferenceSource* source) {
  return prefList("AllowList", source);
}

std::optional<Array> USPrefs::deniedList(PreferenceSource* source) {
  return prefList("DenyList", source);
}

bool USPrefs::strictAllowList(PreferenceSource* source) {
  return prefBoolean("StrictAllowList", nullptr, source);
}

std::optional<Array> USPrefs::hiddenUsersList(PreferenceSource* source) {
  synchronize();
  return prefList("HiddenUsersList", source);
}

bool USPrefs::hide500Users(PreferenceSource* source) {
  return prefBoolean("Hide500Users", nullptr, source);
}

bool USPrefs::localUserLoginEnabled(PreferenceSource* source) {
  bool enabled = true;
  prefBoolean("LocalUserLoginEnabled", &enabled, source);
  return enabled;
}

bool USPrefs::showAdminUsers(PreferenceSource* source) {
  return !prefBoolean("HideAdminUsers", nullptr, source);
}

bool USPrefs::showLocalUsers(PreferenceSource* source) {
  return !prefBoolean("HideLocalUsers", nullptr, source);
}

bool USPrefs::showMobileHomeUsers(PreferenceSource* source) {
  return !prefBoolean("HideMobileAccounts", nullptr, source);
}

bool USPrefs::showNetworkUsers(PreferenceSource* source) {
  tell(source, PreferenceSource::Default);
  return false;
}

void USPrefs::synchronize() {
  platform().preferences().synchronizePreferences(kDomain);
  GHUIManagedPrefs::managedPrefs()->synchronize();
}

}  // namespace gatehall
