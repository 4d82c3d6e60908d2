// Stands in on a private bus for the services that are asked of a machine: display managers,
// logind, AccountsService, SSSD's InfoPipe.
//
//   seat-stand-in ADDRESS WORD...
//
// Words: lightdm, sddm, gdm, logind, accounts, each of them plain or with how it behaves
// (lightdm=refusing: the calls that change something are answered with an error; =MEMBER: those of
// this method are; =nonsense: every call is answered with a number; =silent: none is answered;
// =late: what a service is asked to do is done and not answered; =late:MEMBER: that is so of this
// method);
// seat=PATH, a seat of the display manager in place of .../Seat0;
// session=NAME,UID,USER,SEAT,TYPE,CLASS,STATE, a locked one with ",locked" behind it, and
// gone=NAME,UID,USER,SEAT (listed, but gone when asked about), in logind's list; active=NAME, the
// seat's active session; brings=NAME, the one that comes to the front when a display manager is
// asked for a switch; locker=HOW, who locks a session when logind says so (without the word
// somebody who does at once): none, late (only once the lock was looked for), lying (the change is
// told, and the session isn't locked); sssd=HOW, whose second domain is online or offline;
// terminal=late: a session that logind activates is in front only once that was looked for;
// account=…, in AccountsService (Accounts.h).
//
// Prints "ready" once it is on the bus, then every call that would change something, as
// "OBJECT-PATH MEMBER ARGUMENT...", and every call of AccountsService, until its standard input
// ends.

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <poll.h>
#include <sstream>
#include <string>
#include <string_view>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "tests/linux/bus/standin/Accounts.h"

namespace {

constexpr const char* kAccounts = "org.freedesktop.Accounts";

constexpr const char* kSssd = "org.freedesktop.sssd.infopipe";

constexpr const char* kLogin1 = "org.freedesktop.login1";

constexpr const char* kSeatService = "org.freedesktop.DisplayManager";
constexpr const char* kSeatPath = "/org/freedesktop/DisplayManager/Seat0";

struct Session {
  std::string name;
  std::uint32_t userID = 0;
  std::string user;
  std::string seat;
  std::string type;
  std::string kind;
  std::string state;
  bool isLocked = false;
  bool isGone = false;

  std::string path() const { return "/org/freedesktop/login1/session/_" + name; }
};

struct Host {
  std::map<std::string, std::string, std::less<>> behaviour;  ///< by the service's bus name
  bool isLightDM = false;
  std::vector<std::string> seats;
  std::vector<Session> sessions;
  std::string active;
  std::string brings;
  std::string locker;
  std::string lockAwaited;  ///< the session that is locked once that is looked for
  bool isTerminalLate = false;
  std::string frontAwaited;  ///< the session that is in front once that is looked for
  Accounts accounts;

  Session* session(std::string_view name) {
    for (auto& each : sessions) {
      if (each.name == name) return &each;
    }
    return nullptr;
  }
};

void require(int result, const char* what) {
  if (result >= 0) return;
  std::fprintf(stderr, "seat-stand-in: %s: error %d\n", what, -result);
  std::exit(1);
}

/// Prints the call with its arguments, which are texts.
void record(sd_bus_message* message) {
  std::string line =
      std::string(sd_bus_message_get_path(message)) + ' ' + sd_bus_message_get_member(message);
  const char* text = nullptr;
  while (sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &text) > 0) {
    line += std::string(" '") + text + '\'';
  }
  std::puts(line.c_str());
  std::fflush(stdout);
}

int introspect(const Host& host, sd_bus_message* message) {
  std::string text = "<node><interface name=\"org.freedesktop.DisplayManager\">";
  if (host.isLightDM) text += "<method name=\"AddLocalXSeat\"/>";
  text += "<property type=\"ao\" name=\"Seats\" access=\"read\"/></interface></node>";
  return sd_bus_reply_method_return(message, "s", text.c_str());
}

int seats(const Host& host, sd_bus_message* message) {
  sd_bus_message* reply = nullptr;
  require(sd_bus_message_new_method_return(message, &reply), "reply");
  require(sd_bus_message_open_container(reply, 'v', "ao"), "variant");
  require(sd_bus_message_open_container(reply, 'a', "o"), "array");
  for (const auto& seat : host.seats) {
    require(sd_bus_message_append(reply, "o", seat.c_str()), "seat");
  }
  require(sd_bus_message_close_container(reply), "array");
  require(sd_bus_message_close_container(reply), "variant");
  const int result = sd_bus_send(nullptr, reply, nullptr);
  sd_bus_message_unref(reply);
  return result;
}

/// Says that a property of one of logind's objects has another value, but not which.
void tellChange(sd_bus* bus, const std::string& path, const char* interface, const char* property) {
  sd_bus_message* signal = nullptr;
  require(sd_bus_message_new_signal(bus, &signal, path.c_str(), "org.freedesktop.DBus.Properties",
                                    "PropertiesChanged"),
          "signal");
  require(sd_bus_message_append(signal, "sa{sv}as", interface, 0, 1, property), "signal");
  require(sd_bus_send(bus, signal, nullptr), "signal");
  sd_bus_message_unref(signal);
}

void setLocked(sd_bus* bus, Session& session, bool isLocked) {
  session.isLocked = isLocked;
  tellChange(bus, session.path(), "org.freedesktop.login1.Session", "LockedHint");
}

void setActive(Host& host, sd_bus* bus, const std::string& name) {
  host.active = name;
  tellChange(bus, "/org/freedesktop/login1/seat/seat0", "org.freedesktop.login1.Seat",
             "ActiveSession");
}

int activeSession(Host& host, sd_bus_message* message) {
  const auto* session = host.session(host.active);
  const std::string name = session == nullptr ? "" : session->name;
  const std::string path = session == nullptr ? "/" : session->path();
  const int result = sd_bus_reply_method_return(message, "v", "(so)", name.c_str(), path.c_str());
  const auto next = std::exchange(host.frontAwaited, "");
  if (!next.empty()) setActive(host, sd_bus_message_get_bus(message), next);
  return result;
}

/// What the locker makes of logind's word.
void lock(Host& host, sd_bus* bus, Session& session) {
  if (host.locker == "late") host.lockAwaited = session.name;
  if (host.locker == "lying") setLocked(bus, session, false);
  if (host.locker.empty()) setLocked(bus, session, true);
}

int lockedHint(Host& host, sd_bus_message* message) {
  const std::string_view path = sd_bus_message_get_path(message);
  for (auto& session : host.sessions) {
    if (session.path() != path) continue;
    const int result = sd_bus_reply_method_return(message, "v", "b", session.isLocked);
    if (host.lockAwaited == session.name) {
      host.lockAwaited.clear();
      setLocked(sd_bus_message_get_bus(message), session, true);
    }
    return result;
  }
  return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_OBJECT, "No such session");
}

int listSessions(const Host& host, sd_bus_message* message) {
  sd_bus_message* reply = nullptr;
  require(sd_bus_message_new_method_return(message, &reply), "reply");
  require(sd_bus_message_open_container(reply, 'a', "(susso)"), "array");
  for (const auto& session : host.sessions) {
    require(
        sd_bus_message_append(reply, "(susso)", session.name.c_str(), session.userID,
                              session.user.c_str(), session.seat.c_str(), session.path().c_str()),
        "session");
  }
  require(sd_bus_message_close_container(reply), "array");
  const int result = sd_bus_send(nullptr, reply, nullptr);
  sd_bus_message_unref(reply);
  return result;
}

int sessionProperties(const Host& host, sd_bus_message* message) {
  const std::string_view path = sd_bus_message_get_path(message);
  for (const auto& session : host.sessions) {
    if (session.path() != path || session.isGone) continue;
    return sd_bus_reply_method_return(
        message, "a{sv}", 6, "Name", "s", session.user.c_str(), "Type", "s", session.type.c_str(),
        "Class", "s", session.kind.c_str(), "State", "s", session.state.c_str(), "User", "(uo)",
        session.userID, "/org/freedesktop/login1/user", "LockedHint", "b", session.isLocked);
  }
  return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_OBJECT, "No such session");
}

/// Answers a question; 0 when the call is none.
int answerQuestion(Host& host, sd_bus_message* message) {
  const std::string_view member = sd_bus_message_get_member(message);
  if (member == "Introspect") return introspect(host, message);
  if (member == "ListSessions") return listSessions(host, message);
  if (member == "GetAll") return sessionProperties(host, message);
  if (member != "Get") return 0;
  const char* interface = nullptr;
  const char* name = nullptr;
  require(sd_bus_message_read(message, "ss", &interface, &name), "Get");
  const std::string_view property = name;
  if (property == "LockedHint") return lockedHint(host, message);
  return property == "Seats" ? seats(host, message) : activeSession(host, message);
}

/// What the call, which is not refused, does to the sessions.
void perform(Host& host, sd_bus_message* message) {
  auto* bus = sd_bus_message_get_bus(message);
  const std::string_view member = sd_bus_message_get_member(message);
  if (std::string_view(sd_bus_message_get_destination(message)) != kLogin1) {
    if (!host.brings.empty()) setActive(host, bus, host.brings);
    return;
  }
  const char* name = "";
  require(sd_bus_message_rewind(message, 1), "rewind");
  require(sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &name), "name");
  auto* session = host.session(name);
  if (session == nullptr) return;
  if (member == "LockSession") lock(host, bus, *session);
  if (member == "UnlockSession") setLocked(bus, *session, false);
  if (member != "ActivateSessionOnSeat") return;
  if (host.isTerminalLate) {
    host.frontAwaited = name;
  } else {
    setActive(host, bus, name);
  }
}

/// SSSD has two domains, the second of which is online or not.
int answerForSssd(sd_bus_message* message, const std::string& behaviour) {
  constexpr const char* kFirst = "/org/freedesktop/sssd/infopipe/Domains/school";
  constexpr const char* kSecond = "/org/freedesktop/sssd/infopipe/Domains/office";
  if (behaviour == "refusing") {
    return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_ACCESS_DENIED, "Not\ntoday");
  }
  if (sd_bus_message_is_method_call(message, kSssd, "ListDomains") > 0) {
    return sd_bus_reply_method_return(message, "ao", 2, kFirst, kSecond);
  }
  const auto domains = std::string(kSssd) + ".Domains.Domain";
  if (sd_bus_message_is_method_call(message, domains.c_str(), "IsOnline") <= 0) {
    return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_METHOD, "No such method");
  }
  const bool isSecond = std::string_view(sd_bus_message_get_path(message)) == kSecond;
  return sd_bus_reply_method_return(message, "b", !isSecond || behaviour == "online");
}

int onMessage(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
  auto& host = *static_cast<Host*>(data);
  const char* destination = sd_bus_message_get_destination(message);
  if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0 || destination == nullptr) {
    return 0;
  }
  const auto service = host.behaviour.find(std::string_view(destination));
  if (service == host.behaviour.end()) return 0;
  const auto& behaviour = service->second;
  if (behaviour == "silent") return 1;
  if (behaviour == "nonsense") return sd_bus_reply_method_return(message, "u", 7U) < 0 ? -1 : 1;
  if (service->first == kAccounts) return host.accounts.answer(message);
  if (service->first == kSssd) return answerForSssd(message, behaviour) < 0 ? -1 : 1;
  if (answerQuestion(host, message) > 0) return 1;
  record(message);
  const std::string member = sd_bus_message_get_member(message);
  if (behaviour == "refusing" || behaviour == member) {
    require(sd_bus_reply_method_errorf(message, SD_BUS_ERROR_ACCESS_DENIED, "Not\ntoday"), "error");
    return 1;
  }
  perform(host, message);
  if (behaviour == "late" || behaviour == "late:" + member) return 1;
  if (service->first == "org.gnome.DisplayManager") {
    require(sd_bus_reply_method_return(message, "o", "/org/gnome/DisplayManager/Displays/1"),
            "reply");
  } else {
    require(sd_bus_reply_method_return(message, ""), "reply");
  }
  return 1;
}

std::vector<std::string> fields(const std::string& text) {
  std::vector<std::string> found;
  std::istringstream stream(text);
  for (std::string field; std::getline(stream, field, ',');) found.push_back(field);
  found.resize(8);
  return found;
}

Session readSession(const std::string& text, bool isGone) {
  const auto part = fields(text);
  return {part[0], static_cast<std::uint32_t>(std::stoul(part[1])),
          part[2], part[3],
          part[4], part[5],
          part[6], part[7] == "locked",
          isGone};
}

void readWord(Host& host, const std::string& word) {
  const auto name = word.substr(0, word.find('='));
  const auto value = name == word ? std::string() : word.substr(name.size() + 1);
  if (name == "session" || name == "gone") {
    host.sessions.push_back(readSession(value, name == "gone"));
  } else if (name == "accounts") {
    host.behaviour[kAccounts] = value;
  } else if (name == "sssd") {
    host.behaviour[kSssd] = value;
  } else if (name == "account") {
    host.accounts.add(value);
  } else if (name == "active") {
    host.active = value;
  } else if (name == "brings") {
    host.brings = value;
  } else if (name == "terminal") {
    host.isTerminalLate = value == "late";
  } else if (name == "locker") {
    host.locker = value;
  } else if (name == "seat") {
    host.seats.push_back(value);
  } else if (name == "gdm") {
    host.behaviour["org.gnome.DisplayManager"] = value;
  } else if (name == "logind") {
    host.behaviour[kLogin1] = value;
  } else if (name == "lightdm" || name == "sddm") {
    host.behaviour[kSeatService] = value;
    host.isLightDM = name == "lightdm";
  } else {
    std::fprintf(stderr, "seat-stand-in: unknown word %s\n", word.c_str());
    std::exit(1);
  }
}

/// Serves the bus until the standard input ends.
void serve(sd_bus* bus) {
  for (;;) {
    const int result = sd_bus_process(bus, nullptr);
    require(result, "process");
    if (result > 0) continue;
    std::array<pollfd, 2> events{pollfd{sd_bus_get_fd(bus), POLLIN, 0},
                                 pollfd{STDIN_FILENO, POLLIN, 0}};
    poll(events.data(), events.size(), -1);
    if (events[1].revents != 0) return;
  }
}

}  // namespace

int main(int count, char** words) {
  Host host;
  for (int word = 2; word < count; ++word) readWord(host, words[word]);
  if (host.seats.empty()) host.seats.emplace_back(kSeatPath);

  sd_bus* bus = nullptr;
  require(sd_bus_new(&bus), "bus");
  require(sd_bus_set_address(bus, count > 1 ? words[1] : ""), "address");
  require(sd_bus_set_bus_client(bus, 1), "client");
  require(sd_bus_start(bus), "start");
  require(sd_bus_add_filter(bus, nullptr, onMessage, &host), "filter");
  for (const auto& [name, behaviour] : host.behaviour) {
    require(sd_bus_request_name(bus, name.c_str(), 0), name.c_str());
  }
  std::puts("ready");
  std::fflush(stdout);
  serve(bus);
  sd_bus_flush_close_unref(bus);
  return 0;
}
