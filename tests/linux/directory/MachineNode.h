#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "gatehall/base/PlatformException.h"
#include "linux/records/NetworkNode.h"
#include "tests/linux/Machine.h"

namespace gatehall {

/// A network directory whose accounts are another machine's.
class MachineNode final : public NetworkNode {
 public:
  explicit MachineNode(std::string name = "ldap/example") : mName(std::move(name)) {
    machine.write("/etc/machine-id", "fedcba9876543210fedcba9876543210\n");
  }

  std::optional<std::string> nodeName() override { return mName; }
  std::optional<Strings> subnodeNames() override { return std::nullopt; }
  std::optional<Strings> unreachableSubnodeNames() override { return std::nullopt; }
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type, std::string_view name,
                                                       const Strings& attributes) override {
    return machine.local()->recordByTypeAndName(type, name, attributes);
  }
  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override {
    ++queries;
    if (whenAsked) std::exchange(whenAsked, nullptr)();
    if (fails) throw PlatformException("The directory went away.");
    if (isMute) return std::make_shared<Answer>(std::nullopt);
    const bool asksForGroups = description.recordTypes == Strings{std::string(record::Groups)};
    if (group && asksForGroups) return std::make_shared<Answer>(Records{group});
    return machine.local()->query(std::move(description));
  }
  std::optional<std::string> whyUnreachable() override { return away; }
  bool isIgnoredWhenAway() const override { return isIgnored; }
  Reached reach() override { return {}; }

  Machine machine;
  std::optional<std::string> away;  ///< why
  bool isIgnored = false;
  bool fails = false;
  bool isMute = false;                     ///< its queries come to no answer
  std::shared_ptr<DirectoryRecord> group;  ///< the answer to every question for groups
  int queries = 0;
  std::function<void()> whenAsked;  ///< for once

 private:
  using Records = std::vector<std::shared_ptr<DirectoryRecord>>;

  class Answer final : public DirectoryQuery {
   public:
    explicit Answer(std::optional<Records> records) : mRecords(std::move(records)) {}
    std::optional<Records> results(bool) override { return mRecords; }

   private:
    const std::optional<Records> mRecords;
  };

  const std::string mName;
};

}  // namespace gatehall
