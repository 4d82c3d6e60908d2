#pragma once

#include <string>

#include "ctl/Answer.h"

namespace gatehall::ctl {

/// What a run prints, and how it ends.
struct Outcome {
  ExitStatus status = ExitStatus::Done;
  std::string output;  ///< for standard output
  std::string errors;  ///< for standard error
};

/// Runs gatehallctl for the words after the program's name. Colours are used in tables only.
Outcome runCommandLine(const Strings& words, bool colour);

}  // namespace gatehall::ctl
