#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "ctl/print/Json.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// What comes up while a machine is written down, besides what it is asked for.
struct Gathered {
  /// What the run could not know, one sentence each without a full stop.
  Strings unknown{};
  /// Of a world file: calls that raise.
  Json faults = Json::array();

  void note(std::string sentence) {
    if (std::ranges::find(unknown, sentence) == unknown.end()) {
      unknown.push_back(std::move(sentence));
    }
  }

  /// Calls of the operation with these arguments raise, as they did.
  void addFault(const char* operation, const std::string& text, Json where) {
    faults.push_back({{"operation", operation},
                      {"raise", "platform"},
                      {"text", text},
                      {"where", std::move(where)}});
  }
};

}  // namespace gatehall::ctl
