#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "gatehall/world/json/WorldError.h"
#include "world/World.h"
#include "world/json/JsonCursor.h"

namespace gatehall {

/// The world that a file describes. Raises WorldError when the file can't be read, has more than
/// 256 MiB, or is wrong anywhere.
std::shared_ptr<World> worldFromFile(const std::filesystem::path& path);

/// The world that a file's text describes; errors call it by the name.
std::shared_ptr<World> worldFromText(std::string_view json, std::string nameForErrors);

/// The world that a text's root describes. Where faults are collected (JsonSource), what is wrong
/// is left out of it.
std::shared_ptr<World> worldFromJson(const JsonCursor& root);

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
