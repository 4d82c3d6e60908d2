#include "linux/ldap/Authentication.h"

#include <algorithm>
#include <string.h>

#include "base/Ascii.h"
#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "linux/ldap/PasswordPolicy.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ldap {

namespace {

// RFC 4511, appendix A.
constexpr int kBusy = 51;
constexpr int kUnavailable = 52;

bool refuse(DirectoryError& error, std::int64_t code) {
  error = {std::string(kDirectoryErrorDomain), code};
  return false;
}

/// Active Directory says in its diagnostic text why it refuses the right password.
std::int64_t codeOf(const BindResult& answer) {
  switch (answer.policy) {
    case BindResult::Policy::Locked:
      return directoryError::kAccountDisabled;
    case BindResult::Policy::Expired:
      return directoryError::kPasswordExpired;
    default:
      break;
  }
  const auto says = [&](std::string_view data) {
    return answer.result.diagnostic.find(", data " + std::string(data) + ",") != std::string::npos;
  };
  if (says("533") || says("701") || says("775")) return directoryError::kAccountDisabled;
  if (says("532") || says("773")) return directoryError::kPasswordExpired;
  return directoryError::kPasswordRefused;
}

/// Binds as the user; what a server can't decide raises DirectoryUnreachable.
bool bindAs(Connection& connection, const Entry& user, std::string_view password, Deadline deadline,
            DirectoryError& error) {
  const auto answer = connection.bind(std::string(user.dn), password, deadline);
  if (answer.result.isSuccess()) return true;
  if (answer.result.code == kBusy || answer.result.code == kUnavailable) {
    throw DirectoryUnreachable(connection.server().text + ": " + answer.result.text);
  }
  return refuse(error, codeOf(answer));
}

/// userPassword is one of crypt(3)'s hashes, and that of an empty field, as in shadow(5).
bool hasNoPassword(Directory& directory, const Entry& user) {
  auto stored = directory.readAttribute(user.dn, "userPassword");
  const bool hasNone = std::ranges::any_of(
      stored.values, [&](const std::string& value) { return ascii::isSame(value, "{crypt}"); });
  for (auto& value : stored.values) explicit_bzero(value.data(), value.size());
  return hasNone;
}

}  // namespace

bool verifyPassword(Directory& directory, const Entry& user, std::string_view password,
                    DirectoryError& error) {
  if (standingOf(directory, user) != Standing::Usable) {
    return refuse(error, directoryError::kAccountDisabled);
  }
  bool isAccepted = false;
  if (password.empty()) {
    isAccepted = hasNoPassword(directory, user) || refuse(error, directoryError::kPasswordRefused);
  } else {
    directory.runUnbound([&](Connection& connection) {
      isAccepted = bindAs(connection, user, password, directory.servers().answerDeadline(), error);
    });
  }
  if (isAccepted) error = {};
  return isAccepted;
}

bool changePassword(Directory& directory, const Entry& user, std::string_view oldPassword,
                    std::string_view newPassword, DirectoryError& error) {
  if (oldPassword.empty()) return refuse(error, directoryError::kPasswordRefused);
  // Without a new password a server makes one up.
  if (newPassword.empty()) return refuse(error, directoryError::kNewPasswordRefused);
  bool isChanged = false;
  directory.runUnbound([&](Connection& connection) {
    const auto& servers = directory.servers();
    if (!bindAs(connection, user, oldPassword, servers.answerDeadline(), error)) return;
    const auto result = connection.changePassword(std::string(user.dn), oldPassword, newPassword,
                                                  servers.answerDeadline());
    constexpr int kProtocolError = 2;  // of a server that doesn't know the operation
    isChanged =
        result.isSuccess() ||
        refuse(error, result.code == kProtocolError ? directoryError::kPasswordServiceUnavailable
                                                    : directoryError::kNewPasswordRefused);
  });
  if (isChanged) error = {};
  return isChanged;
}

}  // namespace gatehall::ldap
