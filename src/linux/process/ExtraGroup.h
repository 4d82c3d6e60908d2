#pragma once

/// The group that a set-group-id program (setresgid(2)) has beyond its caller's. From one thread.
namespace gatehall::extraGroup {

/// Whether the process has one. Ends the process when that can't be told.
bool isThere();

/// Makes it the effective group. Ends the process when that fails.
void use();

/// Gives it up for good: the caller's group is the only one that is left. Ends the process when
/// that fails.
void giveUp();

}  // namespace gatehall::extraGroup
