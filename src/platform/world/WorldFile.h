#pragma once

#include "platform/world/JsonCursor.h"
#include "platform/world/World.h"

namespace gatehall {

/// Puts what a world file describes into an empty world. Raises WorldError.
void readWorld(const JsonSource& source, World& world);

/// The file's section of that name.
void readDirectory(const JsonCursor& section, WorldDirectory& directory);
void readSessions(const JsonCursor& section, WorldSessions& sessions);
std::vector<Fault> readFaults(const JsonCursor& section);

}  // namespace gatehall
