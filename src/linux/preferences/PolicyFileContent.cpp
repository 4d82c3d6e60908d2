#include "linux/preferences/PolicyFileContent.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <utility>

#include "base/Ascii.h"
#include "gatehall/base/PlatformException.h"
#include "linux/files/PolicyFile.h"
#include "portable/formats/PropertyList.h"
#include "portable/formats/PropertyListGrammar.h"
#include "portable/text/NearestName.h"

namespace gatehall {

namespace {

constexpr std::string_view kLoginScreenFile = "com.orvane.gatehall.plist";
constexpr std::string_view kTavloFile = "com.orvane.Tavlo.plist";

constexpr std::array<std::string_view, 2> kGUIDLists{"AllowList", "DenyList"};
constexpr std::string_view kNameList = "HiddenUsersList";
constexpr std::string_view kDisableAutoLogin = "com.orvane.login.tavlo.DisableAutoLoginClient";
constexpr std::array<std::string_view, 10> kLoginScreenKeys{"AllowList",
                                                            "DenyList",
                                                            "HiddenUsersList",
                                                            "Hide500Users",
                                                            "LocalUserLoginEnabled",
                                                            "HideAdminUsers",
                                                            "HideLocalUsers",
                                                            "HideMobileAccounts",
                                                            "StrictAllowList",
                                                            kDisableAutoLogin};
constexpr std::array<std::string_view, 1> kTavloKeys{kDisableAutoLogin};

std::string_view fileName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

/// The settings that stand in a file of that name; none for a file that is somebody else's.
std::span<const std::string_view> keysOf(std::string_view name) {
  if (name == kLoginScreenFile) return kLoginScreenKeys;
  if (name == kTavloFile) return kTavloKeys;
  return {};
}

/// Digits in groups of 8, 4, 4, 4 and 12 with hyphens between them, in either case.
bool isGUID(std::string_view text) {
  constexpr std::string_view kForm = "00000000-0000-0000-0000-000000000000";
  return std::equal(text.begin(), text.end(), kForm.begin(), kForm.end(), [](char c, char form) {
    return form == '-' ? c == '-' : ascii::hexadecimalValue(c) >= 0;
  });
}

/// What is wrong with an entry; empty when nothing is.
std::string faultOfEntry(const Value& entry, bool isOfGUIDs) {
  const auto* text = entry.string();
  if (text == nullptr) return "is no text";
  if (!isOfGUIDs || *text == "*" || isGUID(*text)) return {};
  return "\"" + printable(*text) + "\" is neither * nor a GUID, which gatehallctl guid shows";
}

/// As strictBoolean, but for a number only 0 and 1: another one may be meant either way.
bool isBoolean(const Value& value) {
  const bool isOther = value.isNumber() && value != Value(false) && value != Value(true) &&
                       value != Value(0) && value != Value(1);
  return !isOther && strictBoolean(value).has_value();
}

/// What is wrong with a setting's value; empty when nothing is.
std::string faultOfValue(std::string_view key, const Value& value) {
  const auto kind = kindOfSetting(key);
  if (kind == SettingKind::Boolean) return isBoolean(value) ? std::string() : "it is no boolean";
  const auto* list = value.array();
  if (list == nullptr) return "it is no list";
  for (std::size_t index = 0; index < list->size(); ++index) {
    const auto fault = faultOfEntry((*list)[index], kind == SettingKind::GUIDs);
    if (!fault.empty()) return "entry " + std::to_string(index + 1) + " " + fault;
  }
  return {};
}

/// What is wrong with a key that is no setting of a file of that name; empty text when nothing is.
SettingFault faultOfKey(std::string_view name, std::string_view key,
                        std::span<const std::string_view> known) {
  const auto nearest = nearestName(key, known);
  // Tavlo's file holds settings of others, too.
  if (!nearest.isSlip() && name != kLoginScreenFile) return {};
  return {.key = std::string(key),
          .text = "it is no setting; did you mean " + std::string(nearest.name) + "?",
          .isRefused = nearest.isSlip()};
}

std::string placeOf(std::string_view path, const KeyLines& lines, std::string_view key) {
  std::string text(path);
  const auto line = lines.find(key);
  return line == lines.end() ? text : text.append(":").append(std::to_string(line->second));
}

}  // namespace

std::vector<SettingFault> faultsOfSettings(std::string_view path, const Dictionary& settings) {
  const auto name = fileName(path);
  std::vector<SettingFault> faults;
  const auto known = keysOf(name);
  if (known.empty()) return faults;
  for (const auto& [key, value] : settings) {
    const bool isSetting = std::ranges::find(known, key) != known.end();
    auto fault = isSetting ? SettingFault{key, faultOfValue(key, value), true}
                           : faultOfKey(name, key, known);
    if (!fault.text.empty()) faults.push_back(std::move(fault));
  }
  return faults;
}

std::span<const std::string_view> loginScreenSettings() { return kLoginScreenKeys; }

SettingKind kindOfSetting(std::string_view key) {
  if (std::ranges::find(kGUIDLists, key) != kGUIDLists.end()) return SettingKind::GUIDs;
  return key == kNameList ? SettingKind::Names : SettingKind::Boolean;
}

PolicyFileContent policyFileContent(std::string_view path, std::string_view bytes) {
  PolicyFileContent content{.settings = {}, .lines = checkPropertyListGrammar(bytes)};
  const auto list = parsePropertyList(bytes);
  const auto* settings = list.dictionary();
  if (settings == nullptr) throw MalformedPropertyList("it holds no dictionary");
  content.settings = *settings;
  content.faults = faultsOfSettings(path, content.settings);
  return content;
}

std::optional<PolicyFileContent> readPolicyFileContent(const HostOptions& options,
                                                       std::string_view path) {
  const auto bytes = readPolicyFile(options, path, kLargestPropertyList);
  if (!bytes) return std::nullopt;
  try {
    return policyFileContent(path, *bytes);
  } catch (const MalformedPropertyList& error) {
    std::string text(path);
    throw PlatformException(text.append(": ").append(error.what()));
  }
}

std::optional<Dictionary> readPolicySettings(const HostOptions& options, std::string_view path,
                                             FaultLog& faults) {
  auto content = readPolicyFileContent(options, path);
  if (!content) return std::nullopt;
  for (const auto& fault : content->faults) {
    auto place = placeOf(path, content->lines, fault.key);
    auto text = printable(fault.key);
    text.append(": ").append(fault.text);
    if (fault.isRefused) throw PlatformException(place.append(": ").append(text));
    faults.report(place, text);
  }
  return std::move(content->settings);
}

}  // namespace gatehall
