#include "ctl/verbs/Verbs.h"

#include <algorithm>
#include <array>

namespace gatehall::ctl {

std::span<const Verb> verbs() {
  static const std::array all = {
      switchVerb(),       canLogInVerb(), usersVerb(),   watchVerb(),
      networkUsersVerb(), userVerb(),     expandVerb(),  guidVerb(),
      adminsVerb(),       prefsVerb(),    networkVerb(), directoriesVerb(),
      checkVerb(),        compareVerb(),  exportVerb(),  policyVerb()};
  return all;
}

const Verb* verbNamed(std::string_view name) {
  const auto all = verbs();
  const auto verb = std::find_if(all.begin(), all.end(),
                                 [name](const Verb& candidate) { return candidate.name == name; });
  return verb != all.end() ? &*verb : nullptr;
}

}  // namespace gatehall::ctl
