#include "linux/ldap/client/Settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "base/Ascii.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/files/TomlFile.h"
#include "linux/ldap/client/DistinguishedName.h"

namespace gatehall::ldap {

namespace {

constexpr double kLongestTime = 3600;
constexpr std::int64_t kLargestPage = 100000;

constexpr std::array<std::string_view, 2> kTables{"directory", "local"};

bool isName(std::string_view text, std::string_view allowed) {
  return !text.empty() && text.size() <= 64 && std::ranges::all_of(text, [allowed](char c) {
    return ascii::isAlphanumeric(c) || allowed.find(c) != std::string_view::npos;
  });
}

/// Reads one table. What is wrong is reported, and makes the whole directory unusable: half of its
/// settings could mean anything.
class DirectoryReader {
 public:
  DirectoryReader(const toml::table& table, FaultLog& faults) : mTable(table), mFaults(faults) {}

  Settings::Configured read() {
    Settings settings;
    readText("name", settings.name, Needed::Yes);
    if (!settings.name.empty() && !isName(settings.name, ".-_")) {
      refuse("name", "holds other characters than letters, digits, dots, hyphens and underscores");
    }
    readServers(settings.servers);
    readBases(settings);
    readChoice("profile",
               std::array{std::pair("rfc2307", Profile::Rfc2307),
                          std::pair("rfc2307bis", Profile::Rfc2307bis),
                          std::pair("active-directory", Profile::ActiveDirectory)},
               settings.profile);
    readAttributes("users", settings.userAttributes);
    readAttributes("groups", settings.groupAttributes);
    readChoice("tls",
               std::array{std::pair("verified", Settings::Tls::Verified),
                          std::pair("unverified", Settings::Tls::Unverified),
                          std::pair("off", Settings::Tls::Off)},
               settings.tls);
    readPath("ca-file", settings.caFile);
    readAccount(settings);
    readName("password-policy", settings.passwordPolicy, Needed::No);
    readSeconds("time-limit", settings.timeLimit);
    readSeconds("total-time-limit", settings.totalTimeLimit);
    readPageSize(settings.pageSize);
    readFlag("follow-referrals", settings.followsReferrals);
    readUserIDs(settings.userIDs);
    readChoice("when-away",
               std::array{std::pair("refuse", Settings::WhenAway::Refuse),
                          std::pair("ignore", Settings::WhenAway::Ignore)},
               settings.whenAway);
    const std::vector<std::string_view> known(mKnown.begin(), mKnown.end());
    for (const auto& [key, value] : mTable) {
      if (!mKnown.contains(key.str())) {
        keep(reportUnknownKey(mFaults, kDirectoryFile, key, "directory", known));
      }
    }
    if (isFaulty()) return Settings::Unusable{placeOf(mTable), mFault};
    return settings;
  }

  static std::string placeOf(const toml::node& node) {
    std::string place(kDirectoryFile);
    return place.append(":").append(std::to_string(node.source().begin.line));
  }

 private:
  enum class Needed { No, Yes };

  const toml::node* find(std::string_view key, Needed needed = Needed::No) {
    mKnown.emplace(key);
    const auto* node = mTable.get(key);
    if (node == nullptr && needed == Needed::Yes) report(mTable, key, "is missing");
    return node;
  }

  void report(const toml::node& where, std::string_view key, std::string_view fault) {
    keep(mFaults.report(kDirectoryFile, where.source().begin.line,
                        "directory." + std::string(key) + " " + std::string(fault)));
  }

  void keep(std::string fault) {
    if (mFault.empty()) mFault = std::move(fault);
  }
  bool isFaulty() const { return !mFault.empty(); }

  void refuse(std::string_view key, std::string_view fault) {
    report(*mTable.get(key), key, fault);
  }

  void readText(std::string_view key, std::string& text, Needed needed) {
    const auto* node = find(key, needed);
    if (node == nullptr) return;
    const auto* value = node->as_string();
    if (value == nullptr || value->get().empty()) return report(*node, key, "is not a text");
    if (value->get().find('\0') != std::string::npos) return report(*node, key, "holds a NUL byte");
    text = value->get();
  }

  void readName(std::string_view key, std::string& name, Needed needed) {
    readText(key, name, needed);
    if (mTable.contains(key) && !distinguishedName::canonical(name)) {
      refuse(key, "is not a distinguished name");
    }
  }

  void readPath(std::string_view key, std::string& path) {
    readText(key, path, Needed::No);
    if (mTable.contains(key) && !path.starts_with('/')) refuse(key, "is not an absolute path");
  }

  void readFlag(std::string_view key, bool& flag) {
    const auto* node = find(key);
    if (node == nullptr) return;
    const auto* value = node->as_boolean();
    if (value == nullptr) return report(*node, key, "is neither true nor false");
    flag = value->get();
  }

  void readSeconds(std::string_view key, std::chrono::milliseconds& time) {
    const auto* node = find(key);
    if (node == nullptr) return;
    const auto seconds = node->value<double>();
    const bool isTime = seconds && *seconds >= 0.001 && *seconds <= kLongestTime;
    if (!isTime) {
      return report(*node, key, "is not a number of seconds up to 3600");
    }
    time = std::chrono::milliseconds(std::lround(*seconds * 1000));
  }

  void readPageSize(std::optional<std::int32_t>& size) {
    const auto* node = find("page-size");
    if (node == nullptr) return;
    const auto* value = node->as_integer();
    if (value == nullptr || value->get() < 1 || value->get() > kLargestPage) {
      return report(*node, "page-size", "is not a number from 1 to 100000");
    }
    size = static_cast<std::int32_t>(value->get());
  }

  void readUserID(std::string_view key, std::uint32_t& userID) {
    const auto* node = find(key);
    if (node == nullptr) return;
    const auto* value = node->as_integer();
    if (value == nullptr || value->get() < 1 || value->get() >= UINT32_MAX) {
      return report(*node, key, "is not a user id from 1 to 4294967294");
    }
    userID = static_cast<std::uint32_t>(value->get());
  }

  void readUserIDs(UserIDRange& range) {
    readUserID("min-id", range.first);
    readUserID("max-id", range.last);
    if (range.first > range.last && !isFaulty()) report(mTable, "min-id", "is above max-id");
  }

  template <class Choice, std::size_t count>
  void readChoice(std::string_view key,
                  const std::array<std::pair<const char*, Choice>, count>& choices,
                  Choice& choice) {
    std::string text;
    readText(key, text, Needed::No);
    if (text.empty()) return;
    std::string known;
    for (const auto& [name, value] : choices) {
      if (text == name) {
        choice = value;
        return;
      }
      known += known.empty() ? name : std::string(", ") + name;
    }
    refuse(key, "is none of " + known);
  }

  void readServers(std::vector<URI>& servers) {
    const auto* node = find("servers", Needed::Yes);
    if (node == nullptr) return;
    const auto* list = node->as_array();
    if (list == nullptr || list->empty()) return report(*node, "servers", "is not a list of URIs");
    for (const auto& element : *list) {
      const auto* text = element.as_string();
      auto uri = text != nullptr ? URI::parse(text->get()) : std::nullopt;
      if (!uri) {
        report(element, "servers", "holds what is no ldap, ldaps or ldapi URI");
      } else {
        servers.push_back(std::move(*uri));
      }
    }
  }

  void readBases(Settings& settings) {
    std::string base;
    readName("base", base, Needed::No);
    settings.usersBase = base;
    settings.groupsBase = base;
    readName("users-base", settings.usersBase, Needed::No);
    readName("groups-base", settings.groupsBase, Needed::No);
    if (settings.usersBase.empty() || settings.groupsBase.empty()) {
      if (!isFaulty()) report(mTable, "base", "is missing");
    }
  }

  void readAttributes(std::string_view key, Settings::AttributeNames& names) {
    const auto* node = find(key);
    if (node == nullptr) return;
    const auto* table = node->as_table();
    if (table == nullptr) return report(*node, key, "is not a table of attributes");
    for (const auto& [kind, value] : *table) {
      const auto name = std::string(key) + "." + std::string(kind.str());
      const auto* text = value.as_string();
      if (text == nullptr || (!text->get().empty() && !isName(text->get(), "-."))) {
        report(value, name, "is not an LDAP attribute");
      } else {
        names.emplace(attribute::canonical(kind.str()), text->get());
      }
    }
  }

  void readAccount(Settings& settings) {
    readName("bind-dn", settings.bindName, Needed::No);
    readPath("bind-password-file", settings.bindPasswordFile);
    if (settings.bindName.empty() != settings.bindPasswordFile.empty() && !isFaulty()) {
      report(mTable, settings.bindName.empty() ? "bind-dn" : "bind-password-file", "is missing");
    }
  }

  const toml::table& mTable;
  FaultLog& mFaults;
  std::string mFault;  ///< the first one
  std::set<std::string, std::less<>> mKnown;
};

}  // namespace

std::vector<Settings::Configured> Settings::readAll(const HostOptions& options, FaultLog& faults) {
  std::vector<Configured> directories;
  const auto file = TomlFile::read(options, kDirectoryFile, faults);
  if (file.state == TomlFile::State::Unusable) {
    return {Unusable{std::string(kDirectoryFile), file.fault}};
  }
  for (const auto& [key, value] : file.table) {
    if (key == "local" || key == "directory") continue;
    // Who knows what was meant; it may be a directory.
    directories.emplace_back(Unusable{DirectoryReader::placeOf(value),
                                      reportUnknownKey(faults, kDirectoryFile, key, "", kTables)});
  }
  const auto* node = file.table.get("directory");
  if (node == nullptr) return directories;
  const auto* list = node->as_array();
  const auto refuse = [&](const toml::node& where, const std::string& fault) {
    directories.emplace_back(
        Unusable{DirectoryReader::placeOf(where),
                 faults.report(kDirectoryFile, where.source().begin.line, fault)});
  };
  if (list == nullptr) {
    refuse(*node, "directory is not a list of tables: write [[directory]]");
    return directories;
  }
  std::set<std::string> names;
  for (const auto& element : *list) {
    const auto* table = element.as_table();
    if (table == nullptr) {
      refuse(element, "a directory is no table");
      continue;
    }
    auto read = DirectoryReader(*table, faults).read();
    const auto* settings = std::get_if<Settings>(&read);
    if (settings != nullptr && !names.insert(settings->name).second) {
      refuse(element, "the second directory " + settings->name);
    } else {
      directories.push_back(std::move(read));
    }
  }
  return directories;
}

}  // namespace gatehall::ldap
