#pragma once

#include <cstdint>
#include <string>

namespace gatehall::ctl {

/// A network status with what it means.
std::string networkStatusText(std::int32_t networkStatus);

}  // namespace gatehall::ctl
