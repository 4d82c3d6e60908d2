#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/users/CachedUserList.h"
#include "tests/Cast.h"
#include "tests/InstalledWorld.h"

namespace gatehall {

/// A case on the cast's machine, with no records at first.
class Machine : public InstalledWorld {
 protected:
  using Attributes = std::vector<std::pair<std::string, Strings>>;

  Machine() { install(cast::machine({})); }

  std::shared_ptr<WorldRecord> addUser(Attributes attributes,
                                       std::string_view node = cast::kLocalNode) {
    return addRecord(record::Users, std::move(attributes), node);
  }

  std::shared_ptr<WorldRecord> addGroup(Attributes attributes,
                                        std::string_view node = cast::kLocalNode) {
    return addRecord(record::Groups, std::move(attributes), node);
  }

  /// The first record of the type and name as the layer finds it.
  static std::shared_ptr<DirectoryRecord> recordNamed(std::string_view type, std::string_view name,
                                                      std::string_view node = cast::kLocalNode) {
    return nodeWithName(node)->recordByTypeAndName(type, name, {});
  }

  static std::shared_ptr<CachedUser> userNamed(std::string_view name,
                                               std::string_view node = cast::kLocalNode) {
    return CachedUser::cachedUserWithDirvoRecord(recordNamed(record::Users, name, node));
  }

  /// What the trace says of a query for records whose attribute equals one of the values.
  static Call queryCall(std::string_view node, Strings recordTypes, std::string_view attribute,
                        Strings values, Strings returning) {
    return {"query",
            {{"node", node},
             {"recordTypes", std::move(recordTypes)},
             {"attribute", attribute},
             {"match", "equal to"},
             {"values", std::move(values)},
             {"returning", std::move(returning)},
             {"maximumResults", 0}}};
  }

  /// The same for one for users, asking for all that a user is asked.
  static Call usersQueryCall(std::string_view node, std::string_view attribute, Strings values) {
    return queryCall(node, {"Users"}, attribute, std::move(values),
                     CachedUser::desiredAttributes());
  }

  static Strings shortNames(const CachedUserList& list) {
    Strings names;
    for (const auto& user : list) names.push_back(user->shortName().value_or("(none)"));
    return names;
  }

 private:
  std::shared_ptr<WorldRecord> addRecord(std::string_view type, Attributes attributes,
                                         std::string_view node) {
    RecordDescription description;
    description.type = type;
    description.attributes = std::move(attributes);
    return mWorld->directory().node(node)->addRecord(std::move(description));
  }
};

}  // namespace gatehall
