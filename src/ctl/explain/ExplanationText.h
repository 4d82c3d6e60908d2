#pragma once

#include <string>

#include "accounts/Accounts.h"
#include "ctl/print/Json.h"
#include "explain/Explained.h"
#include "explain/Properties.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// null for what there isn't; a moment is isoText.
Json jsonOf(const Properties& properties);
Json jsonOf(const std::vector<Properties>& list);

/// What stands behind a verdict, in sentences for people, one a line of no more than that many
/// columns where it has spaces. Moments are the machine's own, of a world in UTC.
Strings linesAbout(const Explained& each, bool inLocalTime, std::size_t longest);

/// The same about the other accounts that are meant, and of nobody about the names that come near.
Strings linesAboutOthers(const Meant& meant, std::size_t longest);

}  // namespace gatehall::ctl
