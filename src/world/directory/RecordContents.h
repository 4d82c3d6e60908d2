#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "gatehall/base/Value.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// An account or a group to put into a world.
struct RecordDescription {
  std::string type;  ///< one of the names in gatehall::record
  /// Kinds by suffix or in full, each once. Without MetaNodeLocation the node's name is added.
  std::vector<std::pair<std::string, Strings>> attributes;
  std::optional<std::string> password;  ///< what is accepted; none: no password is
  std::optional<Dictionary> policy;
  /// What a refused password says about itself.
  DirectoryError refusal = {};
  /// Kinds that can't be read, and why.
  std::map<std::string, std::string, std::less<>> unreadable = {};
};

/// What a record holds at one moment. Shared by everyone who has read the record, and never
/// changed: a write puts another one in its place.
struct RecordContents {
  struct Attribute {
    std::string_view kind;  ///< by suffix, of the directory that the record is in
    Strings values;
  };

  std::string_view type;  ///< of the directory that the record is in
  std::vector<Attribute> attributes;
  std::optional<std::string> password;
  std::optional<Dictionary> policy;
  DirectoryError refusal;
  std::map<std::string, std::string, std::less<>> unreadable;  ///< why, by kind

  /// Raises PlatformException when the kind can't be read.
  void requireReadable(std::string_view kind) const;

  /// The values of the kind (by suffix or in full); nullptr when there is no such attribute.
  const Strings* values(std::string_view kind) const;

  /// Whether one of the kind's values is the value.
  bool holds(std::string_view kind, std::string_view value) const;
};

}  // namespace gatehall
