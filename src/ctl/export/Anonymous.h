#pragma once

#include "ctl/export/Exported.h"
#include "gatehall/platform/Collation.h"

namespace gatehall::ctl {

/// The same world with stand-ins for everything that somebody chose: names, GUIDs, pictures, homes,
/// nodes, servers, and the words of failures. The same text has the same stand-in everywhere, and
/// full names keep their order. What stays: user and group ids, times, booleans, the names that the
/// rules know ("root", "admin", "gatehall-access", "local", "unix", "search"), and of settings and
/// attributes those that the rules read; all others are left out.
Exported anonymous(const Exported& exported, Collation& collation);

}  // namespace gatehall::ctl
