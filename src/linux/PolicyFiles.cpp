#include "linux/PolicyFiles.h"

#include <algorithm>
#include <array>
#include <dirent.h>
#include <iomanip>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace gatehall {

namespace {

constexpr std::string_view kUserRecords = "/etc/userdb";

constexpr std::array<std::string_view, 7> kFiles{
    "/etc/passwd",
    "/etc/group",
    "/etc/shells",
    "/etc/machine-id",
    "/etc/gatehall/directory.toml",
    "/etc/gatehall/switch.toml",
    "/etc/gatehall/com.orvane.gatehall.plist",
};

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

std::optional<mode_t> modeOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return status.st_mode;
}

/// Adds a sentence when a file, or a folder that it is in, lacks the bits for other users.
void check(const HostOptions& options, const std::string& path, Strings& hidden) {
  const auto add = [&](const std::string& each, mode_t needed) {
    const auto mode = modeOf(options.root + each);
    if (!mode || (*mode & needed) == needed) return;
    std::ostringstream text;
    text << each << " can't be read by other users (mode " << std::oct << std::setw(4)
         << std::setfill('0') << (*mode & 07777U)
         << "): programs that they run, gatehall-switch among them, may decide otherwise";
    if (std::ranges::find(hidden, text.str()) == hidden.end()) hidden.push_back(text.str());
  };
  if (!modeOf(options.root + path)) return;
  for (auto slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    add(path.substr(0, slash), S_IXOTH);
  }
  const bool isFolder = S_ISDIR(modeOf(options.root + path).value_or(0));
  add(path, isFolder ? S_IROTH | S_IXOTH : S_IROTH);
}

}  // namespace

Strings policyFilesHiddenFromUsers(const HostOptions& options) {
  Strings hidden;
  for (const auto path : kFiles) check(options, std::string(path), hidden);
  check(options, std::string(kUserRecords), hidden);
  const std::unique_ptr<DIR, CloseFolder> folder(
      opendir((options.root + std::string(kUserRecords)).c_str()));
  Strings records;
  while (const auto* entry = folder ? readdir(folder.get()) : nullptr) {
    const std::string_view name(entry->d_name);
    // What stands in *.user-privileged is not for everybody.
    if (name.ends_with(".user")) records.emplace_back(name);
  }
  std::ranges::sort(records);
  for (const auto& name : records) {
    std::string path(kUserRecords);
    check(options, path.append("/").append(name), hidden);
  }
  return hidden;
}

}  // namespace gatehall
