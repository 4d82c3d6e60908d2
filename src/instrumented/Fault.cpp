#include "instrumented/Fault.h"

#include <algorithm>

namespace gatehall {

bool isKnownOperation(std::string_view name) {
  return std::ranges::find(kOperations, name) != kOperations.end();
}

}  // namespace gatehall
