#pragma once

#include <string>

#include "gatehall/platform/Log.h"

namespace gatehall {

/// One line for each decision, of facility LOG_AUTHPRIV: to the journal, with a field GATEHALL_…
/// for each part, else to the system log (syslog(3)), which the program has opened. Root's are also
/// told to the kernel's audit where that is on, as USER_LOGIN records.
class LinuxDecisionLog final : public DecisionLog {
 public:
  /// The journal has the program's name.
  explicit LinuxDecisionLog(std::string identity);

  void keep(const DecisionRecord& decision) override;

 private:
  std::string mIdentity;
};

/// The line: "uid 1000 asked for bob (1001): admitted: local login enabled (default)", at a door
/// "sshd: bob (1001): admitted: …". Without a character that isn't printable ASCII.
std::string decisionLine(const DecisionRecord& decision);

}  // namespace gatehall
