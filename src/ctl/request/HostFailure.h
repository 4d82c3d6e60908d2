#pragma once

#include <exception>
#include <string>

#include "instrumented/Trace.h"

namespace gatehall::ctl {

/// What there is to say when the host failed: the failure's own words, and the service and
/// operation that were asked last.
std::string hostFailureText(const Trace& trace, const std::exception& failure);

}  // namespace gatehall::ctl
