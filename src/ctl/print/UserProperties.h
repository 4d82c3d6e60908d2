#pragma once

#include "ctl/print/Json.h"
#include "ctl/print/Table.h"
#include "gatehall/users/CachedUser.h"

namespace gatehall::ctl {

/// What follows from one account, each property by the name of its method. Raises what they raise.
Json userPropertiesJson(const CachedUser& user);

/// The same for people, by what the properties are about: a line on each subject where they are
/// wanted, and one on each property where there is room.
Table userPropertiesTable(const Json& properties, bool withSubjects);

}  // namespace gatehall::ctl
