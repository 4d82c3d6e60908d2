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

/// A copy of a line, with what was read from it: of as many as there are accounts, so a small one.
class PasswdLine {
 public:
  /// Of a line that parsePasswdLine reads as that entry.
  PasswdLine(std::string_view line, const PasswdEntry& entry);

  /// The texts point into this copy.
  PasswdEntry entry() const;

  std::string_view name() const { return std::string_view(mText).substr(0, mNameLength); }
  std::uint32_t userID() const { return mUserID; }

 private:
  std::string mText;
  std::uint32_t mUserID = 0;
  std::uint32_t mGroupID = 0;
  std::uint32_t mNameLength = 0;
  std::uint32_t mPasswordLength = 0;
  std::uint32_t mGecosAt = 0;
  std::uint32_t mHomeDirectoryAt = 0;
  std::uint32_t mShellAt = 0;
};

/// The full name that a GECOS field gives: up to the first comma, every & replaced by the login
/// name with a capital first letter.
std::string fullNameOfGecos(std::string_view gecos, std::string_view loginName);

}  // namespace gatehall
