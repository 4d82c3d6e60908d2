#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "accounts/Whom.h"
#include "gatehall/base/Value.h"

namespace gatehall::service {

/// What a client wants to know of one account. Equal ones have equal answers.
struct Question {
  enum class Kind { CanLogIn, Explain, User };

  Kind kind;
  Whom whom;
  std::string locale{};       ///< of the sentences, "de_AT.UTF-8"; "": the machine's
  bool mayKnowHours = false;  ///< who asks may know everybody's login hours, or explanation

  /// Of who may not, the user id that is told its own all the same; Questions::ask sees to it.
  std::optional<std::uint32_t> ownUserID{};

  friend bool operator==(const Question&, const Question&) = default;
};

/// An error as the bus knows it.
struct Failure {
  std::string name;  ///< "com.orvane.Gatehall1.Error.NoSuchUser"
  std::string text;  ///< a sentence without a full stop

  friend bool operator==(const Failure&, const Failure&) = default;
};

/// The name of the failure of who may not know.
inline constexpr std::string_view kAccessDenied = "org.freedesktop.DBus.Error.AccessDenied";

using Answer = std::variant<Dictionary, Failure>;

}  // namespace gatehall::service
