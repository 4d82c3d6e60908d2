#pragma once

#include <optional>
#include <string>
#include <vector>

#include "gatehall/base/Value.h"
#include "listing/ListedUser.h"
#include "people/Person.h"
#include "people/Words.h"

namespace gatehall {

/// What stands out about a user in the list.
struct Mark {
  enum class Kind {
    InFront,      ///< the session on the screen is theirs
    LoggedIn,     ///< another session
    Until,        ///< they may be logged in until then
    From,         ///< they may log in again from then on, not now
    NotNow,       ///< they may not log in now, and when isn't known
    MayNotLogIn,  ///< at any time
  };

  Kind kind;
  std::optional<Moment> moment{};  ///< of Until and From

  friend bool operator==(const Mark&, const Mark&) = default;
};

/// Those of a user, the most important first. None is of a moment that is past.
std::vector<Mark> marksOf(const ListedUser& user, Date now);
/// With what is known of the login.
std::vector<Mark> marksOf(const Person& person, Date now);

/// A mark in words: "in front", "until 20:00", "from Sunday 9:00" (people/Times.h), of a moment
/// that is to come.
std::string markText(const Mark& mark, Date now, const Words& words);

}  // namespace gatehall
