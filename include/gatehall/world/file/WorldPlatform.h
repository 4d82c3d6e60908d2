#pragma once

#include <filesystem>
#include <memory>

#include "gatehall/base/Export.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/world/json/WorldError.h"

namespace gatehall {

/// The host in memory that a world file describes, its faults included, for the tests of a program
/// that embeds the library: such a program runs in it as it would on a machine, and nothing outside
/// is read or written. The thread that makes it is the main thread. Raises WorldError when the file
/// can't be read, has more than 256 MiB, or is wrong anywhere.
GATEHALL_EXPORT std::shared_ptr<Platform> platformOfWorldFile(const std::filesystem::path& path);

/// Lets time pass in a world of platformOfWorldFile, whose clock stands still otherwise and where
/// nothing else happens by itself: everything that follows from one moment, on whatever thread, has
/// happened before the next one comes. 0 seconds: what is due now. On the main thread. Raises
/// std::invalid_argument for another host, and what a task raises.
GATEHALL_EXPORT void letTimePass(Platform& world, double seconds);

}  // namespace gatehall
