#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "listing/ListedUser.h"

namespace gatehall {

/// A user's names as they are searched: without case and marks, a line each. From any thread.
std::string searchedNames(const ListedUser& user);

/// The words of what was typed, in the same form.
std::vector<std::string> searchWords(std::string_view typed);

/// Whether all of the words stand in the names, in any order, each as any part of one.
bool isFound(std::string_view names, const std::vector<std::string>& words);

}  // namespace gatehall
