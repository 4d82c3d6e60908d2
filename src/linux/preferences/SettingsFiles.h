#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/Value.h"
#include "gatehall/platform/DirectoryService.h"
#include "linux/files/HostOptions.h"
#include "linux/preferences/PolicyFileContent.h"

namespace gatehall {

/// The domain of the login screen's settings, and the one of its own keys that Tavlo's has.
inline constexpr std::string_view kLoginScreenDomain = "com.orvane.gatehall";
inline constexpr std::string_view kTavloDomain = "com.orvane.Tavlo";

/// Those that hold settings which decide something.
inline constexpr std::array<std::string_view, 2> kSettingsDomains{kLoginScreenDomain, kTavloDomain};

/// A file that is there and may hold a domain's settings.
struct SettingsFile {
  enum class Kind {
    Managed,      ///< the administrator's: nobody's preferences override them
    Preferences,  ///< of a user or the machine: the strongest that has a key decides about it
  };

  struct Setting {
    Value value;
    std::size_t line = 0;  ///< of its key, from 1; 0: a binary file has no lines
  };

  Kind kind = Kind::Managed;
  std::string path;  ///< from the host's root
  /// Whether it is read: not where another managed file stands before it, and not a user's own that
  /// can't be used.
  bool counts = true;
  /// Why it can't be used, without its path; empty when it can. One that counts nevertheless makes
  /// every question undecidable.
  std::string fault{};
  std::size_t faultLine = 0;  ///< from 1; 0: the file as a whole, or a binary one
  /// Keys that decide nothing, as they are no settings.
  std::vector<SettingFault> unknown{};
  std::map<std::string, Setting, std::less<>> settings{};  ///< as far as the file could be read
};

/// "managed" or "preferences".
std::string_view description(SettingsFile::Kind kind);

/// Where managed files are looked for first.
inline constexpr std::string_view kManagedFolder = "/etc/gatehall/managed";

/// Whether a domain's name can be a file's that stays in its folder.
bool canNameSettings(std::string_view domain);

/// Where a domain's managed file is looked for, from the root: the first that is there is the one.
std::array<std::string, 2> managedPlaces(std::string_view domain);

/// Where the machine's own preferences of a domain stand, from the root.
std::string machinePreferencesFile(std::string_view domain);

/// Where those of a user stand, in the home folder that the directory tells; absent when it tells
/// none. May raise PlatformException.
std::optional<std::string> ownPreferencesFile(DirectoryService& directory, std::uint32_t userID,
                                              std::string_view domain);

/// The files that hold a domain's settings ("com.orvane.gatehall") for a user, as they are now, the
/// strongest first: the managed ones, the user's own, the machine's. A user's own is passed over
/// when the directory can't tell where it is. May raise PlatformException when the host fails.
std::vector<SettingsFile> settingsFiles(const HostOptions& options, std::string_view domain,
                                        DirectoryService& directory, std::uint32_t userID);

/// The file whose value of a key is the one that holds; nullptr when none has it.
const SettingsFile* fileOfSetting(const std::vector<SettingsFile>& files, std::string_view key);

}  // namespace gatehall
