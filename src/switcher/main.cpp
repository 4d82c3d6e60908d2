#include <memory>
#include <string_view>
#include <vector>

#include "platform/Platform.h"
#include "platform/linux/LinuxPlatform.h"
#include "switcher/SwitchFlow.h"

int main(int argc, char** argv) {
  const std::vector<std::string_view> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  gatehall::Platform::install(
      std::make_shared<gatehall::LinuxPlatform>(gatehall::HostOptions(), "gatehall-switch"));
  gatehall::runSwitch(words);
  return 0;
}
