#pragma once

#include <unistd.h>

#include "platform/Process.h"

namespace gatehall {

class LinuxProcess final : public Process {
 public:
  std::uint32_t effectiveUserID() override { return geteuid(); }
};

}  // namespace gatehall
