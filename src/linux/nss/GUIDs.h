#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "gatehall/base/Value.h"

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
  };

  struct Named {
    std::string nodeName;
    Type type;
    std::string name;
    Known known;
  };

  explicit GUIDs(Strings nodeNames) : mNodeNames(std::move(nodeNames)) {}

  /// At one of the nodes, as uuidText has it. Remembers the name.
  std::string of(std::string_view nodeName, Type type, std::string_view name, Known known);

  /// The name of a GUID as uuidText has it; absent when it was of no name that was seen.
  std::optional<Named> named(const std::string& guid);

 private:
  const Strings mNodeNames;
  std::mutex mMutex;
  std::unordered_map<std::string, Named> mNamed;
};

}  // namespace gatehall::nss
