#pragma once

#include <functional>
#include <optional>
#include <string>

#include "linux/pam/Stack.h"

namespace gatehall::pam {

/// What a stack does with the answers of one module that is to guard it.
enum class Guard {
  Guarded,     ///< whoever is admitted passed the module, which admitted them
  Partly,      ///< somebody may be admitted without that
  NotGuarded,  ///< the module isn't in the stack
  Shut,        ///< nobody is admitted, whatever the modules say
};

struct Passage {
  Guard guard = Guard::NotGuarded;

  /// Of a guard in part: the entry after whose answer the module is passed by, or doesn't count.
  struct Gap {
    Entry entry;
    std::string_view answer;  ///< one of kResults
    bool isPassedBy = true;   ///< else the module is asked, and its refusal doesn't count
  };
  std::optional<Gap> gap{};
};

/// Follows the stack as libpam goes through it, for all that its modules may answer: whoever is
/// admitted has success as the outcome, or that the password has to be changed now (which the
/// service then has done). pam_permit.so admits always, pam_deny.so never; the guards refuse with
/// anything but success and ignore, and never ask for a new password. The second function says
/// which entries are the guards.
///
/// Raises PlatformException when there are too many ways through the stack.
Passage passageThrough(const Stack& stack, const std::function<bool(const Entry&)>& isGuard);

}  // namespace gatehall::pam
