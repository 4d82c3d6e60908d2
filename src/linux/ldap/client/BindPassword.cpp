#include "linux/ldap/client/BindPassword.h"

#include <array>
#include <cerrno>
#include <string.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "linux/files/FileDescriptor.h"
#include "linux/files/OwnedFile.h"
#include "linux/process/ExtraGroup.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ldap {

namespace {

std::string distrust(const HostOptions& options, const struct stat& status) {
  if (status.st_uid != systemOwner(options) && status.st_uid != geteuid()) {
    return "it belongs to user " + std::to_string(status.st_uid);
  }
  if ((status.st_mode & (S_IRWXO | S_IWGRP)) != 0) return "others than its owner can read it";
  struct stat shadow {};
  const bool isGroups = (status.st_mode & S_IRWXG) != 0;
  if (isGroups && (stat((options.root + "/etc/shadow").c_str(), &shadow) != 0 ||
                   shadow.st_gid != status.st_gid)) {
    return "its group can read it";
  }
  return {};
}

}  // namespace

std::unique_ptr<SecretText> readPasswordFile(const HostOptions& options, const std::string& file) {
  const auto fail = [&](const std::string& why) -> std::unique_ptr<SecretText> {
    throw DirectoryUnreachable("the password file " + file + " can't be used: " + why);
  };
  struct stat status {};
  int error = 0;
  FileDescriptor opened;
  {
    const extraGroup::TakenUp shadowGroup;
    opened = openRegularFile(options.root + file, Symlinks::Refuse, status, error);
  }
  if (error != 0) return fail(std::generic_category().message(error));
  if (const auto why = distrust(options, status); !why.empty()) return fail(why);

  std::array<char, 1024> room{};
  std::size_t size = 0;
  for (;;) {
    const auto count = read(opened.number(), room.data() + size, room.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    size += static_cast<std::size_t>(count);
  }
  std::string_view line(room.data(), size);
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  auto password = std::make_unique<SecretText>(line);
  explicit_bzero(room.data(), room.size());
  if (size == room.size()) return fail("it is too long");
  if (password->view().empty()) return fail("its first line is empty");
  return password;
}

}  // namespace gatehall::ldap
