#include "linux/sessions/SdLogin.h"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <systemd/sd-login.h>

#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"

namespace gatehall::sdLogin {

namespace {

struct Freed {
  void operator()(void* pointer) const { std::free(pointer); }
};
using FreedText = std::unique_ptr<char, Freed>;

struct FreedList {
  void operator()(char** list) const {
    for (char** each = list; *each != nullptr; ++each) std::free(*each);
    std::free(list);
  }
};

struct Library {
  LazyLibrary library{"libsystemd.so.0", "libsystemd0"};
#define GATEHALL_SD(name) decltype(::sd_##name)* name = GATEHALL_FUNCTION(library, sd_##name)
  GATEHALL_SD(get_sessions);
  GATEHALL_SD(seat_get_active);
  GATEHALL_SD(session_get_uid);
  GATEHALL_SD(session_get_seat);
  GATEHALL_SD(session_get_type);
  GATEHALL_SD(session_get_class);
  GATEHALL_SD(session_get_state);
#undef GATEHALL_SD
};

const Library& libsystemd() {
  static const Library library;
  return library;
}

/// Answers by negative errno(3) numbers: true for an answer, false for "no such thing".
bool isAnswer(int result, const char* question) {
  switch (result) {
    case -ENXIO:
    case -ENODATA:
    case -ENOENT:
    case -EIO:     // the session's file lacks the line
    case -EINVAL:  // no session can have the name
      return false;
    default:
      if (result >= 0) return true;
  }
  throw PlatformException(std::string("Unable to ask logind for ") + question + ": " +
                          std::generic_category().message(-result));
}

}  // namespace

std::optional<std::string> activeSession(const char* seat) {
  char* raw = nullptr;
  const int result = libsystemd().seat_get_active(seat, &raw, nullptr);
  const FreedText name(raw);
  if (!isAnswer(result, "the active session") || name == nullptr) return std::nullopt;
  return name.get();
}

Strings sessions() {
  char** raw = nullptr;
  const int result = libsystemd().get_sessions(&raw);
  const std::unique_ptr<char*, FreedList> list(raw);
  Strings names;
  if (!isAnswer(result, "the sessions") || list == nullptr) return names;
  for (char** each = list.get(); *each != nullptr; ++each) names.emplace_back(*each);
  return names;
}

std::optional<Session> session(const std::string& name) {
  const auto& systemd = libsystemd();
  Session found;
  uid_t userID = 0;
  if (!isAnswer(systemd.session_get_uid(name.c_str(), &userID), "a session's user")) {
    return std::nullopt;
  }
  found.userID = userID;
  const auto text = [&](int (*ask)(const char*, char**), const char* question,
                        std::string& answer) {
    char* raw = nullptr;
    const int result = ask(name.c_str(), &raw);
    const FreedText owner(raw);
    if (isAnswer(result, question) && owner != nullptr) answer = owner.get();
    return result != -ENXIO;
  };
  const bool isThere = text(systemd.session_get_seat, "a session's seat", found.seat) &&
                       text(systemd.session_get_type, "a session's type", found.type) &&
                       text(systemd.session_get_class, "a session's class", found.kind) &&
                       text(systemd.session_get_state, "a session's state", found.state);
  if (!isThere) return std::nullopt;
  return found;
}

}  // namespace gatehall::sdLogin
