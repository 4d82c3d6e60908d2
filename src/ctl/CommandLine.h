#pragma once

#include <memory>
#include <string>

#include "ctl/print/Answer.h"
#include "ctl/print/Screen.h"

namespace gatehall {
class Platform;
}

namespace gatehall::ctl {

/// What a run prints, and how it ends.
struct Outcome {
  ExitStatus status = ExitStatus::Done;
  std::string output;  ///< for standard output
  std::string errors;  ///< for standard error
  /// What takes long to take apart when it is large. A process that ends with it needn't.
  std::shared_ptr<const Answer> answer{};
  std::shared_ptr<const Platform> platform{};
};

/// Runs gatehallctl for the words after the program's name. What goes on for long is printed on the
/// screen meanwhile, before what the outcome says.
Outcome runCommandLine(const Strings& words, const Screen& screen);

}  // namespace gatehall::ctl
