#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace gatehall {

/// One line of passwd(5). The texts point into the line.
struct PasswdEntry {
  std::string_view name;
  std::string_view password;
  std::uint32_t userID = 0;
  std::uint32_t groupID = 0;
  std::string_view gecos;
  std::string_view homeDirectory;
  std::string_view shell;
};

/// Reads a line; empty when it can't be read, with the reason in fault.
std::optional<PasswdEntry> parsePasswdLine(std::string_view line, std::string& fault);

/// The same entry of a copy of its line.
PasswdEntry entryOfCopy(const PasswdEntry& entry, std::string_view line, std::string_view copy);

/// The full name that a GECOS field gives: up to the first comma, every & replaced by the login
/// name with a capital first letter.
std::string fullNameOfGecos(std::string_view gecos, std::string_view loginName);

}  // namespace gatehall
