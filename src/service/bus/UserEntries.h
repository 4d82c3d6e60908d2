#pragma once

#include <cstdint>
#include <vector>

#include "listing/ListChange.h"
#include "listing/ListedUser.h"
#include "service/bus/MessageWriter.h"
#include "service/list/Published.h"

namespace gatehall::service {

/// "t": microseconds since 1970, 0 for a moment before.
void append(MessageWriter& writer, Moment moment);

/// A user as "a{sv}", under the names of ListedUser's fields. What is absent is left out, and so
/// are hours that may not be known.
void append(MessageWriter& writer, const ListedUser& user, Hours hours);

/// Changes as "a(sua{sv}a{sv})": kind, position, the user, and what is different, as it was. They
/// are of the history without hours when those may not be known.
void append(MessageWriter& writer, const std::vector<ListChange>& changes, Hours hours);

}  // namespace gatehall::service
