#include "tests/linux/bus/standin/Accounts.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

constexpr std::string_view kUser = "/org/freedesktop/Accounts/User";

void require(int result) {
  if (result >= 0) return;
  std::fprintf(stderr, "seat-stand-in: accounts: error %d\n", -result);
  std::exit(1);
}

int answerLimit(sd_bus_message* message, std::uint32_t type, std::uint32_t start,
                std::uint32_t end) {
  return sd_bus_reply_method_return(message, "a{sv}", 2, "LimitType", "u", type, "DailySchedule",
                                    "(uu)", start, end);
}

int answerOdd(sd_bus_message* message, std::string_view word) {
  constexpr std::uint32_t daily = 1;
  constexpr std::uint32_t eight = 28800;
  constexpr std::uint32_t five = 61200;
  if (word == "denied") {
    return sd_bus_reply_method_errorf(message, "org.freedesktop.Accounts.Error.PermissionDenied",
                                      "Authentication is required");
  }
  if (word == "type-text") {
    return sd_bus_reply_method_return(message, "a{sv}", 2, "LimitType", "s", "0", "DailySchedule",
                                      "(uu)", eight, five);
  }
  if (word == "type-real") {
    return sd_bus_reply_method_return(message, "a{sv}", 2, "LimitType", "d", 0.0, "DailySchedule",
                                      "(uu)", eight, five);
  }
  if (word == "no-type") {
    return sd_bus_reply_method_return(message, "a{sv}", 1, "DailySchedule", "(uu)", eight, five);
  }
  if (word == "schedule-number") {
    return sd_bus_reply_method_return(message, "a{sv}", 2, "LimitType", "u", daily, "DailySchedule",
                                      "u", five);
  }
  if (word == "schedule-reals") {
    return sd_bus_reply_method_return(message, "a{sv}", 2, "LimitType", "u", daily, "DailySchedule",
                                      "(dd)", 0.0, 86400.0);
  }
  if (word == "no-schedule") {
    return sd_bus_reply_method_return(message, "a{sv}", 1, "LimitType", "u", daily);
  }
  return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_OBJECT, "No such account");
}

}  // namespace

void Accounts::add(const std::string& account) {
  const auto comma = account.find(',');
  const auto userID = static_cast<std::uint32_t>(std::stoul(account.substr(0, comma)));
  mAccounts[userID] = comma == std::string::npos ? "" : account.substr(comma + 1);
}

int Accounts::answer(sd_bus_message* message) const {
  const std::string_view member = sd_bus_message_get_member(message);
  std::printf("%s %s\n", sd_bus_message_get_path(message), member.data());
  std::fflush(stdout);
  if (member == "ListCachedUsers") return listCachedUsers(message);
  return member == "GetAll" ? getAll(message) : 0;
}

int Accounts::listCachedUsers(sd_bus_message* message) const {
  sd_bus_message* reply = nullptr;
  require(sd_bus_message_new_method_return(message, &reply));
  require(sd_bus_message_open_container(reply, 'a', "o"));
  for (const auto& [userID, unused] : mAccounts) {
    require(
        sd_bus_message_append(reply, "o", (std::string(kUser) + std::to_string(userID)).c_str()));
  }
  require(sd_bus_message_close_container(reply));
  const int result = sd_bus_send(nullptr, reply, nullptr);
  sd_bus_message_unref(reply);
  return result;
}

int Accounts::getAll(sd_bus_message* message) const {
  const std::string_view path = sd_bus_message_get_path(message);
  const char* interface = nullptr;
  require(sd_bus_message_read(message, "s", &interface));
  const auto userID = std::strtoul(path.substr(kUser.size()).data(), nullptr, 10);
  const auto account = mAccounts.find(static_cast<std::uint32_t>(userID));
  if (account == mAccounts.end() ||
      std::string_view(interface) != "com.endlessm.ParentalControls.SessionLimits") {
    return answerOdd(message, "gone");
  }
  unsigned type = 0;
  unsigned start = 0;
  unsigned end = 86400;
  const auto& text = account->second;
  if (!text.empty() && std::sscanf(text.c_str(), "%u,%u,%u", &type, &start, &end) != 3) {
    return answerOdd(message, text);
  }
  return answerLimit(message, type, start, end);
}
