#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "gatehall/base/Value.h"
#include "listing/ListChange.h"
#include "listing/ListedUser.h"

namespace gatehall {

/// A copy of the list that gatehalld(8) publishes (docs/bus.md), and the state that it is of. What
/// the service says is believed only as far as it can be.
class ListCopy {
 public:
  const ListedUsers& users() const { return mUsers; }
  std::uint64_t serial() const { return mSerial; }

  enum class Page {
    Last,          ///< the list is whole by it
    More,          ///< there are others
    OfOtherState,  ///< than those before, so that all have to be read anew
    Unreadable,
  };

  /// Adds a page, as ListUsers answers: its serial, the total and the users.
  Page add(const Array& page);

  /// Applies changes, as ListChanges answers behind the serial and "complete": what they are for
  /// whoever had the copy before. Absent, and the copy as it was, when they aren't for this one.
  std::optional<std::vector<ListChange>> apply(std::uint64_t serial, const Value& changes);

 private:
  ListedUsers mUsers;
  std::uint64_t mSerial = 0;
};

}  // namespace gatehall
