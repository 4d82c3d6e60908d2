#include "people/Search.h"

#include <algorithm>
#include <utility>

#include "portable/text/SearchForm.h"

namespace gatehall {

std::string searchedNames(const ListedUser& user) {
  std::string names;
  for (const auto* name : {&user.longName, &user.shortName}) {
    if (!*name) continue;
    names.append(searchForm(**name)).append("\n");
  }
  if (names.empty()) names = std::to_string(user.uid);
  return names;
}

std::vector<std::string> searchWords(std::string_view typed) {
  const auto text = searchForm(typed);
  std::vector<std::string> words;
  for (std::size_t start = 0; start < text.size();) {
    const auto end = std::min(text.find(' ', start), text.size());
    if (end > start) words.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return words;
}

bool isFound(std::string_view names, const std::vector<std::string>& words) {
  return std::ranges::all_of(
      words, [&](const std::string& word) { return names.find(word) != std::string_view::npos; });
}

}  // namespace gatehall
