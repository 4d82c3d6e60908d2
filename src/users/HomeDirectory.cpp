#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/CachedUser.h"

namespace gatehall {

namespace {

/// The texts of the elements directly below the document's root, by name; of two with one name the
/// later. Absent when there is none, and when the text is not XML.
std::optional<std::map<std::string, std::string>> homeDirectoryValues(std::string_view document) {
  const auto root = platform().markup().parseXML(document);
  if (!root) return std::nullopt;
  std::optional<std::map<std::string, std::string>> values;
  for (const auto& child : root->children) {
    if (!child.text) continue;
    if (!values) values.emplace();
    values->insert_or_assign(child.name, *child.text);
  }
  return values;
}

/// The URL of the home directory attribute, if it is a file's.
std::optional<URL> homeURL(const std::optional<std::string>& homeDirectory) {
  if (!homeDirectory) return std::nullopt;
  const auto values = homeDirectoryValues(*homeDirectory);
  if (!values) return std::nullopt;
  const auto entry = values->find("url");
  if (entry == values->end()) return std::nullopt;
  auto url = platform().markup().parseURL(entry->second);
  return url && url->isFile ? url : std::nullopt;
}

/// What follows the last full stop of what stands behind the last slash, slashes at the end not
/// counted; empty for a name that only begins with one.
std::string_view pathExtension(std::string_view path) {
  path = path.substr(0, path.find_last_not_of('/') + 1);
  const auto name = path.substr(path.rfind('/') + 1);
  const auto stop = name.rfind('.');
  return stop == std::string_view::npos || stop == 0 ? std::string_view() : name.substr(stop + 1);
}

}  // namespace

bool CachedUser::isCryptwellUser() const {
  const auto url = homeURL(ofpHomePath());
  if (!url) return false;
  return url->scheme == "file" || pathExtension(url->absoluteText) == "sparsebundle";
}

bool CachedUser::isExternalHomeUser() const {
  const auto marker = getAttribute(attribute::External);
  if (!marker) return false;
  // A marker that has no boolean reading marks by being there.
  return marker->booleanValue().value_or(true);
}

}  // namespace gatehall
