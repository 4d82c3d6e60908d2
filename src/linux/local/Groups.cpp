#include "linux/local/Groups.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/accounts/Group.h"
#include "linux/files/FaultLog.h"
#include "linux/local/AdminGroup.h"
#include "linux/local/Selection.h"
#include "linux/local/UnreadableLines.h"
#include "linux/records/AccountID.h"

namespace gatehall::local {

namespace {

/// Which lines of /etc/group a query wants.
class GroupSelection : public Selection {
 public:
  GroupSelection(Context& context, const QueryDescription& description)
      : Selection(description, kIDFields), mMachineGUIDs(context.host().guids) {
    if (!mGUIDs.empty()) mMachineGUIDs.requireMachineID();
  }

  using Selection::isImpossible;
  using Selection::takes;

  /// The id or GUID by which the line is asked for; empty when it can't be told.
  std::string numberOf(std::string_view line) const {
    if (mWay == Way::ID) return idText(line, mIDField);
    const auto id = accountID(accountLine::field(line, kGroupIDField));
    return id ? uuidText(mMachineGUIDs.ofGroup(*id)) : idText(line, kGroupIDField);
  }

  bool takes(std::string_view line) const {
    switch (mWay) {
      case Way::All:
      case Way::Value:
        return true;
      case Way::Name:
        return mValues.matches(accountLine::name(line));
      case Way::ID:
        return takesID(line);
      case Way::GUID:
        return takesGUID(line);
    }
    return false;
  }

  /// False when the group "admin" can't be among the results, so that what it is made of need not
  /// be collected.
  bool mayWantAdmin() const { return !isByExactName() || mValues.matches(AdminGroup::kName); }

  /// Root is an administrator without any file.
  bool asksForAdminOnly() const { return mValues.size() == 1 && isByExactName() && mayWantAdmin(); }

 private:
  static constexpr std::size_t kGroupIDField = 2;
  static constexpr std::array<IDField, 1> kIDFields{{{attribute::PrimaryGroupID, kGroupIDField}}};

  bool takesGUID(std::string_view line) const {
    const auto id = accountID(accountLine::field(line, kGroupIDField));
    return !id || mGUIDs.contains(mMachineGUIDs.ofGroup(*id));
  }

  MachineGUIDs& mMachineGUIDs;
};

bool isReadable(std::string_view line, std::string& fault) {
  return parseGroupLine(line, fault).has_value();
}

constexpr LineFormat kFormat{accountFiles::kGroup, 4, isReadable};

}  // namespace

std::vector<std::shared_ptr<Group>> findGroups(const std::shared_ptr<Context>& context,
                                               const QueryDescription& description) {
  auto& host = context->host();
  const GroupSelection selection(*context, description);
  if (selection.isImpossible()) return {};

  Found<Group> found(selection, description.maximumResults);
  std::optional<AdminGroup> admin;
  if (selection.mayWantAdmin()) admin.emplace(context->settings());
  DoubtfulLines doubtful(kFormat);
  const auto take = [&](std::string_view line, std::uint64_t number) {
    const bool isWanted = selection.takes(line);
    const auto name = accountLine::name(line);
    const bool isOfAdmin = admin && admin->isMadeOf(name);
    if (!isWanted && !isOfAdmin) return true;
    std::string fault;
    const auto entry = parseGroupLine(line, fault);
    if (!entry) {
      host.faults.report(accountFiles::kGroup, number, fault);
      if (isWanted && selection.isByNumber()) doubtful.add(number, selection.numberOf(line), fault);
      return true;
    }
    if (isOfAdmin) admin->add(*entry, line);
    if (!isWanted || name == AdminGroup::kName) return true;
    if (found.isFull() || !found.isNew(name)) return true;
    found.add(std::make_shared<Group>(context, Group::Identity{std::string(name), entry->groupID},
                                      std::vector<std::string>{std::string(line)}));
    return admin || !(found.isFull() || found.hasAllNames());
  };
  const int error = accountFiles::scan(host.options, host.faults, accountFiles::kGroup, take);
  if (error != 0 && (error != ENOENT || !selection.asksForAdminOnly())) {
    throw PlatformException(std::string(accountFiles::kGroup) + ": " + strerrordesc_np(error));
  }
  if (admin && !found.isFull()) {
    auto group = admin->make(context);
    if (selection.isByValue() || selection.takes(*group)) found.add(std::move(group));
  }
  const auto missing = [&] { return selection.missing(found.records()); };
  const bool isNameMissing = selection.isByExactName() && !found.hasAllNames();
  if (!found.isFull()) {
    if (isNameMissing) requireNotHidden(host, kFormat, missing);
    if (!doubtful.isEmpty()) doubtful.require(missing());
  }
  if (asksFor(description, attribute::GroupMembership) ||
      asksFor(description, attribute::GroupMembers)) {
    Group::fetchMembers(*context, found.records());
  }
  return found.take();
}

std::shared_ptr<Group> groupNamed(const std::shared_ptr<Context>& context, std::string_view name) {
  auto query = queryByName(record::Groups, name);
  query.maximumResults = 1;
  const auto found = findGroups(context, query);
  return found.empty() ? nullptr : found.front();
}

}  // namespace gatehall::local
