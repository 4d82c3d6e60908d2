#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "gatehall/base/Value.h"
#include "linux/accounts/MachineGUIDs.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::nss {

enum class Type { User, Group };

/// The GUIDs of the directories behind the name service, which knows of none. Each is the version-5
/// UUID of the text "NODE/user/NAME" or "NODE/group/NAME" in a namespace of Gatehall's: the same on
/// every machine where the node and the account have these names. No GUID can be turned back into
/// the name, so those of every name that was seen are remembered, for all of the nodes: they ask
/// the same service. From any thread.
class GUIDs {
 public:
  /// How a name came to be known.
  enum class Known {
    Listed,  ///< as that of a group's member, of whom nothing else was asked
    Met,     ///< as that of a user or group of the directory
    Set,  ///< by the settings, for good: those of all others are forgotten when they are too many
  };

  struct Named {
    std::string_view nodeName;  ///< as long as these GUIDs are there
    Type type;
    std::string name;
    Known known;
  };

  explicit GUIDs(Strings nodeNames, std::size_t mostRemembered = kMostRemembered)
      : mNodeNames(std::move(nodeNames)), mMostRemembered(mostRemembered) {}

  /// At one of the nodes. Remembers the name.
  UUIDBytes of(std::string_view nodeName, Type type, std::string_view name, Known known);

  /// The same of a user who is one of many members, whose names list() remembers.
  static UUIDBytes ofMember(std::string_view nodeName, std::string_view name);

  /// Remembers the names of a group's members as listed.
  void list(Strings memberNames);

  /// Absent when it is of no name that was seen.
  std::optional<Named> named(const UUIDBytes& guid);

 private:
  static constexpr std::size_t kMostRemembered = 1000000;

  UUIDBytes remember(std::string_view nodeName, Type type, std::string_view name, Known known);
  void rememberListed();

  const Strings mNodeNames;
  const std::size_t mMostRemembered;
  std::mutex mMutex;
  std::unordered_map<UUIDBytes, Named, GUIDHash> mNamed;
  Strings mListed;  ///< what isn't in there yet: few ask who one of many members is
};

}  // namespace gatehall::nss
