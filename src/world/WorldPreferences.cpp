#include "world/WorldPreferences.h"

#include <utility>

namespace gatehall {

std::optional<Value> WorldPreferences::copyApplicationValue(std::string_view key,
                                                            std::string_view domain) {
  const std::scoped_lock lock(mMutex);
  const auto& settings = read(domain);
  for (const auto* scope : {&settings.user, &settings.system}) {
    const auto found = scope->find(key);
    if (found != scope->end()) return found->second;
  }
  return std::nullopt;
}

bool WorldPreferences::applicationBoolean(std::string_view key, std::string_view domain,
                                          bool& exists) {
  const auto value = copyApplicationValue(key, domain);
  const auto flag = value ? strictBoolean(*value) : std::nullopt;
  exists = flag.has_value();
  return flag.value_or(false);
}

void WorldPreferences::synchronizePreferences(std::string_view domain) {
  const std::scoped_lock lock(mMutex);
  const auto found = mRead.find(domain);
  if (found != mRead.end()) mRead.erase(found);
}

void WorldPreferences::setValue(Scope scope, std::string_view domain, std::string_view key,
                                Value value) {
  const std::scoped_lock lock(mMutex);
  mStored[std::string(domain)][scope].insert_or_assign(std::string(key), std::move(value));
}

void WorldPreferences::removeValue(Scope scope, std::string_view domain, std::string_view key) {
  const std::scoped_lock lock(mMutex);
  mStored[std::string(domain)][scope].erase(std::string(key));
}

void WorldPreferences::setSettings(Scope scope, std::string_view domain, Dictionary settings) {
  const std::scoped_lock lock(mMutex);
  mStored[std::string(domain)][scope] = std::move(settings);
}

Strings WorldPreferences::domains() {
  const std::scoped_lock lock(mMutex);
  Strings names;
  for (const auto& [name, settings] : mStored) names.push_back(name);
  return names;
}

Dictionary WorldPreferences::settings(Scope scope, std::string_view domain) {
  const std::scoped_lock lock(mMutex);
  const auto found = mStored.find(domain);
  return found == mStored.end() ? Dictionary() : found->second[scope];
}

const WorldPreferences::Settings& WorldPreferences::read(std::string_view domain) {
  const auto present = mRead.find(domain);
  if (present != mRead.end()) return present->second;
  const auto stored = mStored.find(domain);
  return mRead.emplace(domain, stored == mStored.end() ? Settings() : stored->second).first->second;
}

std::optional<Value> WorldPropertyLists::readPropertyList(std::string_view path) {
  const std::scoped_lock lock(mMutex);
  const auto found = mFiles.find(path);
  return found == mFiles.end() ? std::nullopt : std::optional(found->second);
}

Dictionary WorldPropertyLists::files() {
  const std::scoped_lock lock(mMutex);
  return mFiles;
}

void WorldPropertyLists::setFile(std::string_view path, Value content) {
  const std::scoped_lock lock(mMutex);
  mFiles.insert_or_assign(std::string(path), std::move(content));
}

void WorldPropertyLists::removeFile(std::string_view path) {
  const std::scoped_lock lock(mMutex);
  mFiles.erase(std::string(path));
}

std::string WorldPropertyLists::managedPath(std::string_view domain) {
  return "/Library/Managed Preferences/" + std::string(domain) + ".plist";
}

}  // namespace gatehall
