#pragma once

#include <unistd.h>

#include "platform/Process.h"
#include "platform/linux/ExtraGroup.h"

namespace gatehall {

class LinuxProcess final : public Process {
 public:
  std::uint32_t effectiveUserID() override { return geteuid(); }
  void giveUpRights() override { extraGroup::giveUp(); }
};

}  // namespace gatehall
