#pragma once

#include <set>

#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// A sentence for each script of these characters, of which no font is installed: its name, and a
/// package of Debian's that has one. Characters of no script, other than emoji, are left out.
Strings notesOnScripts(const std::set<char32_t>& characters);

}  // namespace gatehall::ctl
