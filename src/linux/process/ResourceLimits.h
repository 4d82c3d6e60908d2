#pragma once

namespace gatehall {

/// For a privileged program: raises the caller's limits on memory and open files (getrlimit(2)) as
/// far as the caller could. False when they stay below what reading the machine's files takes: a
/// library that runs out of memory says the same as one that is given a damaged file, and a file
/// with restrictions must not go away that way.
bool raiseResourceLimits();

}  // namespace gatehall
