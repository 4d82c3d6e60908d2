#pragma once

#include <set>
#include <string>
#include <string_view>

#include "linux/files/HostOptions.h"

namespace gatehall {

/// The shells that one can log in with, shells(5). A machine without the file has the two that
/// getusershell(3) assumes.
class LoginShells {
 public:
  /// Reads the file. Raises PlatformException when it is there and can't be read.
  explicit LoginShells(const HostOptions& options);

  /// The account's shell as the directory hands it out: an empty one is /bin/sh, and one that
  /// nobody can log in with is /usr/bin/false.
  std::string_view effective(std::string_view shell) const;

 private:
  std::set<std::string, std::less<>> mShells;
};

}  // namespace gatehall
