#include "explain/Places.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/Platform.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/accounts/AccountLine.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostPath.h"

namespace gatehall {

std::string textOf(const Place& place) {
  return place.line == 0 ? place.file : place.file + ":" + std::to_string(place.line);
}

Place Places::ofSetting(const std::string& key) {
  if (mHost.machine == nullptr) return ofWorld();
  if (!mSettings) {
    mSettings =
        settingsFiles(*mHost.machine, kLoginScreenDomain, platform().directory(), geteuid());
  }
  const auto* file = fileOfSetting(*mSettings, key);
  if (file == nullptr) return {};
  return {file->path, file->settings.at(key).line};
}

Place Places::ofWorld() const {
  return {std::filesystem::path(mHost.worldFile).filename().string()};
}

std::optional<Places::Line> Places::ofName(std::string_view file, const std::string& name) {
  if (mHost.machine == nullptr) return std::nullopt;
  auto known = mFiles.find(file);
  if (known == mFiles.end()) {
    Lines lines;
    try {
      FaultLog faults(platform().log());
      accountFiles::scan(
          *mHost.machine, faults, file, [&](std::string_view line, std::uint64_t number) {
            const bool isPasswd = file == accountFiles::kPasswd;
            const bool isShadow = file == accountFiles::kShadow;
            lines.emplace(accountLine::name(line),
                          Line{{std::string(file), number},
                               std::string(isPasswd ? accountLine::field(line, 6) : ""),
                               isShadow && accountLine::field(line, 1).starts_with('!')});
            return true;
          });
    } catch (const PlatformException& failure) {
      platform().log().diagnostic(failure.what());
    }
    known = mFiles.emplace(file, std::move(lines)).first;
  }
  const auto line = known->second.find(name);
  return line == known->second.end() ? std::nullopt : std::optional(line->second);
}

Place Places::ofUserRecord(const std::string& name) const {
  if (mHost.machine == nullptr || name.find('/') != std::string::npos) return {};
  auto path = "/etc/userdb/" + name + ".user";
  return faccessat(AT_FDCWD, hostPath(*mHost.machine, path).c_str(), F_OK, AT_EACCESS) == 0
             ? Place{std::move(path)}
             : Place();
}

bool Places::isReadable(std::string_view file) const {
  return faccessat(AT_FDCWD, hostPath(*mHost.machine, file).c_str(), R_OK, AT_EACCESS) == 0 ||
         errno == ENOENT;
}

}  // namespace gatehall
