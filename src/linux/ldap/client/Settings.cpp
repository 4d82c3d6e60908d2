#include "linux/ldap/client/Settings.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/files/TomlFile.h"
#include "linux/ldap/client/DistinguishedName.h"
#include "linux/ldap/client/SearchFilter.h"
#include "linux/records/DirectoryTable.h"

namespace gatehall::ldap {

namespace {

constexpr std::int64_t kLargestPage = 100000;

bool isSocket(const URI& server) { return server.scheme == URI::Scheme::Ldapi; }

constexpr std::array<std::string_view, 2> kTables{"directory", "local"};

/// Whether the text can be a userPrincipalName ("reader@example.org"), by which Active Directory
/// lets an account bind as well as by its DN.
bool isPrincipalName(std::string_view text) {
  const auto at = text.find('@');
  const bool isPlain = std::ranges::all_of(text, [](char c) { return c > ' ' && c != 0x7F; });
  return isPlain && at != 0 && at < text.size() - 1 && text.rfind('@') == at;
}

/// Reads one table.
class DirectoryReader : DirectoryTable {
 public:
  using DirectoryTable::DirectoryTable;

  Settings::Configured read() {
    Settings settings;
    settings.line = table().source().begin.line;
    readKind();
    readDirectoryName(settings.name);
    readServers(settings.servers);
    readBases(settings);
    readFilter("users-filter", settings.usersFilter);
    readFilter("groups-filter", settings.groupsFilter);
    readChoice("profile",
               std::array{std::pair("rfc2307", Profile::Rfc2307),
                          std::pair("rfc2307bis", Profile::Rfc2307bis),
                          std::pair("active-directory", Profile::ActiveDirectory)},
               settings.profile);
    readAttributes("users", settings.userAttributes);
    readAttributes("groups", settings.groupAttributes);
    readFlag("map-ids", settings.mapsIDs);
    if (settings.mapsIDs) checkMapping(settings);
    readChoice("tls",
               std::array{std::pair("verified", Settings::Tls::Verified),
                          std::pair("unverified", Settings::Tls::Unverified),
                          std::pair("off", Settings::Tls::Off)},
               settings.tls);
    readPath("ca-file", settings.caFile);
    readCertificate(settings);
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
    reportUnknownKeys();
    if (isFaulty()) return Settings::Unusable{placeOf(table()), fault(), settings.line};
    return settings;
  }

 private:
  void readKind() {
    enum class Kind { Ldap, NameService };
    auto kind = Kind::Ldap;
    readChoice("kind",
               std::array{std::pair("ldap", Kind::Ldap), std::pair("nss", Kind::NameService)},
               kind);
  }

  void readName(std::string_view key, std::string& name, Needed needed) {
    readText(key, name, needed);
    if (table().contains(key) && !distinguishedName::canonical(name)) {
      refuse(key, "is not a distinguished name");
    }
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
      if (!isFaulty()) report(table(), "base", "is missing");
    }
  }

  void readFilter(std::string_view key, std::string& filter) {
    readText(key, filter);
    if (!filter.empty() && !searchFilter::isWhole(filter)) {
      refuse(key, "is not a filter in parentheses");
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
      if (text == nullptr || (!text->get().empty() && !isSettingName(text->get(), "-."))) {
        report(value, name, "is not an LDAP attribute");
      } else {
        names.emplace(attribute::canonical(kind.str()), text->get());
      }
    }
  }

  void checkMapping(const Settings& settings) {
    if (settings.profile != Profile::ActiveDirectory) {
      refuse("map-ids", "needs the profile active-directory");
    }
    const auto refuseBeside = [&](const std::string& key, const Settings::AttributeNames& names) {
      for (const auto kind : {attribute::UniqueID, attribute::PrimaryGroupID}) {
        if (!names.contains(kind)) continue;
        refuse("map-ids", "stands beside " + key + "." + std::string(kind) +
                              ": ids are mapped or read, not both");
      }
    };
    refuseBeside("users", settings.userAttributes);
    refuseBeside("groups", settings.groupAttributes);
  }

  void readCertificate(Settings& settings) {
    readPath("certificate", settings.certificateFile);
    readPath("key", settings.keyFile);
    readChoice("sasl-mechanism", std::array{std::pair("EXTERNAL", true)},
               settings.bindsByCertificate);
    if (isFaulty()) return;
    if (settings.certificateFile.empty() != settings.keyFile.empty()) {
      report(table(), settings.keyFile.empty() ? "key" : "certificate", "is missing");
    } else if (settings.certificateFile.empty() && settings.bindsByCertificate) {
      refuse("sasl-mechanism", "needs a certificate");
    } else if (!settings.certificateFile.empty() && settings.tls == Settings::Tls::Off) {
      refuse("certificate", "needs TLS");
    } else if (!settings.certificateFile.empty() &&
               std::ranges::any_of(settings.servers, &isSocket)) {
      refuse("certificate", "needs TLS, which an ldapi socket has none of");
    }
  }

  void readAccount(Settings& settings) {
    readText("bind-dn", settings.bindName);
    const bool isPrincipal =
        settings.profile == Profile::ActiveDirectory && isPrincipalName(settings.bindName);
    if (table().contains("bind-dn") && !isPrincipal &&
        !distinguishedName::canonical(settings.bindName)) {
      refuse("bind-dn", "is not a distinguished name");
    }
    readPath("bind-password-file", settings.bindPasswordFile);
    if (settings.bindName.empty() != settings.bindPasswordFile.empty() && !isFaulty()) {
      report(table(), settings.bindName.empty() ? "bind-dn" : "bind-password-file", "is missing");
    }
    if (settings.bindsByCertificate && !settings.bindName.empty()) {
      refuse("sasl-mechanism", "stands beside bind-dn: only one can say who binds");
    }
  }
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
    directories.emplace_back(Unusable{DirectoryTable::placeOf(value),
                                      reportUnknownKey(faults, kDirectoryFile, key, "", kTables),
                                      value.source().begin.line});
  }
  const auto* node = file.table.get("directory");
  if (node == nullptr) return directories;
  const auto* list = node->as_array();
  const auto refuse = [&](const toml::node& where, const std::string& fault) {
    directories.emplace_back(
        Unusable{DirectoryTable::placeOf(where),
                 faults.report(kDirectoryFile, where.source().begin.line, fault),
                 where.source().begin.line});
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
    if (isOfNameService(*table)) continue;
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
