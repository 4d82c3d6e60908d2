#pragma once

#include <span>
#include <string>

#include "ctl/request/Verb.h"

namespace gatehall::ctl {

/// The options that stand before a verb or behind it.
std::span<const Verb::Option> generalOptions();

/// What the program is for, its options and its verbs, in lines of at most 80 columns.
std::string helpText();

/// The same of one verb.
std::string helpText(const Verb& verb);

}  // namespace gatehall::ctl
