#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/platform/PreferenceStore.h"

namespace gatehall {

/// The preferences of a world; at first there are none. As a host's store may, it keeps what a
/// domain held when it was first read until the domain is synchronized. From any thread.
class WorldPreferences final : public PreferenceStore {
 public:
  enum class Scope { User, System };

  std::optional<Value> copyApplicationValue(std::string_view key, std::string_view domain) override;
  bool applicationBoolean(std::string_view key, std::string_view domain, bool& exists) override;
  void synchronizePreferences(std::string_view domain) override;

  // What is stored from now on, for readers to see once they synchronize.
  void setValue(Scope scope, std::string_view domain, std::string_view key, Value value);
  void removeValue(Scope scope, std::string_view domain, std::string_view key);
  /// Replaces all that the scope holds of the domain.
  void setSettings(Scope scope, std::string_view domain, Dictionary settings);

  // What is stored.
  Strings domains();
  Dictionary settings(Scope scope, std::string_view domain);

 private:
  /// Both scopes of a domain.
  struct Settings {
    Dictionary user;
    Dictionary system;

    Dictionary& operator[](Scope scope) { return scope == Scope::User ? user : system; }
  };
  using Domains = std::map<std::string, Settings, std::less<>>;

  const Settings& read(std::string_view domain);

  std::mutex mMutex;
  Domains mStored;
  Domains mRead;
};

/// The property-list files of a world, by path; at first there are none. From any thread.
class WorldPropertyLists final : public PropertyListReader {
 public:
  std::optional<Value> readPropertyList(std::string_view path) override;

  void setFile(std::string_view path, Value content);
  void removeFile(std::string_view path);
  /// Their contents, by path.
  Dictionary files();

  /// Where the managed settings of a domain are.
  static std::string managedPath(std::string_view domain);

 private:
  std::mutex mMutex;
  Dictionary mFiles;
};

}  // namespace gatehall
