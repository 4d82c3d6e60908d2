#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "gatehall/platform/DirectoryService.h"
#include "linux/local/Context.h"

namespace gatehall::local {

/// A group of the local node: a line of /etc/group; the group "admin", a line for each of the
/// groups it is made of. Its members are those that the lines name, those whose user records say
/// so, and those whose primary group it is, accounts from elsewhere included. Of accounts from
/// elsewhere the lines mean those with that login name, the first of the names that a record has;
/// of the group "admin" nothing else makes them members.
class Group final : public DirectoryRecord {
 public:
  /// What tells a group from others. Only "admin" can be without a group id.
  struct Identity {
    std::string name;
    std::optional<std::uint32_t> groupID;
    bool isOfAdministrators = false;
  };

  /// The lines are such as parseGroupLine reads. The first members are in the group whatever the
  /// lines say.
  Group(std::shared_ptr<Context> context, Identity identity, std::vector<std::string> memberLines,
        Strings firstMembers = {});

  /// Fetches the members of groups that don't have them yet, in one pass over the accounts.
  static void fetchMembers(Context& context, std::span<const std::shared_ptr<Group>> groups);

  /// Whether a local account of that name and primary group is in it, by its lines alone.
  bool holds(std::string_view loginName, std::optional<std::uint32_t> groupID);

  std::string recordType() override;
  std::optional<Strings> valuesForAttribute(std::string_view kind) override;
  std::optional<Dictionary> recordDetails(const Strings& kinds) override;
  bool setValue(std::string_view value, std::string_view kind) override;
  bool verifyPassword(std::string_view password, DirectoryError& error) override;
  bool changePassword(std::string_view oldPassword, std::string_view newPassword,
                      DirectoryError& error) override;
  bool isMember(DirectoryRecord& member) override;
  std::optional<Dictionary> passwordPolicy() override;
  bool synchronize() override;

 private:
  struct Member {
    std::string name;
    std::optional<UUIDBytes> guid;  ///< empty when no local account has the name
  };

  /// A group's members as they are collected: each name once.
  class MemberList;

  // All of these are called under mMutex.
  Strings values(std::string_view kind);
  Strings memberNames();
  Strings memberGUIDs();
  bool hasMemberNamed(std::string_view name);
  bool hasMemberWithGroupID(std::uint32_t groupID) const;
  bool hasMemberWithGroupID(const Strings& groupIDs) const;
  void keepLines(std::vector<std::string> memberLines);

  bool hasMemberFromElsewhere(const Strings& names, const Strings& groupIDs);

  static void collectMembers(Context& context, std::span<Group* const> groups);
  static void collectFromElsewhere(Host& host, std::span<Group* const> groups,
                                   std::span<MemberList> lists);

  mutable std::mutex mMutex;
  const std::shared_ptr<Host> mHost;
  std::shared_ptr<Context> mContext;
  Identity mIdentity;
  const Strings mFirstMembers;
  std::vector<std::string> mMemberLines;
  std::vector<std::uint32_t> mGroupIDs;  ///< of the lines
  bool mWasAskedForName = false;
  /// The names in the lines, once a second one is asked for.
  std::optional<std::unordered_set<std::string_view>> mNamesInLines;
  std::optional<std::vector<Member>> mMembers;
};

}  // namespace gatehall::local
