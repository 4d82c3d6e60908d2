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

#include "linux/files/HostPath.h"
#include "linux/files/OwnedFile.h"

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

/// What is read whoever can write it.
constexpr std::array<std::string_view, 7> kOwnFiles{
    "/etc",        "/etc/passwd", "/etc/group",      "/etc/shadow",
    "/etc/shells", "/etc/userdb", "/etc/machine-id",
};

constexpr std::array<std::string_view, 2> kSecretFiles{"/etc/shadow", "/etc/gshadow"};

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

using Kind = MisplacedRights::Kind;

std::optional<struct stat> statusOf(const HostOptions& options, std::string_view path) {
  struct stat status {};
  const auto whole = hostPath(options, path);
  return stat(whole.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

std::string modeText(mode_t mode) {
  std::ostringstream text;
  text << " (mode " << std::oct << std::setw(4) << std::setfill('0') << (mode & 07777U) << ")";
  return text.str();
}

/// Adds a file, or a folder that it is in, that lacks the bits for other users.
void addHidden(const HostOptions& options, const std::string& path,
               std::vector<MisplacedRights>& found) {
  const auto add = [&](const std::string& each, mode_t needed) {
    const auto status = statusOf(options, each);
    if (!status || (status->st_mode & needed) == needed) return;
    if (std::ranges::find(found, each, &MisplacedRights::path) != found.end()) return;
    found.push_back({Kind::Hidden, each,
                     "can't be read by other users" + modeText(status->st_mode) +
                         ": programs that they run, gatehall-switch among them, may decide "
                         "otherwise"});
  };
  const auto status = statusOf(options, path);
  if (!status) return;
  for (auto slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    add(path.substr(0, slash), S_IXOTH);
  }
  add(path, S_ISDIR(status->st_mode) ? S_IROTH | S_IXOTH : S_IROTH);
}

/// The names in the folder of user records that end so, in order.
Strings recordsEndingIn(const HostOptions& options, std::string_view suffix) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(hostPath(options, kUserRecords).c_str()));
  Strings records;
  while (const auto* entry = folder ? readdir(folder.get()) : nullptr) {
    const std::string_view name(entry->d_name);
    if (!name.ends_with(suffix)) continue;
    std::string path(kUserRecords);
    records.push_back(path.append("/").append(name));
  }
  std::ranges::sort(records);
  return records;
}

/// Adds a file that somebody else owns or can write.
void addWritable(const HostOptions& options, std::string_view path,
                 std::vector<MisplacedRights>& found) {
  const auto status = statusOf(options, path);
  if (!status) return;
  if (status->st_uid != systemOwner(options)) {
    found.push_back(
        {Kind::Foreign, std::string(path), "belongs to user " + std::to_string(status->st_uid)});
  }
  if ((status->st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    found.push_back({Kind::Writable, std::string(path),
                     "can be written by others than its owner" + modeText(status->st_mode)});
  }
}

void addTold(const HostOptions& options, std::string_view path,
             std::vector<MisplacedRights>& found) {
  const auto status = statusOf(options, path);
  if (!status || (status->st_mode & S_IROTH) == 0) return;
  found.push_back(
      {Kind::Told, std::string(path),
       "can be read by everybody" + modeText(status->st_mode) + ", and holds hashes of passwords"});
}

}  // namespace

Strings policyFilesHiddenFromUsers(const HostOptions& options) {
  std::vector<MisplacedRights> hidden;
  for (const auto path : kFiles) addHidden(options, std::string(path), hidden);
  addHidden(options, std::string(kUserRecords), hidden);
  // What stands in *.user-privileged is not for everybody.
  for (const auto& path : recordsEndingIn(options, ".user")) addHidden(options, path, hidden);
  Strings texts;
  for (const auto& each : hidden) texts.push_back(each.path + " " + each.text);
  return texts;
}

std::vector<MisplacedRights> misplacedRights(const HostOptions& options) {
  std::vector<MisplacedRights> found;
  for (const auto path : kFiles) {
    if (!path.ends_with(".plist")) addHidden(options, std::string(path), found);
  }
  for (const auto path : kOwnFiles) addWritable(options, path, found);
  for (const auto path : kSecretFiles) addTold(options, path, found);
  for (const auto& path : recordsEndingIn(options, ".user-privileged")) {
    addWritable(options, path, found);
    addTold(options, path, found);
  }
  return found;
}

}  // namespace gatehall
