#pragma once

#include <vector>

#include "ctl/print/Findings.h"
#include "gatehall/base/Value.h"
#include "linux/files/HostOptions.h"

namespace gatehall::ctl {

/// The group whose members alone may log in, where there is one.
inline constexpr std::string_view kAccessGroup = "gatehall-access";

/// Where the machine's group file has a group of that name; an empty place: nowhere.
Finding placeOfGroup(const HostOptions& options, std::string_view name);

/// An access group of the installed machine that has no members, or names some who aren't there.
/// What can't be told is said in messages.
std::vector<Finding> findingsOfAccessGroup(const HostOptions& options, Strings& messages);

}  // namespace gatehall::ctl
