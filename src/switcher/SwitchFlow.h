#pragma once

#include <span>
#include <string_view>

namespace gatehall {

/// One run of the switch tool, for the words after the program's name: checks that the caller is
/// root or owns the console, then walks the words. "-suspend" brings up the login screen and ends
/// the walk; "-switchToUserID" takes the next word as a decimal user id and switches to that user,
/// if the login rules admit the user. Both also match a longer word that begins with them; any
/// other word is skipped.
///
/// Everything it has to say goes to the system log. What the directory raises while the rules
/// decide, and any exception that is not the platform's, reaches the caller.
void runSwitch(std::span<const std::string_view> words);

}  // namespace gatehall
