#include "linux/preferences/LinuxPropertyLists.h"

#include <array>
#include <string>
#include <utility>

#include "linux/preferences/PolicyFileContent.h"
#include "linux/preferences/SettingsFiles.h"

namespace gatehall {

LinuxPropertyLists::LinuxPropertyLists(HostOptions options, Log& log)
    : mOptions(std::move(options)), mFaults(log) {}

std::optional<Value> LinuxPropertyLists::readPropertyList(std::string_view path) {
  std::string managed(kManagedFolder);
  managed.append("/").append(path.substr(path.rfind('/') + 1));
  for (const auto place : std::array<std::string_view, 2>{managed, path}) {
    if (auto settings = readPolicySettings(mOptions, place, mFaults)) {
      return Value(std::move(*settings));
    }
  }
  return std::nullopt;
}

}  // namespace gatehall
