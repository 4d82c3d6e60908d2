#pragma once

#include "ctl/CommandLine.h"

namespace gatehall {

/// Runs gatehallctl; what it prints on the way stands at the beginning of the output.
inline ctl::Outcome run(const Strings& words, bool colour = false) {
  std::string printed;
  const auto print = [&printed](std::string_view text) {
    printed += text;
    return true;
  };
  auto outcome = ctl::runCommandLine(
      words, {.write = print, .size = [] { return std::nullopt; }, .colour = colour});
  outcome.output.insert(0, printed);
  return outcome;
}

}  // namespace gatehall
