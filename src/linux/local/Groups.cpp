#include "linux/local/Groups.h"

#include <algorithm>
#include <map>
#include <unordered_set>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/accounts/Group.h"
#include "linux/files/FaultLog.h"
#include "linux/local/GUIDs.h"
#include "linux/records/AccountID.h"
#include "linux/records/MatchValues.h"

namespace gatehall::local {

namespace {

constexpr std::size_t kGroupIDField = 2;

/// Decides, from as little of a line as possible, which groups a query wants. A line whose id
/// can't be read is taken, so that reading it whole says what is wrong with it.
class GroupSelection {
 public:
  GroupSelection(Context& context, const QueryDescription& description)
      : mGUIDs(context.host().guids),
        mKind(attribute::canonical(description.attribute)),
        mValues(description.match, description.values) {
    const bool isAll =
        std::ranges::find(description.values, attribute::AllRecords) != description.values.end();
    if (mKind == attribute::RecordName) {
      mWay = isAll ? Way::All : Way::Name;
    } else if (mValues.isExact() && mKind == attribute::PrimaryGroupID) {
      mWay = Way::GroupID;
      mIDs = mValues.accountIDs();
    } else if (mValues.isExact() && mKind == attribute::GUID) {
      mWay = Way::GUID;
      mWanted = localGUIDs(mValues);
    }
  }

  bool takes(std::string_view line) {
    switch (mWay) {
      case Way::All:
      case Way::Value:
        return true;
      case Way::Name:
        return mValues.matches(accountLine::name(line));
      case Way::GroupID:
      case Way::GUID:
        break;
    }
    const auto id = accountID(accountLine::field(line, kGroupIDField));
    if (!id) return true;
    return mWay == Way::GroupID ? mIDs.contains(*id) : mWanted.contains(mGUIDs.ofGroup(*id));
  }

  bool takes(Group& group) const {
    if (mWay == Way::All) return true;
    const auto values = group.valuesForAttribute(mKind);
    return values && mValues.matchesAny(*values);
  }

  /// Every group has to be asked for its value.
  bool isByValue() const { return mWay == Way::Value; }

  bool isByExactName() const { return mWay == Way::Name && mValues.isExact(); }

  bool wantsNothingButNames(std::size_t found) const {
    return isByExactName() && found == mValues.size();
  }

  bool isImpossible() const {
    return mValues.size() == 0 || (mWay == Way::GroupID && mIDs.empty()) ||
           (mWay == Way::GUID && mWanted.empty());
  }

  /// False when the group "admin" can't be among the results, so that what it is made of need not
  /// be collected.
  bool mayWantAdmin() const { return !isByExactName() || mValues.matches(kAdminGroupName); }

 private:
  enum class Way { All, Name, GroupID, GUID, Value };

  MachineGUIDs& mGUIDs;
  std::string mKind;
  MatchValues mValues;
  Way mWay = Way::Value;
  std::unordered_set<std::uint32_t> mIDs;
  GUIDSet mWanted;
};

bool needsMembers(const QueryDescription& description) {
  const auto isOfMembers = [](std::string_view each) {
    const auto kind = attribute::canonical(each);
    return kind == attribute::GroupMembership || kind == attribute::GroupMembers;
  };
  return isOfMembers(description.attribute) ||
         std::ranges::any_of(description.returning, isOfMembers);
}

}  // namespace

std::vector<std::shared_ptr<Group>> findLocalGroups(const std::shared_ptr<Context>& context,
                                                    const QueryDescription& description) {
  std::vector<std::shared_ptr<Group>> found;
  auto& host = context->host();
  GroupSelection selection(*context, description);
  if (selection.isImpossible()) return found;

  const std::size_t limit = description.maximumResults;
  const bool mayWantAdmin = selection.mayWantAdmin();
  const auto isFull = [&] { return limit != 0 && found.size() >= limit && !selection.isByValue(); };
  const Strings none;
  const auto& adminGroups = mayWantAdmin ? context->settings().adminGroups : none;
  Group::Identity admin{std::string(kAdminGroupName), std::nullopt};
  std::vector<std::string> adminLines;
  std::unordered_set<std::string> namesFound;
  std::map<std::string, std::string, std::less<>> unreadable;
  accountFiles::scanRequired(
      host.options, host.faults, accountFiles::kGroup,
      [&](std::string_view line, std::uint64_t number) {
        const bool isWanted = selection.takes(line);
        if (!isWanted && !mayWantAdmin) return true;
        const auto name = accountLine::name(line);
        const bool isAdmin = name == kAdminGroupName;
        const bool isOfAdmin = std::ranges::find(adminGroups, name) != adminGroups.end();
        if (!isWanted && !isAdmin && !isOfAdmin) return true;
        std::string fault;
        const auto entry = parseGroupLine(line, fault);
        if (!entry) {
          host.faults.report(accountFiles::kGroup, number, fault);
          if (isWanted && selection.isByExactName()) unreadable.emplace(name, fault);
          return true;
        }
        if (isOfAdmin) adminLines.emplace_back(line);
        if (isAdmin) {
          if (!admin.groupID) admin.groupID = entry->groupID;
          return true;
        }
        if (isFull() || !isWanted) return true;
        if (selection.isByExactName() && !namesFound.emplace(name).second) return true;
        found.push_back(std::make_shared<Group>(context,
                                                Group::Identity{std::string(name), entry->groupID},
                                                std::vector<std::string>{std::string(line)}));
        return mayWantAdmin || !(isFull() || selection.wantsNothingButNames(found.size()));
      });
  if (mayWantAdmin && !isFull()) {
    auto group = std::make_shared<Group>(context, std::move(admin), std::move(adminLines));
    if (selection.isByValue() || selection.takes(*group)) found.push_back(std::move(group));
  }
  for (const auto& [name, fault] : unreadable) {
    // Who is asked whether a group exists must not hear that it doesn't: an access list that can't
    // be read would let everybody in.
    if (!namesFound.contains(name) && name != kAdminGroupName) {
      throw PlatformException(std::string(accountFiles::kGroup) + ": group " + printable(name) +
                              ": " + fault);
    }
  }
  if (needsMembers(description)) Group::fetchMembers(*context, found);
  if (selection.isByValue()) {
    std::erase_if(found, [&](const auto& group) { return !selection.takes(*group); });
    if (limit != 0 && found.size() > limit) found.resize(limit);
  }
  return found;
}

std::shared_ptr<Group> localGroupNamed(const std::shared_ptr<Context>& context,
                                       std::string_view name) {
  const auto found = findLocalGroups(context, {{std::string(record::Groups)},
                                               std::string(attribute::RecordName),
                                               MatchType::EqualTo,
                                               {std::string(name)},
                                               {},
                                               1});
  return found.empty() ? nullptr : found.front();
}

}  // namespace gatehall::local
