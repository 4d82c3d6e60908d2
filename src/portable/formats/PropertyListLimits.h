#pragma once

#include <string_view>

namespace gatehall {

/// Reads a property list as far as its nesting and its size once unfolded, before a library that
/// recurses into it and copies shared parts does. Raises MalformedPropertyList when it nests deeper
/// than 100 collections, when a binary list contains itself, unfolds beyond 64 MiB or has a key
/// with a NUL character, and when it is too damaged to tell.
void checkPropertyListLimits(std::string_view bytes);

}  // namespace gatehall
