#include "gatehall/world/file/WorldPlatform.h"

#include <stdexcept>

#include "instrumented/InstrumentedPlatform.h"
#include "world/file/WorldFile.h"

namespace gatehall {

std::shared_ptr<Platform> platformOfWorldFile(const std::filesystem::path& path) {
  const auto world = worldFromFile(path);
  return std::make_shared<InstrumentedPlatform>(world, world->faults());
}

void letTimePass(Platform& world, double seconds) {
  auto* const loop = dynamic_cast<WorldRunLoop*>(&world.runLoop());
  if (!loop) throw std::invalid_argument("time passes by itself on this host");
  loop->run(seconds);
}

}  // namespace gatehall
