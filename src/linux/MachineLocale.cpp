#include "linux/MachineLocale.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <sys/stat.h>

#include "linux/files/FileDescriptor.h"
#include "linux/files/HostPath.h"

namespace gatehall {

namespace {

using Settings = std::map<std::string, std::string, std::less<>>;

std::string_view trimmed(std::string_view text, std::string_view characters) {
  const auto first = text.find_first_not_of(characters);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(characters) - first + 1);
}

/// Reads lines of the form NAME=value or NAME="value".
void readSettings(const std::string& path, Settings& settings) {
  constexpr std::size_t longest = 65536;
  struct stat status {};
  int error = 0;
  const auto file = openRegularFile(path, Symlinks::Follow, status, error);
  const auto content = file.isOpen() ? readWhole(file, longest, error) : std::nullopt;
  std::string_view rest = content ? std::string_view(*content) : std::string_view();
  while (!rest.empty()) {
    const auto line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    const auto value = trimmed(trimmed(line.substr(equals + 1), " \t\r"), "\"'");
    settings.insert_or_assign(std::string(trimmed(line.substr(0, equals), " \t")), value);
  }
}

}  // namespace

std::string machineLocale(const HostOptions& options, const char* category) {
  for (const auto* path : {"/etc/locale.conf", "/etc/default/locale"}) {
    Settings settings;
    readSettings(hostPath(options, path), settings);
    for (const auto* name : {"LC_ALL", category, "LANG"}) {
      const auto found = settings.find(name);
      if (found != settings.end() && !found->second.empty()) return found->second;
    }
  }
  return {};
}

}  // namespace gatehall
