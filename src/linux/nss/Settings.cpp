#include "linux/nss/Settings.h"

#include <set>
#include <string_view>
#include <utility>

#include "base/Ascii.h"
#include "linux/files/TomlFile.h"
#include "linux/records/DirectoryTable.h"

namespace gatehall::nss {

namespace {

/// Calls faultOf with each text: what is wrong with it, or nothing.
template <class FaultOf>
void readTexts(DirectoryTable& table, std::string_view key, Strings& texts, FaultOf faultOf) {
  const auto* node = table.find(key);
  if (node == nullptr) return;
  const auto* list = node->as_array();
  if (list == nullptr) return table.report(*node, key, "is not a list of texts");
  texts.clear();
  for (const auto& element : *list) {
    const auto* text = element.as_string();
    if (text == nullptr || text->get().empty() || text->get().find('\0') != std::string::npos) {
      table.report(element, key, "holds what is no text");
    } else if (const std::string fault = faultOf(text->get()); !fault.empty()) {
      table.report(element, key, fault);
    } else {
      texts.push_back(text->get());
    }
  }
}

Settings::Configured read(const toml::table& source, FaultLog& faults) {
  DirectoryTable table(source, faults);
  Settings settings;
  settings.line = source.source().begin.line;
  table.find("kind");
  table.readDirectoryName(settings.name);
  table.readText("domain", settings.domain);
  table.readUserIDs(settings.userIDs);
  if (source.contains("min-id")) settings.groupIDs.first = settings.userIDs.first;
  if (source.contains("max-id")) settings.groupIDs.last = settings.userIDs.last;
  readTexts(table, "names", settings.names, [&](const std::string& name) {
    if (settings.mayHaveName(name)) return std::string();
    return "holds " + printable(name) + ", which is not of the domain " + settings.domain;
  });
  readTexts(table, "homes", settings.homes, [](const std::string& path) {
    return path.starts_with('/') ? "" : "holds what is no absolute path";
  });
  table.readSeconds("time-limit", settings.timeLimit);
  table.reportUnknownKeys();
  if (table.isFaulty()) {
    return Settings::Unusable{DirectoryTable::placeOf(source), table.fault(), settings.line};
  }
  return settings;
}

}  // namespace

bool Settings::mayHaveName(std::string_view accountName) const {
  if (domain.empty()) return true;
  if (const auto at = accountName.rfind('@'); at != std::string_view::npos && at != 0) {
    return ascii::isSame(accountName.substr(at + 1), domain);
  }
  const auto slash = accountName.find('\\');
  return slash != std::string_view::npos && slash + 1 < accountName.size() &&
         ascii::isSame(accountName.substr(0, slash), domain);
}

std::vector<Settings::Configured> Settings::readAll(const HostOptions& options, FaultLog& faults) {
  std::vector<Configured> directories;
  const auto file = TomlFile::read(options, kDirectoryFile, faults);
  const auto* list = file.table.get_as<toml::array>("directory");
  if (file.state != TomlFile::State::Read || list == nullptr) return directories;
  std::set<std::string> names;
  for (const auto& element : *list) {
    const auto* table = element.as_table();
    if (table == nullptr || !isOfNameService(*table)) continue;
    auto configured = read(*table, faults);
    const auto* settings = std::get_if<Settings>(&configured);
    if (settings != nullptr && !names.insert(settings->name).second) {
      const auto line = settings->line;
      auto fault = faults.report(kDirectoryFile, line, "the second directory " + settings->name);
      configured = Unusable{DirectoryTable::placeOf(element), std::move(fault), line};
    }
    directories.push_back(std::move(configured));
  }
  return directories;
}

}  // namespace gatehall::nss
