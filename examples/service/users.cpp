// Prints whom gatehalld has a login screen show, says whether somebody may log in, and prints the
// list again whenever it changes. With sd-bus:
//
//   g++ -std=c++20 -o users users.cpp $(pkg-config --cflags --libs libsystemd)
//
// usage: users [NAME]

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <systemd/sd-bus.h>
#include <vector>

namespace {

constexpr const char* kService = "com.orvane.Gatehall1";
constexpr const char* kPath = "/com/orvane/Gatehall1";

struct Unreferenced {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Unreferenced>;

int check(int result, const char* what) {
  if (result >= 0) return result;
  std::fprintf(stderr, "%s: %s\n", what, std::strerror(-result));
  std::exit(1);
}

/// A method's answer. Starts the service if it isn't there.
template <class... Arguments>
Message call(sd_bus* bus, const char* method, const char* types, Arguments... arguments) {
  sd_bus_error error = SD_BUS_ERROR_NULL;
  sd_bus_message* answer = nullptr;
  const int result = sd_bus_call_method(bus, kService, kPath, kService, method, &error, &answer,
                                        types, arguments...);
  if (error.message != nullptr) std::fprintf(stderr, "%s: %s\n", method, error.message);
  sd_bus_error_free(&error);
  check(result, method);
  return Message(answer);
}

/// Calls read(key) for each entry of a dictionary; it reads the text or the flag, or nothing.
template <class Read>
void readEntries(sd_bus_message* message, Read read) {
  check(sd_bus_message_enter_container(message, 'a', "{sv}"), "a dictionary");
  while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
    const char* key = nullptr;
    check(sd_bus_message_read(message, "s", &key), "a key");
    if (!read(std::string(key))) check(sd_bus_message_skip(message, "v"), key);
    sd_bus_message_exit_container(message);
  }
  sd_bus_message_exit_container(message);
}

bool readText(sd_bus_message* message, std::string& text) {
  const char* value = nullptr;
  check(sd_bus_message_read(message, "v", "s", &value), "a text");
  text = value;
  return true;
}

/// A user as the screen shows it.
std::string readUser(sd_bus_message* message) {
  std::string shortName;
  std::string longName;
  readEntries(message, [&](const std::string& key) {
    if (key == "shortName") return readText(message, shortName);
    if (key == "longName") return readText(message, longName);
    return false;
  });
  return longName.empty() ? shortName : longName;
}

struct List {
  std::uint64_t serial = 0;
  std::vector<std::string> users;
};

/// The whole list, page by page; again when it changes meanwhile.
List readList(sd_bus* bus) {
  List list;
  for (;;) {
    const auto offset = static_cast<std::uint32_t>(list.users.size());
    const auto page = call(bus, "ListUsers", "uu", offset, std::uint32_t{0});
    std::uint64_t serial = 0;
    std::uint32_t total = 0;
    check(sd_bus_message_read(page.get(), "tu", &serial, &total), "a page");
    if (offset > 0 && serial != list.serial) {
      list = {};
      continue;
    }
    list.serial = serial;
    check(sd_bus_message_enter_container(page.get(), 'a', "a{sv}"), "its users");
    while (sd_bus_message_at_end(page.get(), 0) == 0) list.users.push_back(readUser(page.get()));
    if (list.users.size() >= total || list.users.size() == offset) return list;
  }
}

void show(const List& list) {
  for (const auto& user : list.users) std::printf("%s\n", user.c_str());
  std::printf("--\n");
  std::fflush(stdout);
}

void answer(sd_bus* bus, const char* name) {
  const auto reply = call(bus, "CanLogIn", "ss", name, "");
  int isAllowed = 0;
  std::string rule;
  std::string sentence;
  readEntries(reply.get(), [&](const std::string& key) {
    if (key == "ruleText") return readText(reply.get(), rule);
    if (key == "sentence") return readText(reply.get(), sentence);
    if (key != "allowed") return false;
    check(sd_bus_message_read(reply.get(), "v", "b", &isAllowed), "a flag");
    return true;
  });
  std::printf("%s: %s, %s. %s\n", name, isAllowed != 0 ? "yes" : "no", rule.c_str(),
              sentence.c_str());
}

/// Something was told: the list is another one, or the service came or went. What was told isn't
/// looked at: a list that is as long as a screen is read quickly. examples/service/users.py applies
/// the changes to a copy.
int changed(sd_bus_message* /*signal*/, void* isStale, sd_bus_error* /*error*/) {
  *static_cast<bool*>(isStale) = true;
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  sd_bus* raw = nullptr;
  check(sd_bus_open_system(&raw), "the system bus");
  const std::unique_ptr<sd_bus, Unreferenced> bus(raw);
  bool isStale = true;
  check(sd_bus_match_signal(raw, nullptr, kService, kPath, kService, "UsersChanged", changed,
                            &isStale),
        "to listen");
  check(sd_bus_add_match(raw, nullptr,
                         "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',"
                         "arg0='com.orvane.Gatehall1'",
                         changed, &isStale),
        "to listen");
  for (int word = 1; word < argc; ++word) answer(raw, argv[word]);
  for (;;) {
    if (isStale) {
      isStale = false;
      call(raw, "Watch", "");
      show(readList(raw));
    }
    if (check(sd_bus_process(raw, nullptr), "the system bus") == 0) {
      check(sd_bus_wait(raw, UINT64_MAX), "the system bus");
    }
  }
}
