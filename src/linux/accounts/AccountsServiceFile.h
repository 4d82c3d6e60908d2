#pragma once

#include <set>
#include <string>
#include <string_view>

#include "linux/files/HostOptions.h"

namespace gatehall {

/// What AccountsService keeps of an account beside the system's own files: its picture and password
/// hint. Empty texts where it keeps none, or doesn't let this process read it.
struct AccountsServiceFile {
  std::string picture;
  std::string passwordHint;

  /// Reads /var/lib/AccountsService/users/NAME, a key file, and looks for the picture where
  /// AccountsService puts one that names no file.
  static AccountsServiceFile read(const HostOptions& options, std::string_view loginName);

  /// The accounts that AccountsService keeps anything of, for asking about many at once.
  static std::set<std::string, std::less<>> accounts(const HostOptions& options);
};

}  // namespace gatehall
