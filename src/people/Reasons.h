#pragma once

#include <string>

#include "following/FollowedList.h"
#include "people/Words.h"

namespace gatehall {

/// Why the list of users can't be shown, as part of a sentence: "the service that keeps it isn't
/// running".
std::string reasonText(ListFault fault, const Words& words);

}  // namespace gatehall
