#pragma once

#include <span>
#include <string_view>

#include "ctl/request/Verb.h"

namespace gatehall::ctl {

// Each in its own file.
Verb switchVerb();
Verb canLogInVerb();
Verb checkVerb();
Verb compareVerb();
Verb policyVerb();
Verb usersVerb();
Verb watchVerb();
Verb networkUsersVerb();
Verb userVerb();
Verb expandVerb();
Verb guidVerb();
Verb adminsVerb();
Verb prefsVerb();
Verb exportVerb();
Verb networkVerb();
Verb directoriesVerb();

/// All verbs, in the order in which help lists them.
std::span<const Verb> verbs();

/// The verb of that name; nullptr when there is none.
const Verb* verbNamed(std::string_view name);

}  // namespace gatehall::ctl
