#include "ctl/check/SettingsFindings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostPath.h"
#include "linux/files/PolicyFile.h"
#include "linux/preferences/PolicyFileContent.h"
#include "linux/preferences/SettingsFiles.h"
#include "portable/formats/PropertyList.h"
#include "portable/text/NearestName.h"

namespace gatehall::ctl {

namespace {

using Severity = Finding::Severity;

const std::string kUndecided =
    ": until then nothing that it decides can be told, and who asks refuses.";

/// The reason without its beginning, and the line that it begins with, "line 7: ".
Finding placedReason(const std::string& path, std::string_view reason) {
  Finding finding{.severity = Severity::Error, .file = path};
  constexpr std::string_view kLine = "line ";
  if (reason.starts_with(kLine)) {
    const auto* begin = reason.data() + kLine.size();
    const auto* end = reason.data() + reason.size();
    const auto [stop, error] = std::from_chars(begin, end, finding.line);
    if (error == std::errc() && std::string_view(stop, end).starts_with(": ")) {
      reason = std::string_view(stop, end).substr(2);
    } else {
      finding.line = 0;
    }
  }
  finding.text = reason;
  return finding;
}

class SettingsCheck {
 public:
  SettingsCheck(const HostOptions& options, Policy& policy) : mOptions(options), mPolicy(policy) {}

  std::vector<Finding> run() {
    for (const auto domain : kSettingsDomains) checkManaged(domain);
    const auto machines = machinePreferencesFile(kLoginScreenDomain);
    if (const auto content = look(machines)) take(machines, *content);
    lookForOthers("/etc/gatehall", {machines});
    const auto folder = std::string(kManagedFolder);
    lookForOthers(folder, {managedPlaces(kLoginScreenDomain)[0], managedPlaces(kTavloDomain)[0]});
    return std::move(mFindings);
  }

 private:
  bool exists(const std::string& path) const {
    std::error_code problem;
    return std::filesystem::exists(
        std::filesystem::symlink_status(hostPath(mOptions, path, Symlinks::Refuse), problem));
  }

  void checkManaged(std::string_view domain) {
    const auto [place, oldPlace] = managedPlaces(domain);
    const bool isManaged = exists(place);
    const bool isAtOldPlace = exists(oldPlace);
    const auto& counting = isManaged ? place : oldPlace;
    if (isManaged || isAtOldPlace) {
      const auto content = look(counting);
      if (content && domain == kLoginScreenDomain) take(counting, *content);
    }
    if (!isAtOldPlace) return;
    if (isManaged) {
      mFindings.push_back({Severity::Warning, oldPlace, 0,
                           "nobody reads it: " + place + " counts in its place", "Remove it."});
    } else {
      mFindings.push_back({Severity::Warning, oldPlace, 0,
                           "it counts, but stands where nobody looks for settings on Linux",
                           "Move it to " + place + "."});
    }
  }

  /// The file's content, unless it can't be used or isn't there.
  std::optional<PolicyFileContent> look(const std::string& path) {
    try {
      const auto bytes = readPolicyFile(mOptions, path, kLargestPropertyList);
      if (!bytes) return std::nullopt;
      return lookAt(path, *bytes);
    } catch (const PlatformException& failure) {
      std::string_view reason = failure.what();
      if (reason.starts_with(path + ": ")) reason.remove_prefix(path.size() + 2);
      mFindings.push_back({Severity::Error, path, 0, std::string(reason),
                           "Make it a file of root's that everybody can read and nobody else "
                           "can write (chown root, chmod 644), in folders like that (chmod 755)" +
                               kUndecided});
    }
    return std::nullopt;
  }

  std::optional<PolicyFileContent> lookAt(const std::string& path, const std::string& bytes) {
    try {
      auto content = policyFileContent(path, bytes);
      for (const auto& fault : content.faults) {
        const auto line = content.lines.find(fault.key);
        mFindings.push_back({fault.isRefused ? Severity::Error : Severity::Warning, path,
                             line != content.lines.end() ? line->second : 0,
                             printable(fault.key) + ": " + fault.text,
                             fault.isRefused
                                 ? "Correct it" + kUndecided
                                 : "Correct the name, or leave it out: it decides nothing."});
      }
      return content;
    } catch (const MalformedPropertyList& failure) {
      auto finding = placedReason(path, failure.what());
      finding.remedy = "Mend the property list, or restore it from a backup" + kUndecided;
      mFindings.push_back(std::move(finding));
    }
    return std::nullopt;
  }

  /// What a stronger file says stays, and hides it here.
  void take(const std::string& path, const PolicyFileContent& content) {
    for (const auto& [key, value] : content.settings) {
      const auto line = content.lines.find(key);
      Finding place{.file = path, .line = line != content.lines.end() ? line->second : 0};
      const auto [other, isFirst] = mPolicy.emplace(key, PlacedSetting{value, place, {}});
      if (isFirst) continue;
      mFindings.push_back(findingAt(place, Severity::Warning,
                                    printable(key) + " decides nothing here: " +
                                        placeText(other->second.place) + " sets it as well",
                                    "Leave it out of the one or of the other."));
    }
  }

  /// Property lists of other names, which nobody reads.
  void lookForOthers(const std::string& folder, const std::vector<std::string>& known) {
    std::vector<std::string> names;
    names.reserve(known.size());
    for (const auto& path : known) names.push_back(path.substr(folder.size() + 1));
    const std::vector<std::string_view> views(names.begin(), names.end());
    std::vector<std::string> others;
    std::error_code problem;
    for (std::filesystem::directory_iterator each(hostPath(mOptions, folder), problem), end;
         !problem && each != end; each.increment(problem)) {
      auto name = each->path().filename().string();
      const bool isKnown = std::ranges::find(names, name) != names.end();
      if (name.ends_with(".plist") && !isKnown) others.push_back(std::move(name));
    }
    std::ranges::sort(others);
    for (const auto& name : others) {
      const std::string nearest(nearestName(name, views).name);
      auto file = folder;
      file.append("/").append(name);
      mFindings.push_back({Severity::Warning, std::move(file), 0,
                           "nobody reads a property list of that name",
                           "Rename it to " + nearest + ", if that is what it is, or remove it."});
    }
  }

  const HostOptions& mOptions;
  Policy& mPolicy;
  std::vector<Finding> mFindings;
};

}  // namespace

std::vector<Finding> findingsOfSettings(const HostOptions& options, Policy& policy) {
  return SettingsCheck(options, policy).run();
}

}  // namespace gatehall::ctl
