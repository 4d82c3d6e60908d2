#pragma once

#include <memory>

#include "world/World.h"

namespace gatehall {

/// A world with the accounts and groups of the contract suites' scene in its node "local", which
/// its search node "search" covers before "unix", an empty one.
std::shared_ptr<World> sceneWorld();

}  // namespace gatehall
