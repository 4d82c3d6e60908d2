#include "linux/records/LoginShells.h"

#include <cerrno>
#include <cstring>

#include "gatehall/base/PlatformException.h"
#include "linux/files/HostPath.h"
#include "linux/files/LineFile.h"

namespace gatehall {

LoginShells::LoginShells(const HostOptions& options) {
  LineFile file(hostPath(options, "/etc/shells"), 4096);
  if (file.openError() == ENOENT) {
    mShells = {"/bin/sh", "/bin/csh"};
  } else if (file.openError() != 0) {
    // An account whose shell the file doesn't name is refused.
    throw PlatformException(std::string("/etc/shells: ") + strerrordesc_np(file.openError()));
  }
  std::string_view line;
  while (file.next(line)) {
    line = line.substr(0, line.find('#'));
    while (line.ends_with(' ') || line.ends_with('\t')) line.remove_suffix(1);
    if (line.starts_with('/')) mShells.emplace(line);
  }
}

std::string_view LoginShells::effective(std::string_view shell) const {
  if (shell.empty()) return "/bin/sh";
  const auto program = shell.substr(shell.rfind('/') + 1);
  const bool refuses = program == "nologin" || program == "false";
  return refuses || !mShells.contains(shell) ? "/usr/bin/false" : shell;
}

}  // namespace gatehall
