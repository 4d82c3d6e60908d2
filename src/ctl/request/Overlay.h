#pragma once

#include <map>
#include <optional>
#include <string>

#include "gatehall/base/Value.h"
#include "linux/files/HostOptions.h"
#include "world/World.h"

namespace gatehall::ctl {

/// What is laid over a machine before it is looked at, to see what would be. Nothing of the machine
/// changes.
struct Overlay {
  /// What the files of the login screen's settings hold: the managed one and the machine's
  /// preferences, by their paths (SettingsFiles.h); without a content, that there is none. What
  /// they hold is a property list without a fault.
  std::map<std::string, std::optional<std::string>, std::less<>> files{};

  /// Groups with the login names of all their members. One that isn't there is made.
  std::map<std::string, Strings, std::less<>> groups{};

  bool isEmpty() const { return files.empty() && groups.empty(); }
};

/// Has the host read those files as the overlay holds them.
void layOver(const Overlay& overlay, HostOptions& options);

/// Changes a world's settings, groups and access lists.
void layOver(const Overlay& overlay, World& world);

}  // namespace gatehall::ctl
