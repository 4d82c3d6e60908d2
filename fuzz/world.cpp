// World files.

#include "fuzz/Input.h"
#include "gatehall/world/json/WorldError.h"
#include "world/file/WorldFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  try {
    fuzz::require(worldFromText(fuzz::text(data, size), "world.json") != nullptr);
  } catch (const WorldError& error) {
    fuzz::require(std::string_view(error.what()).starts_with("world.json"));
  }
  return 0;
}
