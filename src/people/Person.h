#pragma once

#include <memory>
#include <string>
#include <vector>

#include "listing/ListedUser.h"

namespace gatehall {

/// What the service answered about one user's login, so far.
struct Admission {
  enum class State {
    Unknown,  ///< not asked, or no answer: shown like one who may log in
    MayLogIn,
    MayNotLogIn
  };

  State state = State::Unknown;
  std::string sentence{};  ///< what the person should be told; "": nothing
  /// Of MayNotLogIn: they may, but for the time of day, which not every machine's PAM looks at.
  bool isByHours = false;

  friend bool operator==(const Admission&, const Admission&) = default;
};

/// A row of the list.
struct Person {
  std::shared_ptr<const ListedUser> user;
  Admission admission{};
};

}  // namespace gatehall
