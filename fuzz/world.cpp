// World files.

#include "platform/world/World.h"

#include "fuzz/Input.h"
#include "platform/world/WorldError.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  try {
    fuzz::require(World::fromText(fuzz::text(data, size), "world.json") != nullptr);
  } catch (const WorldError& error) {
    fuzz::require(std::string_view(error.what()).starts_with("world.json"));
  }
  return 0;
}
