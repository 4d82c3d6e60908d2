#pragma once

#include <string>
#include <vector>

#include "ctl/print/Answer.h"
#include "ctl/request/Host.h"
#include "ctl/request/Verb.h"

namespace gatehall::ctl {

/// A machine to be compared.
struct Machine {
  std::string name;  ///< as its operand says it
  Host::Source source{};
};

/// The machine that an operand stands for: "." the host's own, a folder the machine whose files
/// stand under it, a file the world that it describes. Raises UsageError when there is no such file
/// or folder.
Machine machineOf(const Host& host, const std::string& operand);

struct MachinePair {
  Machine before;
  Machine after;
};

/// Compares the machines of each pair, several at once; how far it is is shown on a terminal.
///
/// One object a pair, in their order: {"before", "after": the names, "accounts": how many,
/// "administrators": {"before", "after": how many may log in because they are},
/// "differences": [differenceJson], "undecidable": how many accounts there is no telling of,
/// "strangers": [whom groups were given and nobody is], "missing": [sentences]}, or {"before",
/// "after", "error": why it can't be compared, "isFile": whether a file is wrong, else the machine
/// failed}.
Json comparedPairs(const std::vector<MachinePair>& pairs, const Screen& screen);

/// What comparedPairs found, in tables, and the exit status that goes with it: No when somebody
/// differs, HostFailure when there is no telling of somebody or a machine failed, WrongUsage when a
/// file is wrong.
Answer answerFrom(Json pairs);

}  // namespace gatehall::ctl
