#pragma once

#include <functional>

#include "gatehall/base/Value.h"

namespace gatehall {

/// One call of an operation, as a trace tells it (arguments) and as a fault picks it (the rest).
struct CallFacts {
  Dictionary arguments;
  Strings attributes;  ///< in any spelling
  Strings values;
  /// Called only when a fault asks, since they may have to ask the host; empty: none.
  std::function<Strings()> nodes;
  std::function<Strings()> users;
};

}  // namespace gatehall
