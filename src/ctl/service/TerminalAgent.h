#pragma once

#include <string>
#include <sys/types.h>

namespace gatehall::ctl {

/// pkttyagent(1) for this process, for as long as the object lives: it asks for a password on the
/// terminal when polkit wants one and the session has nothing of its own that does.
class TerminalAgent {
 public:
  /// Waits until polkit knows it, a few seconds at most. Without the program there is none.
  explicit TerminalAgent(const std::string& program = "/usr/bin/pkttyagent");
  ~TerminalAgent();
  TerminalAgent(const TerminalAgent&) = delete;
  TerminalAgent& operator=(const TerminalAgent&) = delete;

 private:
  pid_t mProcess = -1;
};

}  // namespace gatehall::ctl
