#include "world/World.h"

#include <utility>

namespace gatehall {

World::World() {
  mDirectory.setLog(mLog);
  mMembership.setLog(mLog);
}

World::~World() = default;

void World::setFaults(std::vector<Fault> faults) { mFaults = std::move(faults); }

}  // namespace gatehall
