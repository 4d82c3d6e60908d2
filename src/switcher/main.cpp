#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/Platform.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/ProcessStart.h"
#include "switcher/SwitchFlow.h"

/// An exception that nobody catches ends the process without a word on standard error.
void __gnu_cxx::__verbose_terminate_handler() { std::abort(); }

int main(int argc, char** argv) {
  gatehall::distrustCaller();
  const std::vector<std::string_view> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  gatehall::Platform::install(
      std::make_shared<gatehall::LinuxPlatform>(gatehall::HostOptions(), "gatehall-switch"));
  gatehall::runSwitch(words);
  return 0;
}
