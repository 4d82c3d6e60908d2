#include "linux/local/Users.h"

#include <algorithm>
#include <array>
#include <span>
#include <unordered_set>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/local/Selection.h"
#include "linux/local/UnreadableLines.h"
#include "linux/records/AccountID.h"

namespace gatehall::local {

namespace {

/// Which lines of /etc/passwd a query wants.
class UserSelection : public Selection {
 public:
  UserSelection(Context& context, const QueryDescription& description)
      : Selection(description, kIDFields),
        mRecords(context.userRecords()),
        mMachineGUIDs(context.host().guids) {
    if (!mGUIDs.empty()) mMachineGUIDs.requireMachineID();
    for (const auto& guid : mGUIDs) {
      if (const auto id = mMachineGUIDs.rememberedUserID(guid)) {
        mIDs.insert(*id);
      } else {
        mHashesAll = true;
      }
    }
  }

  using Selection::takes;

  /// The id or GUID by which the line is asked for; empty when it can't be told.
  std::string numberOf(std::string_view line) const {
    if (mWay == Way::ID) return idText(line, mIDField);
    const auto id = accountID(accountLine::field(line, kUserIDField));
    return id ? uuidText(mMachineGUIDs.ofUser(*id)) : idText(line, kUserIDField);
  }

  bool takes(std::string_view line) {
    switch (mWay) {
      case Way::All:
      case Way::Value:
        return true;
      case Way::Name:
        return takesName(accountLine::name(line));
      case Way::ID:
        return takesID(line);
      case Way::GUID:
        return takesGUID(line);
    }
    return false;
  }

  /// Nothing but lines with some user ids can be wanted.
  bool isByUserID() const {
    return mRecords.isEmpty() &&
           (mWay == Way::GUID || (mWay == Way::ID && mIDField == kUserIDField));
  }

  /// These ids. What is known of the file's lines spares making the GUID of each.
  const std::unordered_set<std::uint32_t>& userIDs(const PasswdLines::Snapshot& lines) {
    if (mHashesAll) {
      for (const auto& guid : mGUIDs) {
        if (const auto id = lines.userIDOf(guid, mMachineGUIDs)) mIDs.insert(*id);
      }
      mHashesAll = false;
    }
    return mIDs;
  }

  bool isImpossible() const {
    // A user record may have a GUID that no machine id makes.
    const bool mayHaveAnyGUID = mWay == Way::GUID && mValues.size() > 0 && !mRecords.isEmpty();
    return Selection::isImpossible() && !mayHaveAnyGUID;
  }

 private:
  static constexpr std::size_t kUserIDField = 2;
  static constexpr std::size_t kGroupIDField = 3;
  static constexpr std::array<IDField, 2> kIDFields{
      {{attribute::UniqueID, kUserIDField}, {attribute::PrimaryGroupID, kGroupIDField}}};

  bool takesName(std::string_view name) const {
    if (mValues.matches(name)) return true;
    if (mRecords.isEmpty()) return false;
    const auto record = mRecords.named(name);
    return record && mValues.matchesAny(record->aliases);
  }

  bool takesGUID(std::string_view line) {
    if (!mRecords.isEmpty()) {
      const auto record = mRecords.named(accountLine::name(line));
      if (record && record->uuid) return true;  // the record as a whole decides
    }
    const auto id = accountID(accountLine::field(line, kUserIDField));
    if (!id || mIDs.contains(*id)) return true;
    return mHashesAll && mGUIDs.contains(mMachineGUIDs.ofUser(*id));
  }

  const UserRecords& mRecords;
  MachineGUIDs& mMachineGUIDs;
  bool mHashesAll = false;  ///< for GUIDs that were not made lately
};

bool isReadable(std::string_view line, std::string& fault) {
  return parsePasswdLine(line, fault).has_value();
}

constexpr LineFormat kFormat{accountFiles::kPasswd, 7, isReadable};

/// Raises PlatformException when what was asked for and not found may stand in a user record that
/// can't be read. Those of accounts that have a line are none of these, but where a record's own
/// GUID may be asked for: the line says what their name and user id are.
void requireNoHiddenRecord(Context& context, const UserSelection& selection,
                           std::span<const std::shared_ptr<User>> found,
                           const std::unordered_set<std::string_view>& haveLines) {
  const auto& records = context.userRecords();
  if (records.unreadable().empty() && records.folderFault().empty()) return;
  if (selection.lacksGUID(found)) context.requireReadableRecords();
  const bool isForSingleOnes = selection.isByExactName() || selection.isByNumber();
  const auto missing = selection.missing(found);
  if (isForSingleOnes && missing.empty()) return;
  if (!records.folderFault().empty()) throw PlatformException(records.folderFault());
  for (const auto& [name, fault] : records.unreadable()) {
    if (haveLines.contains(name)) continue;
    if (!selection.isByExactName() || missing.contains(name)) throw PlatformException(fault);
  }
}

}  // namespace

std::vector<std::shared_ptr<User>> findUsers(const std::shared_ptr<Context>& context,
                                             const QueryDescription& description,
                                             bool allowPartial) {
  auto& host = context->host();
  const auto& records = context->userRecords();
  UserSelection selection(*context, description);
  if (selection.isImpossible()) return {};

  Found<User> found(selection, description.maximumResults);
  DoubtfulLines doubtful(kFormat);
  std::unordered_set<std::string_view> recordsUsed;
  const auto take = [&](std::string_view line, std::uint64_t number) {
    if (!records.isEmpty()) {
      const auto name = accountLine::name(line);
      const auto record = records.named(name);
      if (record) recordsUsed.insert(record->userName);
      const auto hidden = records.unreadable().find(name);
      if (hidden != records.unreadable().end()) recordsUsed.insert(hidden->first);
    }
    if (!selection.takes(line)) return true;
    std::string fault;
    const auto entry = parsePasswdLine(line, fault);
    if (!entry) {
      if (!line.empty()) host.faults.report(accountFiles::kPasswd, number, fault);
      if (selection.isByNumber()) doubtful.add(number, selection.numberOf(line), fault);
      return true;
    }
    if (!found.isNew(entry->name)) return true;
    auto record = records.isEmpty() ? nullptr : context->userRecordFor(*entry, fault);
    if (!fault.empty() && !context->isAdministrator(entry->name, entry->groupID)) {
      if (allowPartial) return true;
      throw PlatformException(fault);
    }
    auto user = std::make_shared<User>(context, line, *entry, std::move(record));
    if (records.isEmpty() || selection.isByValue() || selection.takes(*user)) {
      found.add(std::move(user));
    }
    // A record may give a name that was asked for to an account further down.
    return !found.isFull() && !(records.isEmpty() && found.hasAllNames());
  };
  const auto lines = selection.isByUserID() ? host.passwdLines.current() : nullptr;
  if (lines) {
    lines->visit(selection.userIDs(*lines), take);
  } else {
    accountFiles::scanRequired(host.options, host.faults, accountFiles::kPasswd, take);
  }
  for (const auto& record : records.all()) {
    if (found.isFull() || recordsUsed.contains(record->userName) || !record->userID) continue;
    auto user = std::make_shared<User>(context, record);
    if (selection.isByValue() || selection.takes(*user)) found.add(std::move(user));
  }
  const auto missing = [&] { return selection.missing(found.records()); };
  const bool isNameMissing = selection.isByExactName() && !found.hasAllNames();
  if (!found.isFull()) {
    if (isNameMissing) requireNotHidden(host, kFormat, missing);
    if (!doubtful.isEmpty()) doubtful.require(missing());
  }
  if (!found.isFull() && !allowPartial) {
    requireNoHiddenRecord(*context, selection, found.records(), recordsUsed);
  }

  if (asksFor(description, attribute::Password) ||
      asksFor(description, attribute::AuthenticationAuthority)) {
    User::fetchShadow(*context, found.records());
  }
  if (asksFor(description, attribute::Picture) ||
      asksFor(description, attribute::AuthenticationHint)) {
    User::fetchAccountsService(*context, found.records());
  }
  if (asksFor(description, attribute::TavloSettings)) {
    User::fetchSessionLimits(*context, found.records());
  }
  return found.take();
}

std::shared_ptr<User> userNamed(const std::shared_ptr<Context>& context, std::string_view name) {
  const auto found = findUsers(context, queryByName(record::Users, name));
  if (found.empty()) return nullptr;
  const auto login =
      std::ranges::find_if(found, [&](const auto& user) { return user->loginName() == name; });
  return login == found.end() ? found.front() : *login;
}

}  // namespace gatehall::local
