#include "platform/linux/LocalSettings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fnmatch.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#define TOML_EXCEPTIONS 0
#define TOML_ENABLE_FORMATTERS 0
// The other way of reading numbers brings all of iostreams into every program.
#define TOML_FLOAT_CHARCONV 1
#include <toml++/toml.h>

#include "platform/linux/OwnedFile.h"

namespace gatehall {

namespace {

constexpr std::string_view kPath = "/etc/gatehall/directory.toml";
constexpr std::size_t kLargestFile = 1048576;

void readNames(const toml::table& local, std::string_view key, Strings& names, FaultLog& faults) {
  const auto* node = local.get(key);
  if (node == nullptr) return;
  names.clear();
  const auto refuse = [&](const toml::node& where) {
    faults.report(kPath, where.source().begin.line,
                  "local." + std::string(key) + " is not a list of names");
    names.clear();
  };
  const auto* list = node->as_array();
  if (list == nullptr) return refuse(*node);
  for (const auto& element : *list) {
    const auto* name = element.as_string();
    if (name == nullptr) return refuse(element);
    names.push_back(name->get());
  }
}

}  // namespace

LocalSettings LocalSettings::read(const HostOptions& options, FaultLog& faults) {
  LocalSettings settings;
  std::string fault;
  const auto content =
      readOwnedFile(options.root + std::string(kPath), {systemOwner(options)}, kLargestFile, fault);
  if (!content && fault.empty()) return settings;
  const LocalSettings nobody{{}, {}};
  if (!content) {
    faults.report(kPath, "ignored: " + fault);
    return nobody;
  }
  const auto parsed = toml::parse(std::string_view(*content));
  if (!parsed) {
    faults.report(kPath, parsed.error().source().begin.line, parsed.error().description());
    return nobody;
  }
  const auto* node = parsed.table().get("local");
  if (node == nullptr) return settings;
  const auto* local = node->as_table();
  if (local == nullptr) {
    faults.report(kPath, node->source().begin.line, "local is not a table");
    return nobody;
  }
  for (const auto& [key, value] : *local) {
    if (key != "admin-groups" && key != "guests") {
      faults.report(kPath, key.source().begin.line,
                    "local." + std::string(key.str()) + " is not a setting");
    }
  }
  readNames(*local, "admin-groups", settings.adminGroups, faults);
  readNames(*local, "guests", settings.guests, faults);
  return settings;
}

bool LocalSettings::isGuest(std::string_view loginName) const {
  const std::string name(loginName);
  return std::any_of(guests.begin(), guests.end(), [&](const std::string& pattern) {
    return fnmatch(pattern.c_str(), name.c_str(), FNM_NOESCAPE) == 0;
  });
}

}  // namespace gatehall
