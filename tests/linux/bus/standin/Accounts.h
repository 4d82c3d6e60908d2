#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <systemd/sd-bus.h>

/// AccountsService with malcontent's session limits.
class Accounts {
 public:
  /// "UID": without a limit. "UID,TYPE,START,END": with that limit. "UID,WORD": answers, asked for
  /// its limit, by "denied" or "gone", or with a text, a real, one number or nothing where the type
  /// or the schedule stands: "type-text", "type-real", "no-type", "schedule-number",
  /// "schedule-reals", "no-schedule".
  void add(const std::string& account);

  /// Answers a call, which it prints, too.
  int answer(sd_bus_message* message) const;

 private:
  int listCachedUsers(sd_bus_message* message) const;
  int getAll(sd_bus_message* message) const;

  std::map<std::uint32_t, std::string> mAccounts;  ///< what follows the user id
};
