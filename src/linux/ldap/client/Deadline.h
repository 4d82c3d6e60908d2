#pragma once

#include <chrono>
#include <cstddef>

namespace gatehall::ldap {

using Deadline = std::chrono::steady_clock::time_point;

/// Milliseconds until then, for poll(2): 0 when it has passed.
int millisecondsUntil(Deadline deadline);

/// The end of what the first of so many, at least one, may take of the time that is left: one that
/// swallows everything must leave time for the others.
Deadline shareOf(Deadline deadline, std::size_t count);

}  // namespace gatehall::ldap
