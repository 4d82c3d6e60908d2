#include "ctl/check/ListFindings.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "accounts/Accounts.h"
#include "gatehall/access/LoginList.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::ctl {

namespace {

using Severity = Finding::Severity;

/// An entry that is no text is told of where settings are read.
struct Entry {
  std::size_t index;
  std::string text;
};

std::vector<Entry> entriesOf(const PlacedSetting& setting) {
  std::vector<Entry> entries;
  const auto* list = setting.value.array();
  for (std::size_t index = 0; list != nullptr && index < list->size(); ++index) {
    if (const auto* text = (*list)[index].string()) entries.push_back({index, *text});
  }
  return entries;
}

/// What is the same in all spellings of a GUID; any other text itself.
std::string keyOf(const std::string& text) {
  const auto guid = parseUUID(text);
  return guid ? uuidText(*guid) : text;
}

/// The keys of those of the values that a record of the types has. May raise PlatformException.
std::set<std::string> known(std::initializer_list<std::string_view> types,
                            std::string_view attribute, const std::vector<Entry>& entries) {
  Strings values;
  for (const auto& entry : entries) values.push_back(entry.text);
  auto description = equalTo(types, attribute, values, {std::string(attribute)});
  // GUIDs are spelled in either case.
  if (attribute == attribute::GUID) description.match = MatchType::EqualToIgnoringCase;
  const auto records = queryResults(searchNode(), std::move(description));
  if (!records) throw PlatformException("The directory does not answer.");
  std::set<std::string> found;
  for (const auto& record : *records) {
    for (const auto& value : record->valuesForAttribute(attribute).value_or(Strings())) {
      found.insert(keyOf(value));
    }
  }
  return found;
}

class ListCheck {
 public:
  ListCheck(const Policy& policy, Strings& messages) : mPolicy(policy), mMessages(messages) {}

  std::vector<Finding> run() {
    for (const auto* key : {"AllowList", "DenyList"}) {
      if (const auto* setting = find(key)) checkGUIDs(key, *setting);
    }
    checkNames();
    checkStrictness();
    checkBoth();
    return std::move(mFindings);
  }

 private:
  const PlacedSetting* find(std::string_view key) const {
    const auto found = mPolicy.find(key);
    return found != mPolicy.end() ? &found->second : nullptr;
  }

  void warn(const Finding& place, std::string text, std::string remedy) {
    mFindings.push_back(findingAt(place, Severity::Warning, std::move(text), std::move(remedy)));
  }

  static std::string nameOf(std::string_view key, const Entry& entry) {
    return std::string(key) + ": entry " + std::to_string(entry.index + 1) + ", " + entry.text;
  }

  void checkGUIDs(std::string_view key, const PlacedSetting& setting) {
    auto entries = entriesOf(setting);
    // What is no GUID is told of where settings are read.
    std::erase_if(entries, [](const Entry& entry) {
      return entry.text != kEveryone && !parseUUID(entry.text);
    });
    const auto everyone = std::ranges::find(entries, kEveryone, &Entry::text);
    if (everyone != entries.end()) {
      if (entries.size() > 1) {
        warn(setting.placeOf(everyone->index),
             std::string(key) + " holds * beside other entries, which decide nothing then",
             "Leave out the one or the others.");
      }
      return;
    }
    checkTwice(key, setting, entries);
    if (entries.empty()) return;
    try {
      const auto found = known({record::Users, record::Groups}, attribute::GUID, entries);
      for (const auto& entry : unknown(key, entries, found)) {
        warn(setting.placeOf(entry.index), nameOf(key, entry) + ", names nobody",
             "Correct it (gatehallctl guid NAME shows the GUID of an account or a group), or leave "
             "it out.");
      }
    } catch (const PlatformException& failure) {
      cantTell(key, failure);
    }
  }

  void checkTwice(std::string_view key, const PlacedSetting& setting,
                  const std::vector<Entry>& entries) {
    std::set<std::string> seen;
    for (const auto& entry : entries) {
      if (seen.insert(keyOf(entry.text)).second) continue;
      warn(setting.placeOf(entry.index), nameOf(key, entry) + ", stands there twice",
           "Leave one out.");
    }
  }

  void checkNames() {
    const auto* setting = find("HiddenUsersList");
    if (setting == nullptr) return;
    const auto entries = entriesOf(*setting);
    if (entries.empty()) return;
    try {
      const auto found = known({record::Users}, attribute::RecordName, entries);
      for (const auto& entry : unknown("HiddenUsersList", entries, found)) {
        warn(setting->placeOf(entry.index),
             nameOf("HiddenUsersList", entry) + ", is nobody's login name",
             "Correct the name, or leave it out.");
      }
    } catch (const PlatformException& failure) {
      cantTell("HiddenUsersList", failure);
    }
  }

  /// The entries that nobody has. None while a directory is away, which may have what the others
  /// lack: that is said.
  std::vector<Entry> unknown(std::string_view key, std::vector<Entry> entries,
                             const std::set<std::string>& found) {
    std::erase_if(entries, [&](const Entry& entry) { return found.contains(keyOf(entry.text)); });
    if (entries.empty()) return entries;
    const auto away = directoriesAway();
    if (away.empty()) return entries;
    std::string names;
    for (const auto& each : away) names.append(names.empty() ? "" : ", ").append(each);
    for (const auto& entry : entries) {
      mMessages.push_back("whom " + nameOf(key, entry) + ", names can't be told while " + names +
                          (away.size() == 1 ? " is away" : " are away"));
    }
    return {};
  }

  void cantTell(std::string_view key, const PlatformException& failure) {
    mMessages.push_back("whom " + std::string(key) + " names can't be told: " + failure.what());
  }

  void checkStrictness() {
    const auto* allowed = find("AllowList");
    const auto* list = allowed != nullptr ? allowed->value.array() : nullptr;
    if (list == nullptr) return;
    const bool isOfEveryone =
        std::ranges::find(*list, Value(std::string(kEveryone))) != list->end();
    const auto* strict = find("StrictAllowList");
    const bool isStrict = strict != nullptr && strictBoolean(strict->value).value_or(false);
    if (isOfEveryone) return;
    if (list->empty() && isStrict) {
      warn(allowed->place, "AllowList is empty: of network users, administrators alone may log in",
           "Name in it who may, if anybody shall.");
    } else if (list->empty()) {
      warn(allowed->place, "AllowList is empty, which admits everybody",
           "Set StrictAllowList to true beside it if it shall admit nobody, or leave it out.");
    } else if (!isStrict) {
      warn(allowed->place,
           "AllowList without StrictAllowList admits everybody once it names nobody who is known",
           "Set StrictAllowList to true beside it.");
    }
  }

  void checkBoth() {
    const auto* allowed = find("AllowList");
    const auto* denied = find("DenyList");
    if (allowed == nullptr || denied == nullptr) return;
    std::set<std::string> refused;
    for (const auto& entry : entriesOf(*denied)) refused.insert(keyOf(entry.text));
    for (const auto& entry : entriesOf(*allowed)) {
      if (entry.text == kEveryone || !refused.contains(keyOf(entry.text))) continue;
      warn(allowed->placeOf(entry.index),
           nameOf("AllowList", entry) + ", stands in DenyList as well, which wins",
           "Leave it out of the one or of the other.");
    }
  }

  const Policy& mPolicy;
  Strings& mMessages;
  std::vector<Finding> mFindings;
};

}  // namespace

std::vector<Finding> findingsOfLists(const Policy& policy, Strings& messages) {
  return ListCheck(policy, messages).run();
}

}  // namespace gatehall::ctl
