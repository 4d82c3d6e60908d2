#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "ctl/compare/MachineState.h"
#include "ctl/print/Json.h"

namespace gatehall::ctl {

/// An account of two machines, or of one of them, of whom not the same becomes on both.
struct Difference {
  std::optional<KnownAccount> before{};  ///< absent: that machine has no such account
  std::optional<KnownAccount> after{};
  bool isAway = false;  ///< the machine without one can't ask the account's directory now
};

/// How many accounts two machines have between them, and which differ.
struct Comparison {
  std::size_t accounts = 0;
  std::vector<Difference> differences{};  ///< in the order of the first machine, then the second's
};

/// Accounts are the same that have the same GUID, else the same node and name; of several with a
/// GUID those of the same node go together first.
Comparison compared(const MachineState& before, const MachineState& after);

/// {"name", "longName", "uid", "guid", "node": of the account as it is after, "login", "list",
/// "before": {"allowed", "rule", "source", "reason", "listed"}, "after"}: what becomes of somebody
/// without an account has the rule "no such account", or "directory away" where there is no telling
/// whether there is one: then nothing is gained or lost. "login" is "gains", "loses", "rule" when
/// only the rule or its source changes, or null; "list" is "appears", "disappears" or null.
Json differenceJson(const Difference& difference);

}  // namespace gatehall::ctl
