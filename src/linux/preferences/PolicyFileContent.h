#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/Value.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "portable/formats/PropertyListGrammar.h"

namespace gatehall {

/// The keys of the login screen's settings.
std::span<const std::string_view> loginScreenSettings();

/// What the value of one of them has to be.
enum class SettingKind {
  GUIDs,  ///< a list of GUIDs and "*"
  Names,  ///< a list of texts
  Boolean,
};
SettingKind kindOfSetting(std::string_view key);

/// What is wrong with one key of a property list with settings.
struct SettingFault {
  std::string key;
  std::string text;        ///< "it is no list"
  bool isRefused = false;  ///< the whole file is, for it; else the key decides nothing
};

/// The content of a property list with settings.
struct PolicyFileContent {
  Dictionary settings;
  KeyLines lines;                      ///< none of a binary one
  std::vector<SettingFault> faults{};  ///< in the order of their keys
};

/// What is wrong with settings as a file of that name may hold them.
std::vector<SettingFault> faultsOfSettings(std::string_view path, const Dictionary& settings);

/// What the bytes of an administrator's property list say. Of the path only the last part matters:
/// it says which settings may stand there, "com.orvane.gatehall.plist" those of the login screen,
/// "com.orvane.Tavlo.plist" one of its own.
///
/// Raises MalformedPropertyList when they are not a property list to the letter
/// (checkPropertyListGrammar) or hold no dictionary. A fault that is refused is what can't be
/// meant: a list that is none, an entry of a list of GUIDs that is neither "*" nor a GUID, a
/// boolean that is none (strictBoolean), a key that is one slip away from a setting's. One that
/// isn't is another key that is no setting, with the nearest one that is.
PolicyFileContent policyFileContent(std::string_view path, std::string_view bytes);

/// The same of a file of the host, at a path from its root; absent when there is none. Raises
/// PlatformException, "PATH: REASON", also when it can't be used (readPolicyFile).
std::optional<PolicyFileContent> readPolicyFileContent(const HostOptions& options,
                                                       std::string_view path);

/// The settings that it holds. Raises PlatformException also for the first fault that is refused,
/// "PATH: KEY: REASON" or, in an XML list, "PATH:LINE: KEY: REASON"; the others are reported, once.
std::optional<Dictionary> readPolicySettings(const HostOptions& options, std::string_view path,
                                             FaultLog& faults);

}  // namespace gatehall
