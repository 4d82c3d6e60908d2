#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "gatehall/linux/LinuxSwitchPlatform.h"
#include "gatehall/platform/Platform.h"
#include "linux/MonitorAnswers.h"
#include "linux/process/Monitor.h"
#include "linux/process/ProcessStart.h"
#include "linux/process/ResourceLimits.h"
#include "switcher/SwitchFlow.h"

/// An exception that nobody catches ends the process without a word on standard error.
void __gnu_cxx::__verbose_terminate_handler() { std::abort(); }

int main(int argc, char** argv) {
  gatehall::distrustCaller();
  // Before anything is read: what follows has no right that its caller doesn't have.
  const bool hasRoom = gatehall::raiseResourceLimits();
  const bool hasMonitor = gatehall::Monitor::begin(gatehall::answerInMonitor);
  const std::vector<std::string_view> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  gatehall::LinuxOptions options;
  // No rule of a switch looks at login hours.
  options.setSessionLimits(false);
  gatehall::Platform::install(
      std::make_shared<gatehall::LinuxSwitchPlatform>(options, "gatehall-switch"));
  if (!hasRoom) {
    gatehall::platform().log().error(
        "Unable to Fast User Switch: The caller's limits on memory or open files are too low.");
    return 0;
  }
  if (!hasMonitor) {
    gatehall::platform().log().error(
        "Unable to Fast User Switch: There can be no process that reads passwords.");
    return 0;
  }
  try {
    gatehall::runSwitch(words);
  } catch (const gatehall::PlatformException& failure) {
    gatehall::platform().log().error(failure.what());
    throw;
  }
  gatehall::Platform::install(nullptr);
  return 0;
}
