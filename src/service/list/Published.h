#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "listing/ListChange.h"
#include "listing/ListedUser.h"

namespace gatehall::service {

/// Whether somebody may know when users may log in.
enum class Hours { Told, LeftOut };

/// A state of the visible list.
struct Published {
  std::uint64_t serial;  ///< one more than that of the state before; of the first, any but 0
  std::shared_ptr<const ListedUsers> users;
  std::vector<ListChange> changes;  ///< since the state before; of the first, none
};

/// How the network directories answer (gatehall/access/NetworkStatus.h).
struct NetworkState {
  bool hasParentNetwork = false;
  bool parentNetworkExists = false;
  std::int32_t networkStatus = 0;

  friend bool operator==(const NetworkState&, const NetworkState&) = default;
};

/// Whom a Publisher tells. On the layer's main thread.
struct Audience {
  /// The list, and that of users without login hours, which has serials of its own, so that nothing
  /// tells of a change of hours; absent when it is as it was.
  std::function<void(Published, std::optional<Published> withoutHours)> list;
  std::function<void(std::string reason)> noList;  ///< none can be had, and none was before
  std::function<void(NetworkState)> network;
};

}  // namespace gatehall::service
