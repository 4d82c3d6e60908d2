#include "ctl/request/HostFailure.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace gatehall::ctl {

namespace {

struct Operation {
  std::string_view name;
  std::string_view service;
};

/// Every operation that is not here is the directory's.
constexpr std::array kServices = {
    Operation{"effectiveUserID", "process"},
    Operation{"copyCurrentSession", "session service"},
    Operation{"copySessionList", "session service"},
    Operation{"switchToLoginScreen", "login service"},
    Operation{"switchToUser", "login service"},
    Operation{"guidToIdentifier", "membership service"},
    Operation{"userIDToIdentifier", "membership service"},
    Operation{"checkServiceMembership", "membership service"},
    Operation{"mayLogInNow", "parental controls"},
    Operation{"copyApplicationValue", "preference store"},
    Operation{"applicationBoolean", "preference store"},
    Operation{"synchronizePreferences", "preference store"},
    Operation{"readPropertyList", "property lists"},
};

std::string_view serviceOf(std::string_view operation) {
  const auto* entry =
      std::find_if(kServices.begin(), kServices.end(),
                   [operation](const Operation& known) { return known.name == operation; });
  return entry != kServices.end() ? entry->service : "directory";
}

}  // namespace

std::string hostFailureText(const Trace& trace, const std::exception& failure) {
  std::string text = "the host failed to answer: ";
  text += failure.what();
  const auto last = trace.lastOperation();
  if (last.empty()) return text;
  text += " (asked last: ";
  text += serviceOf(last);
  return text.append(", ").append(last).append(")");
}

}  // namespace gatehall::ctl
