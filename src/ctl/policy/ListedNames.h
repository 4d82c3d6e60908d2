#pragma once

#include <optional>
#include <string>

#include "ctl/request/Host.h"
#include "portable/formats/PropertyListEdit.h"

namespace gatehall::ctl {

/// The entry of an allow or deny list that an operand stands for, with the name as its comment: a
/// user by login name, user id or GUID; else a group by name or GUID; "*" for everybody. Raises
/// UsageError, with the nearest names, when nobody is meant or who is meant has no GUID, and
/// PlatformException when it can't be told.
CommentedText listEntryOf(const Host& host, const std::string& operand);

/// Whom an entry of such a list means: a login name, "class-7 (group)", "everybody"; absent when
/// nobody, or nobody who can be found now.
std::optional<std::string> nameOfEntry(const Host& host, const std::string& entry);

}  // namespace gatehall::ctl
