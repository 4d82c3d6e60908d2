#pragma once

#include <string_view>

#include "gatehall/platform/Log.h"

namespace gatehall::ctl {

/// For what is told of as a finding, and not once more in the log.
class SilentLog final : public Log {
 public:
  void error(std::string_view) override {}
  void diagnostic(std::string_view) override {}
};

}  // namespace gatehall::ctl
