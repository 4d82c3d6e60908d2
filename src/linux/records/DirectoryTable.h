#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "linux/files/FaultLog.h"
#include "linux/files/TomlFile.h"
#include "linux/records/AccountID.h"

namespace gatehall {

/// One table [[directory]] of /etc/gatehall/directory.toml while it is read. What is wrong is
/// reported, and makes the whole directory unusable: half of its settings could mean anything.
/// Settings that aren't there are left as they are.
class DirectoryTable {
 public:
  enum class Needed { No, Yes };

  DirectoryTable(const toml::table& table, FaultLog& faults) : mTable(table), mFaults(faults) {}

  const toml::table& table() const { return mTable; }

  /// "FILE:LINE" of what stands in the file.
  static std::string placeOf(const toml::node& node);

  /// The first fault, as the log says it; empty: there is none.
  const std::string& fault() const { return mFault; }
  bool isFaulty() const { return !mFault.empty(); }

  /// What stands under the key, which is a known one from now on; nullptr: nothing.
  const toml::node* find(std::string_view key, Needed needed = Needed::No);

  void report(const toml::node& where, std::string_view key, std::string_view fault);

  /// The same of a setting that is there.
  void refuse(std::string_view key, std::string_view fault);

  /// Letters, digits, dots, hyphens and underscores: what the directory's node is called by.
  void readDirectoryName(std::string& name);
  void readText(std::string_view key, std::string& text, Needed needed = Needed::No);
  void readPath(std::string_view key, std::string& path);
  void readFlag(std::string_view key, bool& flag);
  void readSeconds(std::string_view key, std::chrono::milliseconds& time);

  /// "min-id" and "max-id".
  void readUserIDs(UserIDRange& range);

  template <class Choice, std::size_t count>
  void readChoice(std::string_view key,
                  const std::array<std::pair<const char*, Choice>, count>& choices,
                  Choice& choice) {
    std::string text;
    readText(key, text);
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

  /// Reports every key that nothing has looked for.
  void reportUnknownKeys();

 private:
  void keep(std::string fault);
  void readUserID(std::string_view key, std::uint32_t& userID);

  const toml::table& mTable;
  FaultLog& mFaults;
  std::string mFault;
  std::set<std::string, std::less<>> mKnown;
};

/// Whether it is one of a directory behind the name service: kind = "nss".
bool isOfNameService(const toml::table& directory);

/// Whether the text is a name of no more than 64 letters, digits and allowed characters.
bool isSettingName(std::string_view text, std::string_view allowed);

}  // namespace gatehall
