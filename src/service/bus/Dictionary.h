#pragma once

#include "gatehall/base/Value.h"
#include "service/bus/MessageWriter.h"

namespace gatehall::service {

/// Appends the entries as "a{sv}": a string is an s, a boolean a b, a real a d, an integer an x,
/// but for "uid" and "line", which are a u; a date is a t, microseconds since 1970, 0 for one
/// before; an array of dictionaries is an aa{sv}, any other an as. Bytes are left out. Raises
/// PlatformException.
void append(MessageWriter& writer, const Dictionary& entries);

}  // namespace gatehall::service
