#include "gatehall/access/GHUIManagedPrefs.h"

#include <string>
#include <utility>

#include "base/ProcessWide.h"
#include "gatehall/platform/Platform.h"

namespace gatehall {

namespace {

constexpr std::string_view kLoginScreenFile =
    "/Library/Managed Preferences/com.orvane.gatehall.plist";
constexpr std::string_view kTavloFile = "/Library/Managed Preferences/com.orvane.Tavlo.plist";
constexpr std::string_view kDisableAutoLogin = "com.orvane.login.tavlo.DisableAutoLoginClient";

ProcessWide<GHUIManagedPrefs> sharedPrefs;

std::optional<Dictionary> readDictionary(std::string_view path) {
  const auto content = platform().propertyLists().readPropertyList(path);
  const auto* entries = content ? content->dictionary() : nullptr;
  return entries != nullptr ? std::optional(*entries) : std::nullopt;
}

}  // namespace

std::shared_ptr<GHUIManagedPrefs> GHUIManagedPrefs::managedPrefs() {
  if (auto prefs = sharedPrefs.get()) return prefs;
  return sharedPrefs.keep(std::make_shared<GHUIManagedPrefs>());
}

GHUIManagedPrefs::GHUIManagedPrefs() { synchronize(); }

void GHUIManagedPrefs::synchronize() { load(); }

std::shared_ptr<const Dictionary> GHUIManagedPrefs::load() const {
  try {
    auto entries = readDictionary(kLoginScreenFile).value_or(Dictionary());
    if (const auto tavlo = readDictionary(kTavloFile)) {
      const auto entry = tavlo->find(kDisableAutoLogin);
      if (entry != tavlo->end()) entries.insert(*entry);
    }
    auto loaded = std::make_shared<const Dictionary>(std::move(entries));
    mManagedPreferences.store(loaded);
    return loaded;
  } catch (...) {
    // What was managed before may be another policy, and none would be no policy.
    mManagedPreferences.store(nullptr);
    throw;
  }
}

std::shared_ptr<const Dictionary> GHUIManagedPrefs::values() const {
  auto present = mManagedPreferences.load();
  return present ? present : load();
}

std::optional<Value> GHUIManagedPrefs::objectForKey(std::string_view key) const {
  const auto entries = values();
  const auto entry = entries->find(key);
  return entry != entries->end() ? std::optional(entry->second) : std::nullopt;
}

void GHUIManagedPrefs::setObject(std::optional<Value> value,
                                 std::optional<std::string_view> forKey) {
  if (!value || !forKey) return;
  auto changed = *values();
  changed.insert_or_assign(std::string(*forKey), std::move(*value));
  mManagedPreferences.store(std::make_shared<const Dictionary>(std::move(changed)));
}

}  // namespace gatehall
