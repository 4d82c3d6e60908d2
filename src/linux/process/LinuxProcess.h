#pragma once

#include <unistd.h>

#include "gatehall/platform/Process.h"
#include "linux/process/Monitor.h"

namespace gatehall {

class LinuxProcess final : public Process {
 public:
  std::uint32_t effectiveUserID() override { return geteuid(); }
  void giveUpRights() override {
    if (auto* monitor = Monitor::ofProcess()) monitor->end();
  }
};

}  // namespace gatehall
