#include "ctl/policy/SettingsChange.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <set>
#include <utility>

#include "base/Ascii.h"
#include "ctl/request/Verb.h"
#include "linux/preferences/PolicyFileContent.h"
#include "portable/formats/PropertyList.h"
#include "portable/text/NearestName.h"

namespace gatehall::ctl {

namespace {

constexpr const char* kAllowList = "AllowList";
constexpr const char* kDenyList = "DenyList";

std::optional<bool> booleanOf(std::string_view word) {
  constexpr std::array<std::string_view, 4> kYes{"yes", "true", "on", "1"};
  constexpr std::array<std::string_view, 4> kNo{"no", "false", "off", "0"};
  const auto isOne = [word](std::string_view each) { return ascii::isSame(each, word); };
  if (std::ranges::any_of(kYes, isOne)) return true;
  if (std::ranges::any_of(kNo, isOne)) return false;
  return std::nullopt;
}

const Value* valueOf(const Dictionary& settings, const std::string& key) {
  const auto entry = settings.find(key);
  return entry != settings.end() ? &entry->second : nullptr;
}

/// The entries of a list as they are told; none of what is no list.
Strings entriesOf(const Dictionary& settings, const std::string& key) {
  Strings entries;
  const auto* value = valueOf(settings, key);
  const auto* list = value != nullptr ? value->array() : nullptr;
  if (list == nullptr) return entries;
  for (const auto& each : *list) entries.push_back(each.description());
  return entries;
}

bool holds(const Strings& list, const std::string& entry) {
  return std::ranges::any_of(
      list, [&entry](const std::string& each) { return ascii::isSame(each, entry); });
}

std::string wordOf(const Value* value) {
  return value != nullptr ? cellText(toJson(*value)) : "not set";
}

}  // namespace

std::string settingNamed(const std::string& name) {
  const auto known = loginScreenSettings();
  if (std::ranges::find(known, name) != known.end()) return name;
  throw UsageError("'" + name + "' is no setting; did you mean " +
                   std::string(nearestName(name, known).name) + "?");
}

SettingsChange::SettingsChange(std::string_view content) : mEdit(content) {
  readAgain();
  mBefore = mSettings;
}

void SettingsChange::inherit(const std::string& key, const std::vector<CommentedText>& entries,
                             const std::string& whose) {
  mInherited.insert_or_assign(key, Inherited{entries, whose});
}

void SettingsChange::allow(const std::vector<CommentedText>& entries) {
  const bool isEverybody =
      std::ranges::any_of(entries, [](const CommentedText& each) { return each.text == "*"; });
  if (!isEverybody && valueOf(mSettings, kAllowList) == nullptr &&
      !mInherited.contains(kAllowList)) {
    mRemarks.emplace_back(
        "the file had no AllowList: of the network's users only those on it may log in then");
  }
  move(entries, kAllowList, kDenyList);
}

void SettingsChange::deny(const std::vector<CommentedText>& entries) {
  move(entries, kDenyList, kAllowList);
}

void SettingsChange::takeOff(const std::vector<CommentedText>& entries) {
  for (const auto& entry : entries) {
    const bool wasAllowed = remove(kAllowList, entry.text);
    const bool wasDenied = remove(kDenyList, entry.text);
    if (wasAllowed || wasDenied) continue;
    throw UsageError((entry.comment.empty() ? entry.text : entry.comment) +
                     " is on neither list of the file");
  }
}

void SettingsChange::setBoolean(const std::string& key, const Strings& words) {
  const auto flag = words.size() == 1 ? booleanOf(words.front()) : std::nullopt;
  if (!flag) throw UsageError(key + " takes one word, yes or no");
  mEdit.set(key, *flag);
  readAgain();
}

void SettingsChange::setList(const std::string& key, const std::vector<CommentedText>& entries) {
  const auto* value = valueOf(mSettings, key);
  if (value == nullptr || value->array() == nullptr) {
    mEdit.setList(key, entries);
    return readAgain();
  }
  const auto there = entriesOf(mSettings, key);
  // What stays, stays as it is written, with what people wrote beside it.
  std::vector<CommentedText> added;
  std::ranges::copy_if(entries, std::back_inserter(added), [&there](const CommentedText& each) {
    return std::ranges::find(there, each.text) == there.end();
  });
  mEdit.append(key, added);
  for (auto place = there.size(); place-- > 0;) {
    const auto isThis = [&](const CommentedText& each) { return each.text == there[place]; };
    if (std::ranges::none_of(entries, isThis)) mEdit.removeElement(key, place);
  }
  readAgain();
}

void SettingsChange::reset(const Strings& keys) {
  Strings all;
  for (const auto& [key, value] : mSettings) all.push_back(key);
  for (const auto& key : keys.empty() ? all : keys) {
    if (!mSettings.contains(key)) throw UsageError("the file doesn't set '" + key + "'");
    mEdit.remove(key);
  }
  readAgain();
}

Json SettingsChange::json() const {
  std::set<std::string> keys;
  for (const auto* settings : {&mBefore, &mSettings}) {
    for (const auto& [key, value] : *settings) keys.insert(key);
  }
  auto list = Json::array();
  for (const auto& key : keys) {
    const auto* before = valueOf(mBefore, key);
    const auto* after = valueOf(mSettings, key);
    if (before != nullptr && after != nullptr && *before == *after) continue;
    list.push_back({{"key", key},
                    {"before", before != nullptr ? toJson(*before) : Json()},
                    {"after", after != nullptr ? toJson(*after) : Json()}});
  }
  return list;
}

Table SettingsChange::table(const std::map<std::string, std::string>& names) const {
  Table table{.header = {"SETTING", "CHANGE"}, .fits = {Fit::Whole, Fit::Wrap}};
  const auto told = [&names](const std::string& entry) {
    const auto name = names.find(entry);
    return name != names.end() ? name->second : entry;
  };
  for (const auto& change : json()) {
    const auto key = change.at("key").get<std::string>();
    const auto before = entriesOf(mBefore, key);
    const auto after = entriesOf(mSettings, key);
    const auto rows = table.rows.size();
    for (const auto& each : before) {
      if (!holds(after, each)) table.rows.push_back({{key}, {"- " + told(each), Tone::Bad}});
    }
    for (const auto& each : after) {
      if (!holds(before, each)) table.rows.push_back({{key}, {"+ " + told(each), Tone::Good}});
    }
    if (table.rows.size() > rows) continue;
    const auto left = wordOf(valueOf(mBefore, key));
    table.rows.push_back({{key}, {left + " -> " + wordOf(valueOf(mSettings, key))}});
  }
  return table;
}

void SettingsChange::move(const std::vector<CommentedText>& entries, const std::string& to,
                          const std::string& from) {
  takeOver(to);
  for (const auto& entry : entries) {
    const auto other = mInherited.find(from);
    const auto isThis = [&entry](const auto& each) { return ascii::isSame(each.text, entry.text); };
    if (other != mInherited.end() && std::ranges::any_of(other->second.entries, isThis)) {
      takeOver(from);
    }
    remove(from, entry.text);
    if (holds(entriesOf(mSettings, to), entry.text)) {
      mRemarks.push_back(entry.comment + " is on the " + to + " already");
      continue;
    }
    mEdit.append(to, {entry});
    readAgain();
  }
}

void SettingsChange::takeOver(const std::string& key) {
  const auto inherited = mInherited.find(key);
  if (inherited == mInherited.end() || valueOf(mSettings, key) != nullptr) return;
  setList(key, inherited->second.entries);
  mRemarks.push_back("the " + key + " takes over the entries of " + inherited->second.whose +
                     ", which it hides");
}

bool SettingsChange::remove(const std::string& key, const std::string& entry) {
  const auto there = entriesOf(mSettings, key);
  bool isRemoved = false;
  for (auto place = there.size(); place-- > 0;) {
    if (!ascii::isSame(there[place], entry)) continue;
    mEdit.removeElement(key, place);
    isRemoved = true;
  }
  if (isRemoved) readAgain();
  if (isRemoved && key == kAllowList && there.size() == 1) {
    mRemarks.emplace_back(
        "the AllowList is empty then: without StrictAllowList that admits everybody");
  }
  return isRemoved;
}

void SettingsChange::readAgain() {
  const auto list = parsePropertyList(mEdit.text());
  mSettings = *list.dictionary();
}

}  // namespace gatehall::ctl
