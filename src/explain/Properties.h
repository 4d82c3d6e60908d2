#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "gatehall/base/Value.h"

namespace gatehall {

struct Property;

/// What is told of something, key by key, in the order in which it is written down.
using Properties = std::vector<Property>;

struct Property {
  /// monostate: there is none.
  using Content = std::variant<std::monostate, std::string, bool, std::int64_t, Date, Strings,
                               Properties, std::vector<Properties>>;

  std::string_view key;  ///< of static storage
  Content content;
};

}  // namespace gatehall
