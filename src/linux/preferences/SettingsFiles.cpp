#include "linux/preferences/SettingsFiles.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/files/HostPath.h"
#include "linux/files/OwnedFile.h"
#include "linux/records/AccountLookup.h"
#include "portable/formats/PropertyList.h"

namespace gatehall {

namespace {

std::string fileIn(std::string_view folder, std::string_view domain) {
  std::string path(folder);
  return path.append("/").append(domain).append(".plist");
}

void take(const Dictionary& settings, const KeyLines& lines, SettingsFile& file) {
  for (const auto& [key, value] : settings) {
    const auto line = lines.find(key);
    file.settings.emplace(key,
                          SettingsFile::Setting{value, line != lines.end() ? line->second : 0});
  }
}

/// Adds the file if it is there.
bool addAdministrators(SettingsFile::Kind kind, const HostOptions& options, std::string path,
                       std::vector<SettingsFile>& files) {
  SettingsFile file{.kind = kind, .path = std::move(path)};
  try {
    const auto content = readPolicyFileContent(options, file.path);
    if (!content) return false;
    take(content->settings, content->lines, file);
    for (const auto& fault : content->faults) {
      if (!fault.isRefused) {
        file.unknown.push_back(fault);
      } else if (file.fault.empty()) {
        file.fault = fault.key + ": " + fault.text;
        file.faultLine = file.settings.at(fault.key).line;
      }
    }
  } catch (const PlatformException& error) {
    file.fault = error.what();
    const auto prefix = file.path + ": ";
    if (file.fault.starts_with(prefix)) file.fault.erase(0, prefix.size());
  }
  files.push_back(std::move(file));
  return true;
}

/// The lines, if the list is one to the letter: a user's own need not be.
KeyLines linesOf(std::string_view bytes) {
  try {
    return checkPropertyListGrammar(bytes);
  } catch (const MalformedPropertyList&) {
    return {};
  }
}

void addUsers(const HostOptions& options, std::string path, std::uint32_t userID,
              std::vector<SettingsFile>& files) {
  SettingsFile file{.kind = SettingsFile::Kind::Preferences, .path = std::move(path)};
  const auto bytes =
      readOwnedFile(hostPath(options, file.path, Symlinks::Refuse), {userID, systemOwner(options)},
                    kLargestPropertyList, file.fault);
  if (!bytes && file.fault.empty()) return;
  try {
    const auto list = bytes ? parsePropertyList(*bytes) : Value(Dictionary());
    if (const auto* settings = list.dictionary()) {
      take(*settings, bytes ? linesOf(*bytes) : KeyLines(), file);
    } else {
      file.fault = "it holds no dictionary";
    }
  } catch (const MalformedPropertyList& error) {
    file.fault = error.what();
  }
  file.counts = file.fault.empty();
  files.push_back(std::move(file));
}

}  // namespace

std::string_view description(SettingsFile::Kind kind) {
  return kind == SettingsFile::Kind::Managed ? "managed" : "preferences";
}

bool canNameSettings(std::string_view domain) {
  constexpr std::size_t longest = 200;
  return !domain.empty() && domain.size() <= longest && domain.front() != '.' &&
         std::none_of(domain.begin(), domain.end(), [](char c) { return c == '/' || c == '\0'; });
}

std::array<std::string, 2> managedPlaces(std::string_view domain) {
  return {fileIn(kManagedFolder, domain), fileIn("/Library/Managed Preferences", domain)};
}

std::string machinePreferencesFile(std::string_view domain) {
  return fileIn("/etc/gatehall", domain);
}

std::optional<std::string> ownPreferencesFile(DirectoryService& directory, std::uint32_t userID,
                                              std::string_view domain) {
  const auto home = accountAttribute(directory, userID, attribute::NFSHomeDirectory);
  if (!home || !home->starts_with('/')) return std::nullopt;
  return fileIn(*home + "/.config/gatehall", domain);
}

namespace {

std::optional<std::string> ownFileIfTold(DirectoryService& directory, std::uint32_t userID,
                                         std::string_view domain) {
  try {
    return ownPreferencesFile(directory, userID, domain);
  } catch (const PlatformException&) {
    return std::nullopt;
  }
}

}  // namespace

std::vector<SettingsFile> settingsFiles(const HostOptions& options, std::string_view domain,
                                        DirectoryService& directory, std::uint32_t userID) {
  std::vector<SettingsFile> files;
  if (!canNameSettings(domain)) return files;
  for (auto& place : managedPlaces(domain)) {
    const bool isFirst = files.empty();
    if (addAdministrators(SettingsFile::Kind::Managed, options, std::move(place), files)) {
      files.back().counts = isFirst;
    }
  }
  if (auto own = ownFileIfTold(directory, userID, domain)) {
    addUsers(options, std::move(*own), userID, files);
  }
  addAdministrators(SettingsFile::Kind::Preferences, options, machinePreferencesFile(domain),
                    files);
  return files;
}

const SettingsFile* fileOfSetting(const std::vector<SettingsFile>& files, std::string_view key) {
  const auto found = std::ranges::find_if(files, [key](const SettingsFile& file) {
    return file.counts && file.settings.find(key) != file.settings.end();
  });
  return found != files.end() ? &*found : nullptr;
}

}  // namespace gatehall
