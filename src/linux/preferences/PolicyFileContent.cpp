#include "linux/preferences/PolicyFileContent.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <utility>

#include "base/Ascii.h"
#include "gatehall/base/PlatformException.h"
#include "linux/files/NearestName.h"
#include "linux/files/PolicyFile.h"
#include "portable/formats/PropertyList.h"
#include "portable/formats/PropertyListGrammar.h"

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
  return "\"" + printable(*text) + "\" is neither * nor a GUID, which gatehallctl user shows";
}

/// As strictBoolean, but for a number only 0 and 1: another one may be meant either way.
bool isBoolean(const Value& value) {
  const bool isOther = value.isNumber() && value != Value(false) && value != Value(true) &&
                       value != Value(0) && value != Value(1);
  return !isOther && strictBoolean(value).has_value();
}

/// What is wrong with a setting's value; empty when nothing is.
std::string faultOfValue(std::string_view key, const Value& value) {
  const bool isOfGUIDs = std::ranges::find(kGUIDLists, key) != kGUIDLists.end();
  if (!isOfGUIDs && key != kNameList) {
    return isBoolean(value) ? std::string() : "it is no boolean";
  }
  const auto* list = value.array();
  if (list == nullptr) return "it is no list";
  for (std::size_t index = 0; index < list->size(); ++index) {
    const auto fault = faultOfEntry((*list)[index], isOfGUIDs);
    if (!fault.empty()) return "entry " + std::to_string(index + 1) + " " + fault;
  }
  return {};
}

/// One file while its settings are looked at.
class Settings {
 public:
  Settings(std::string_view path, const KeyLines& lines, FaultLog& faults)
      : mPath(path), mLines(lines), mFaults(faults) {}

  void check(const Dictionary& settings) const {
    const auto known = keysOf(fileName(mPath));
    if (known.empty()) return;
    for (const auto& [key, value] : settings) {
      const bool isSetting = std::ranges::find(known, key) != known.end();
      const auto fault = isSetting ? faultOfValue(key, value) : faultOfKey(key, known);
      if (!fault.empty())
        throw PlatformException(place(key) + ": " + printable(key) + ": " + fault);
    }
  }

 private:
  /// What is wrong with a key that is no setting, unless it is enough to report it.
  std::string faultOfKey(std::string_view key, std::span<const std::string_view> known) const {
    const auto nearest = nearestName(key, known);
    auto fault = "it is no setting; did you mean " + std::string(nearest.name) + "?";
    if (nearest.isSlip()) return fault;
    // Tavlo's file holds settings of others, too.
    if (fileName(mPath) == kLoginScreenFile)
      mFaults.report(place(key), printable(key) + ": " + fault);
    return {};
  }

  std::string place(std::string_view key) const {
    std::string text(mPath);
    const auto line = mLines.find(key);
    return line == mLines.end() ? text : text.append(":").append(std::to_string(line->second));
  }

  std::string_view mPath;
  const KeyLines& mLines;
  FaultLog& mFaults;
};

}  // namespace

std::optional<Dictionary> readPolicySettings(const HostOptions& options, std::string_view path,
                                             FaultLog& faults) {
  const auto bytes = readPolicyFile(options, path, kLargestPropertyList);
  if (!bytes) return std::nullopt;
  const auto refuse = [&](std::string_view why) {
    std::string text(path);
    throw PlatformException(text.append(": ").append(why));
  };
  try {
    const auto lines = checkPropertyListGrammar(*bytes);
    const auto list = parsePropertyList(*bytes);
    const auto* settings = list.dictionary();
    if (settings == nullptr) refuse("it holds no dictionary");
    Settings(path, lines, faults).check(*settings);
    return *settings;
  } catch (const MalformedPropertyList& error) {
    refuse(error.what());
  }
  return std::nullopt;
}

}  // namespace gatehall
