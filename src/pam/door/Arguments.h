#pragma once

#include <span>
#include <string_view>

#include "pam/door/Services.h"

namespace gatehall::pam {

/// What the line of a PAM service gives the module: "services=login,sshd", the names of the
/// services that it guards; "on-undecidable=refuse" or "=admit"; "hours=no" or "=yes", whether
/// login hours of parental controls count. Each at most once.
struct Arguments {
  std::string_view services = kUsualServices;
  bool admitsUndecidable = false;
  bool hours = false;

  const char* fault = nullptr;   ///< why they can't be used; nullptr: they can
  std::string_view faulty = {};  ///< the argument that the fault is about
};

/// Reads them. After a fault everything but the fault is as without arguments, and but for services
/// that can be read. The texts point into the words.
Arguments readArguments(std::span<const std::string_view> words);

/// Whether the module with these arguments guards the service: one that they name, and after a
/// fault also one of the usual ones.
bool guards(const Arguments& arguments, std::string_view service);

}  // namespace gatehall::pam
