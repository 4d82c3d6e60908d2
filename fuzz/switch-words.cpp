// The switch tool's words, one a line.

#include <vector>

#include "fuzz/Input.h"
#include "switcher/SwitchFlow.h"
#include "tests/Cast.h"
#include "world/file/WorldFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  std::vector<std::string_view> words;
  fuzz::eachLine(fuzz::text(data, size), [&](std::string_view word) { words.push_back(word); });
  static const auto machine = cast::machineOfAll();
  Platform::install(worldFromText(machine, "world.json"));
  runSwitch(words);
  Platform::install(nullptr);
  return 0;
}
