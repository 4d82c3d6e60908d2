#include "ctl/export/SettingsSections.h"

#include <string_view>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/preferences/SettingsFiles.h"

namespace gatehall::ctl {

namespace {

void addList(const Json& settings, const char* key, Strings& guids) {
  const auto list = settings.find(key);
  if (list == settings.end() || !list->is_array()) return;
  for (const auto& entry : *list) {
    if (entry.is_string()) guids.push_back(entry.get<std::string>());
  }
}

void addLists(const Json& settings, Strings& guids) {
  if (!settings.is_object()) return;
  for (const auto* key : {"AllowList", "DenyList"}) addList(settings, key, guids);
}

SettingsSections ofWorld(World& world) {
  using Scope = WorldPreferences::Scope;
  SettingsSections sections;
  for (const auto& domain : world.preferences().domains()) {
    auto& settings = sections.preferences[domain] = Json::object();
    for (const auto& [name, scope] :
         {std::pair("user", Scope::User), std::pair("system", Scope::System)}) {
      const auto stored = world.preferences().settings(scope, domain);
      if (!stored.empty()) settings[name] = toJson(stored);
    }
  }
  for (const auto& [path, content] : world.propertyLists().files()) {
    auto domain = path.substr(path.rfind('/') + 1);
    domain.erase(domain.rfind(".plist"));
    sections.managed[domain] = toJson(content);
  }
  return sections;
}

Json settingsOf(const SettingsFile& file) {
  auto json = Json::object();
  for (const auto& [key, setting] : file.settings) json[key] = toJson(setting.value);
  return json;
}

std::string faultOf(const SettingsFile& file) {
  auto text = file.path;
  if (file.faultLine != 0) text.append(":").append(std::to_string(file.faultLine));
  return text.append(": ").append(file.fault);
}

class Files {
 public:
  Files(const Host& host, Platform& machine, Gathered& gathered)
      : mHost(host), mMachine(machine), mGathered(gathered) {}

  SettingsSections sections() {
    for (const auto domain : kSettingsDomains) {
      const auto files = settingsFiles(mHost.options(), domain, mMachine.directory(),
                                       mMachine.process().effectiveUserID());
      for (const auto& file : files) {
        if (file.counts) add(domain, file);
      }
    }
    return std::move(mSections);
  }

 private:
  void add(std::string_view domain, const SettingsFile& file) {
    const std::string name(domain);
    if (file.kind == SettingsFile::Kind::Managed) {
      if (file.fault.empty()) {
        mSections.managed[name] = settingsOf(file);
      } else {
        raiseAsTheMachineDoes(
            "readPropertyList", WorldPropertyLists::managedPath(domain),
            [&](const std::string& path) { mMachine.propertyLists().readPropertyList(path); },
            file);
      }
      return;
    }
    if (!file.fault.empty()) {
      const auto ask = [&](const std::string& of) {
        mMachine.preferences().copyApplicationValue("AllowList", of);
      };
      raiseAsTheMachineDoes("copyApplicationValue", name, ask, file);
      raiseAsTheMachineDoes("applicationBoolean", name, ask, file);
      return;
    }
    const bool isMachines = file.path == machinePreferencesFile(domain);
    mSections.preferences[name][isMachines ? "system" : "user"] = settingsOf(file);
  }

  /// The words are the machine's own, where it raises.
  template <class Ask>
  void raiseAsTheMachineDoes(const char* operation, const std::string& value, Ask ask,
                             const SettingsFile& file) {
    auto text = faultOf(file);
    try {
      ask(value);
    } catch (const PlatformException& failure) {
      text = failure.what();
    }
    mGathered.addFault(operation, text, {{"value", value}});
  }

  const Host& mHost;
  Platform& mMachine;
  Gathered& mGathered;
  SettingsSections mSections;
};

}  // namespace

Strings SettingsSections::listed() const {
  Strings guids;
  for (const auto& [domain, settings] : managed.items()) addLists(settings, guids);
  for (const auto& [domain, scopes] : preferences.items()) {
    for (const auto& [scope, settings] : scopes.items()) addLists(settings, guids);
  }
  return guids;
}

SettingsSections settingsSections(const Host& host, Platform& machine, Gathered& gathered) {
  if (host.world() != nullptr) return ofWorld(*host.world());
  return Files(host, machine, gathered).sections();
}

}  // namespace gatehall::ctl
