#include "linux/local/Settings.h"

#include <algorithm>
#include <array>
#include <fnmatch.h>
#include <string>

#include "linux/files/TomlFile.h"

namespace gatehall::local {

namespace {

constexpr std::array<std::string_view, 2> kSettings{"admin-groups", "guests"};

/// False when the key has no list of names, which leaves none.
bool readNames(const toml::table& local, std::string_view key, Strings& names, FaultLog& faults) {
  const auto* node = local.get(key);
  if (node == nullptr) return true;
  names.clear();
  const auto refuse = [&](const toml::node& where) {
    faults.report(kDirectoryFile, where.source().begin.line,
                  "local." + std::string(key) + " is not a list of names");
    names.clear();
    return false;
  };
  const auto* list = node->as_array();
  if (list == nullptr) return refuse(*node);
  for (const auto& element : *list) {
    const auto* name = element.as_string();
    if (name == nullptr) return refuse(element);
    names.push_back(name->get());
  }
  return true;
}

}  // namespace

Settings Settings::read(const HostOptions& options, FaultLog& faults) {
  Settings settings;
  const auto file = TomlFile::read(options, kDirectoryFile, faults);
  const Settings nobody{{}, {}, false};
  if (file.state == TomlFile::State::Missing) return settings;
  if (file.state == TomlFile::State::Unusable) return nobody;
  const auto* node = file.table.get("local");
  if (node == nullptr) return settings;
  const auto* local = node->as_table();
  if (local == nullptr) {
    faults.report(kDirectoryFile, node->source().begin.line, "local is not a table");
    return nobody;
  }
  for (const auto& [key, value] : *local) {
    if (key != "admin-groups" && key != "guests") {
      reportUnknownKey(faults, kDirectoryFile, key, "local", kSettings);
    }
  }
  settings.adminGroupsAreKnown = readNames(*local, "admin-groups", settings.adminGroups, faults);
  readNames(*local, "guests", settings.guests, faults);
  return settings;
}

bool Settings::isGuest(std::string_view loginName) const {
  return std::any_of(guests.begin(), guests.end(), [&](const std::string& pattern) {
    // Every account is asked about: its first letter answers for most.
    constexpr std::string_view wildcards = "*?[";
    const bool beginsAlike = pattern.empty() || loginName.starts_with(pattern.front()) ||
                             wildcards.find(pattern.front()) != std::string_view::npos;
    return beginsAlike &&
           fnmatch(pattern.c_str(), std::string(loginName).c_str(), FNM_NOESCAPE) == 0;
  });
}

}  // namespace gatehall::local
