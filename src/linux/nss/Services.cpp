#include "linux/nss/Services.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "linux/files/FileDescriptor.h"

namespace gatehall::nss {

namespace {

struct Daemon {
  std::string_view service;
  const char* socket;
};

constexpr std::array kDaemons{Daemon{"sss", "/var/lib/sss/pipes/nss"},
                              Daemon{"winbind", "/run/samba/winbindd/pipe"},
                              Daemon{"ldap", "/run/nslcd/socket"}};

/// Of getgrouplist(3) "initgroups", and "group" where that isn't there.
constexpr std::array<std::string_view, 3> kDatabases{"passwd", "group", "initgroups"};

constexpr std::string_view kBlanks = " \t\v\f\r";
constexpr std::string_view kBehindDatabase = " \t\v\f\r:";
constexpr std::string_view kBehindService = " \t\v\f\r[";

/// The next word of a line; what stands in brackets says what becomes of answers.
std::string_view nextWord(std::string_view& line) {
  for (;;) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    const bool isAction = line.starts_with('[');
    const auto end = isAction ? line.find(']') : line.find_first_of(kBehindService);
    const auto length = std::min(end, line.size());
    const auto word = line.substr(0, length);
    line.remove_prefix(std::min(length + (isAction ? 1 : 0), line.size()));
    if (!isAction) return word;
  }
}

/// 0, or the errno(3) for which there is no connection.
int connectTo(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return ENAMETOOLONG;
  path.copy(address.sun_path, path.size());
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket.isOpen()) return errno;
  const auto* where = reinterpret_cast<const sockaddr*>(&address);
  // Of a daemon that has very much to do the queue is full.
  return connect(socket.number(), where, sizeof address) == 0 || errno == EAGAIN ? 0 : errno;
}

}  // namespace

Strings networkServices(std::string_view switchText) {
  std::array<std::string_view, kDatabases.size()> asked;
  while (!switchText.empty()) {
    auto line = switchText.substr(0, switchText.find('\n'));
    switchText.remove_prefix(std::min(line.size() + 1, switchText.size()));
    line = line.substr(0, line.find('#'));
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    const auto end = std::min(line.find_first_of(kBehindDatabase), line.size());
    const auto* found = std::ranges::find(kDatabases, line.substr(0, end));
    line.remove_prefix(std::min(line.find_first_not_of(kBehindDatabase, end), line.size()));
    const auto index = static_cast<std::size_t>(std::distance(kDatabases.begin(), found));
    if (index < asked.size()) asked.at(index) = line;
  }
  Strings services;
  for (auto line : asked) {
    for (auto word = nextWord(line); !word.empty(); word = nextWord(line)) {
      const bool isLocal = word == "files" || word == "compat" || word == "db";
      if (!isLocal && std::ranges::find(services, word) == services.end()) {
        services.emplace_back(word);
      }
    }
  }
  return services;
}

std::string whySilent(const Strings& services, const std::string& root) {
  for (const auto& [service, socket] : kDaemons) {
    if (std::ranges::find(services, service) == services.end()) continue;
    const int error = connectTo(root + socket);
    if (error == 0) continue;
    return std::string(service).append(" has nobody who answers at ").append(socket).append(": ") +
           strerrordesc_np(error);
  }
  return {};
}

}  // namespace gatehall::nss
