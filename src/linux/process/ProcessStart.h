#pragma once

namespace gatehall {

/// For a privileged program, first thing in main: forgets the environment, keeps libraries from
/// files of the caller's, closes what the caller left open, makes sure that standard input, output
/// and error are open (to /dev/null where the caller closed them), so that no file takes their
/// place, resets the file mode mask and the signals that the caller had ignored, and sets a limit
/// of a minute to the whole process. Ends the process when that fails. Nothing is read.
void distrustCaller();

}  // namespace gatehall
