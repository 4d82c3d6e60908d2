#pragma once

#include <cstdint>
#include <functional>

#include "platform/world/JsonCursor.h"
#include "platform/world/World.h"

namespace gatehall {

/// Puts what a world file describes into an empty world. Raises WorldError.
void readWorld(const JsonSource& source, World& world);

/// The file's section of that name.
void readDirectory(const JsonCursor& section, WorldDirectory& directory);
void readSessions(const JsonCursor& section, WorldSessions& sessions);
std::vector<Fault> readFaults(const JsonCursor& section);

// Parts of sections, which scripts of events have as well.

/// What a record holds besides its type.
void readRecordContents(const JsonCursor& record, RecordDescription& description);
/// Calls with the kind (by suffix) and the values of each of a record's attributes.
void forEachAttribute(const JsonCursor& attributes,
                      const std::function<void(const std::string&, const JsonCursor&)>& function);
Strings readAttributeValues(std::string_view kind, const JsonCursor& at);
Dictionary readPolicy(const JsonCursor& at);
WorldSession readSession(const JsonCursor& at);
AccessList readAccessList(const JsonCursor& at);
LoginLimit readLimit(const JsonCursor& at);
/// Calls with the user id that stands for each member's key, and the member's value.
void forEachUserID(const JsonCursor& section,
                   const std::function<void(std::uint32_t, const JsonCursor&)>& function);

}  // namespace gatehall
