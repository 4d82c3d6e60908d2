#include "linux/files/HostPath.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <unistd.h>

#include "gatehall/base/PlatformException.h"

namespace gatehall {

namespace {

/// As many as the kernel follows (path_resolution(7)).
constexpr int kMostLinks = 40;

/// Where the link leads; empty for what is no link.
std::string target(const std::string& link) {
  std::array<char, PATH_MAX> text;
  const auto length = readlink(link.c_str(), text.data(), text.size());
  return length > 0 ? std::string(text.data(), static_cast<std::size_t>(length)) : std::string();
}

}  // namespace

std::string hostPath(const std::string& root, std::string_view path, Symlinks last) {
  if (root.empty()) return std::string(path);
  auto place = root;  // without a link behind the root
  std::string open(path);
  int links = 0;
  while (true) {
    open.erase(0, std::min(open.find_first_not_of('/'), open.size()));
    if (open.empty()) return place;
    const auto name = open.substr(0, open.find('/'));
    open.erase(0, name.size());
    if (name == ".") continue;
    if (name == "..") {
      if (place.size() > root.size()) place.erase(place.rfind('/'));
      continue;
    }
    auto next = place;
    next.append("/").append(name);
    const bool isLast = open.find_first_not_of('/') == std::string::npos;
    const auto leads = isLast && last == Symlinks::Refuse ? std::string() : target(next);
    if (leads.empty()) {
      place = std::move(next);
      continue;
    }
    if (++links > kMostLinks) {
      std::string text(path);
      throw PlatformException(text.append(": there are too many symbolic links on the way"));
    }
    if (leads.front() == '/') place = root;
    open.insert(0, leads);
  }
}

}  // namespace gatehall
