#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "accounts/AccountHost.h"
#include "linux/preferences/SettingsFiles.h"

namespace gatehall {

/// A line of a file.
struct Place {
  std::string file{};    ///< from the host's root; a world file's own name; "": nowhere
  std::size_t line = 0;  ///< from 1; 0: the file as a whole
};

/// "FILE:LINE", "FILE" or nothing.
std::string textOf(const Place& place);

/// Where settings and accounts of a host, which outlives this, stand, each file read once. For one
/// thread.
class Places {
 public:
  explicit Places(const AccountHost& host) : mHost(host) {}

  /// The file of a world, which holds everything.
  Place ofWorld() const;

  /// Where the value of a login-screen preference that holds is set; nowhere when it isn't. May
  /// raise PlatformException.
  Place ofSetting(const std::string& key);

  /// The line of an account file (accountFiles::kPasswd, kShadow, kGroup) that a name begins;
  /// absent when there is none, when the file can't be read, and in a world.
  struct Line {
    Place place;
    std::string shell;      ///< of passwd(5)
    bool isLocked = false;  ///< of shadow(5)
  };
  std::optional<Line> ofName(std::string_view file, const std::string& name);

  /// The user record of that name; nowhere when there is none.
  Place ofUserRecord(const std::string& name) const;

  /// Whether the file of the machine can be read by this process; one that isn't there can.
  bool isReadable(std::string_view file) const;

 private:
  using Lines = std::map<std::string, Line, std::less<>>;

  const AccountHost& mHost;
  std::optional<std::vector<SettingsFile>> mSettings;
  std::map<std::string, Lines, std::less<>> mFiles;
};

}  // namespace gatehall
