#pragma once

#include <string_view>

#include "gatehall/platform/Platform.h"

namespace gatehall {

/// Runs the body and answers its result. A failure of the platform's in it is written to the system
/// log as the message and answers `otherwise`; any other exception passes.
template <class Result, class Body>
Result loggingFailure(std::string_view message, Result otherwise, Body body) {
  try {
    return body();
  } catch (const PlatformException&) {
    platform().log().error(message);
    return otherwise;
  }
}

}  // namespace gatehall
