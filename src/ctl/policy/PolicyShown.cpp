#include "ctl/policy/PolicyShown.h"

#include <string>
#include <utility>
#include <vector>

#include "ctl/policy/ListedNames.h"
#include "gatehall/platform/Platform.h"
#include "linux/preferences/SettingsFiles.h"
#include "world/WorldPreferences.h"

namespace gatehall::ctl {

namespace {

/// The same of a world, which keeps settings without files.
std::vector<SettingsFile> settingsInWorld(std::string_view domain) {
  std::vector<SettingsFile> files;
  const auto path = WorldPropertyLists::managedPath(domain);
  const auto content = platform().propertyLists().readPropertyList(path);
  if (const auto* settings = content ? content->dictionary() : nullptr) {
    auto& file = files.emplace_back(SettingsFile{.path = path});
    for (const auto& [key, value] : *settings)
      file.settings.emplace(key, SettingsFile::Setting{value});
  }
  SettingsFile preferences{.kind = SettingsFile::Kind::Preferences, .path = {}};
  for (const auto key : loginScreenSettings()) {
    if (auto value = platform().preferences().copyApplicationValue(key, domain)) {
      preferences.settings.emplace(key, SettingsFile::Setting{std::move(*value)});
    }
  }
  if (!preferences.settings.empty()) files.push_back(std::move(preferences));
  return files;
}

std::vector<SettingsFile> filesOf(const Host& host, std::string_view domain) {
  if (host.world() != nullptr) return settingsInWorld(domain);
  return settingsFiles(host.options(), domain, platform().directory(),
                       platform().process().effectiveUserID());
}

Json numberOrNull(std::size_t number) { return number == 0 ? Json() : Json(number); }

Json namesOf(const Host& host, const std::string& key, const Value& value) {
  auto names = Json::object();
  const auto* list = value.array();
  if (list == nullptr || kindOfSetting(key) != SettingKind::GUIDs) return names;
  for (const auto& each : *list) {
    const auto* entry = each.string();
    if (entry != nullptr) names[*entry] = orNull(nameOfEntry(host, *entry));
  }
  return names;
}

Json jsonOf(const Host& host, const SettingsFile& file, const std::vector<SettingsFile>& files) {
  auto settings = Json::array();
  for (const auto& [key, setting] : file.settings) {
    settings.push_back({{"key", key},
                        {"value", toJson(setting.value)},
                        {"line", numberOrNull(setting.line)},
                        {"counts", fileOfSetting(files, key) == &file},
                        {"names", namesOf(host, key, setting.value)}});
  }
  return {{"path", file.path.empty() ? Json() : Json(file.path)},
          {"kind", description(file.kind)},
          {"counts", file.counts},
          {"fault", file.fault.empty() ? Json() : Json(file.fault)},
          {"line", numberOrNull(file.faultLine)},
          {"settings", std::move(settings)}};
}

std::string titleOf(const Json& file) {
  std::string text("# ");
  text.append(file["path"].is_null() ? "the world" : file["path"].get<std::string>());
  text.append(" (").append(file["kind"].get<std::string>());
  if (file["counts"] == false) text.append(", doesn't count");
  text.append(")");
  if (!file["line"].is_null()) text.append(", line ").append(cellText(file["line"]));
  if (!file["fault"].is_null()) text.append(": ").append(file["fault"].get<std::string>());
  return text;
}

std::string noteOn(const Json& setting) {
  auto note = setting["line"].is_null() ? std::string() : "line " + cellText(setting["line"]);
  if (setting["counts"] == false) note.append(note.empty() ? "" : ", ").append("doesn't count");
  return note;
}

Table tableOf(const Json& file) {
  Table table{.fits = {Fit::Whole, Fit::Whole, Fit::Wrap, Fit::Cut}};
  table.rows.push_back({{titleOf(file)}});
  for (const auto& setting : file["settings"]) {
    const auto& value = setting["value"];
    auto key = setting["key"].get<std::string>();
    auto note = noteOn(setting);
    if (!value.is_array() || value.empty()) {
      table.rows.push_back({{std::move(key)}, {cellText(value)}, {""}, {std::move(note)}});
      continue;
    }
    // A list is as long as it is, an entry a line.
    for (const auto& entry : value) {
      const auto text = cellText(entry);
      const auto& names = setting["names"];
      const auto name = names.contains(text) ? cellText(names[text]) : std::string();
      table.rows.push_back({{std::exchange(key, "")}, {text}, {name}, {std::exchange(note, "")}});
    }
  }
  return table;
}

}  // namespace

Answer policyShown(const Host& host) {
  Answer answer{.json = {{"files", Json::array()}}};
  for (const auto domain : kSettingsDomains) {
    const auto files = filesOf(host, domain);
    for (const auto& file : files) {
      answer.json["files"].push_back(jsonOf(host, file, files));
      if (file.counts && !file.fault.empty()) answer.status = ExitStatus::No;
    }
  }
  for (const auto& file : answer.json["files"]) answer.tables.push_back(tableOf(file));
  if (answer.tables.empty()) answer.tables.push_back({.rows = {{{"no file sets anything"}}}});
  return answer;
}

}  // namespace gatehall::ctl
