#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "gatehall/base/Value.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "linux/records/AccountID.h"

namespace gatehall::nss {

/// One table [[directory]] of kind "nss"; gatehall-directory.toml(5) says what each setting means.
struct Settings {
  std::string name;
  std::uint64_t line = 0;                      ///< of its table
  std::string domain;                          ///< of the names that belong to it; "": of any
  UserIDRange userIDs;                         ///< of accounts; others' are left out
  UserIDRange groupIDs{1, UINT32_MAX - 1};     ///< as configured; all unless that is so
  Strings names;                               ///< whose GUIDs lists may hold
  Strings homes{"/home"};                      ///< folders; who owns one in them was seen here
  std::chrono::milliseconds timeLimit{10000};  ///< for one question

  /// Whether a name belongs to the directory by its domain part: NAME@DOMAIN or DOMAIN\NAME.
  bool mayHaveName(std::string_view accountName) const;

  struct Unusable {
    std::string place;  ///< "FILE:LINE"
    std::string fault;  ///< why, as the log says it
    std::uint64_t line = 0;
  };
  using Configured = std::variant<Settings, Unusable>;

  /// Those of that kind in the file's order. What is wrong with the file as a whole is told by who
  /// reads those of the other kind.
  static std::vector<Configured> readAll(const HostOptions& options, FaultLog& faults);
};

}  // namespace gatehall::nss
