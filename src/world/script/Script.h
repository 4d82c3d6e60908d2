#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "world/World.h"
#include "world/json/JsonTree.h"

namespace gatehall {

/// Something that happens to a world.
struct WorldEvent {
  double after = 0;  ///< seconds since the event before it
  std::string name;  ///< what it is and to whom, "addUser zoe"; empty: only time passes
  /// Changes the world and posts what a host posts when that happens. Raises WorldError when it
  /// can't happen in the world as it is then.
  std::function<void(World&)> happen;
};

/// A list of events, to happen one after another, from a script: a list of steps, each an object
/// with "after" and at most one event under its name. Raises WorldError when the script is wrong
/// anywhere.
std::vector<WorldEvent> readScript(const JsonSource& source);

/// The script in that file. Raises WorldError also when it can't be read.
std::vector<WorldEvent> scriptFromFile(const std::filesystem::path& path);

}  // namespace gatehall
