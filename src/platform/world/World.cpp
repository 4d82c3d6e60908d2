#include "platform/world/World.h"

#include <utility>

#include "platform/world/TextFile.h"
#include "platform/world/WorldFile.h"

namespace gatehall {

World::World() = default;

World::~World() = default;

std::shared_ptr<World> World::fromFile(const std::filesystem::path& path) {
  return fromText(readTextFile(path), path.string());
}

std::shared_ptr<World> World::fromText(std::string_view json, std::string nameForErrors) {
  auto world = std::make_shared<World>();
  readWorld({std::move(nameForErrors), json}, *world);
  return world;
}

void World::setFaults(std::vector<Fault> faults) { mFaults = std::move(faults); }

}  // namespace gatehall
