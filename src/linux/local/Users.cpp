#include "linux/local/Users.h"

#include <algorithm>
#include <unordered_set>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/local/GUIDs.h"
#include "linux/records/AccountID.h"
#include "linux/records/MatchValues.h"

namespace gatehall::local {

namespace {

/// Decides, from as little of a line as possible, which lines of /etc/passwd a query wants. A line
/// whose id can't be read is taken, so that reading it whole says what is wrong with it.
class UserSelection {
 public:
  UserSelection(Context& context, const QueryDescription& description)
      : mRecords(context.userRecords()),
        mGUIDs(context.host().guids),
        mKind(attribute::canonical(description.attribute)),
        mValues(description.match, description.values) {
    const bool isAll =
        std::ranges::find(description.values, attribute::AllRecords) != description.values.end();
    if (mKind == attribute::RecordName) {
      mWay = isAll ? Way::All : Way::Name;
    } else if (mValues.isExact() && mKind == attribute::UniqueID) {
      mWay = Way::UserID;
      mIDs = mValues.accountIDs();
    } else if (mValues.isExact() && mKind == attribute::PrimaryGroupID) {
      mWay = Way::GroupID;
      mIDs = mValues.accountIDs();
    } else if (mValues.isExact() && mKind == attribute::GUID) {
      mWay = Way::GUID;
      prepareGUIDs();
    }
  }

  bool takes(std::string_view line) {
    switch (mWay) {
      case Way::All:
      case Way::Value:
        return true;
      case Way::Name:
        return takesName(accountLine::name(line));
      case Way::UserID:
        return takesID(line, kUserIDField);
      case Way::GroupID:
        return takesID(line, kGroupIDField);
      case Way::GUID:
        return takesGUID(line);
    }
    return false;
  }

  /// The last word on a record, where the line alone doesn't have it.
  bool takes(User& user) const {
    if (mWay == Way::All) return true;
    const auto values = user.valuesForAttribute(mKind);
    return values && mValues.matchesAny(*values);
  }

  /// Nothing but lines with some user ids can be wanted.
  bool isByUserID() const {
    return mRecords.isEmpty() && (mWay == Way::UserID || mWay == Way::GUID);
  }

  /// These ids. What is known of the file's lines spares making the GUID of each.
  const std::unordered_set<std::uint32_t>& userIDs(const PasswdLines::Snapshot& lines) {
    if (mHashesAll) {
      for (const auto& guid : mWanted) {
        if (const auto id = lines.userIDOf(guid, mGUIDs)) mIDs.insert(*id);
      }
      mHashesAll = false;
    }
    return mIDs;
  }

  /// Every record has to be asked for its value.
  bool isByValue() const { return mWay == Way::Value; }

  bool isByExactName() const { return mWay == Way::Name && mValues.isExact(); }

  /// No line further down can add to so many accounts found.
  bool isSatisfied(std::size_t found) const {
    return isByExactName() && mRecords.isEmpty() && found == mValues.size();
  }

  bool isImpossible() const {
    const bool needsIDs = mWay == Way::UserID || mWay == Way::GroupID;
    return mValues.size() == 0 || (needsIDs && mIDs.empty()) ||
           (mWay == Way::GUID && mIDs.empty() && !mHashesAll && mRecords.isEmpty());
  }

 private:
  enum class Way { All, Name, UserID, GroupID, GUID, Value };
  static constexpr std::size_t kUserIDField = 2;
  static constexpr std::size_t kGroupIDField = 3;

  bool takesName(std::string_view name) const {
    if (mValues.matches(name)) return true;
    if (mRecords.isEmpty()) return false;
    const auto record = mRecords.named(name);
    return record && mValues.matchesAny(record->aliases);
  }

  bool takesID(std::string_view line, std::size_t field) const {
    const auto id = accountID(accountLine::field(line, field));
    return !id || (mIDs.size() == 1 ? *mIDs.begin() == *id : mIDs.contains(*id));
  }

  bool takesGUID(std::string_view line) {
    if (!mRecords.isEmpty()) {
      const auto record = mRecords.named(accountLine::name(line));
      if (record && record->uuid) return true;  // the record as a whole decides
    }
    const auto id = accountID(accountLine::field(line, kUserIDField));
    if (!id || mIDs.contains(*id)) return true;
    return mHashesAll && mWanted.contains(mGUIDs.ofUser(*id));
  }

  void prepareGUIDs() {
    mWanted = localGUIDs(mValues);
    for (const auto& guid : mWanted) {
      if (const auto id = mGUIDs.rememberedUserID(guid)) {
        mIDs.insert(*id);
      } else {
        mHashesAll = true;
      }
    }
  }

  const UserRecords& mRecords;
  MachineGUIDs& mGUIDs;
  std::string mKind;
  MatchValues mValues;
  Way mWay = Way::Value;
  std::unordered_set<std::uint32_t> mIDs;
  GUIDSet mWanted;
  bool mHashesAll = false;
};

bool needs(const QueryDescription& description, std::string_view kind) {
  if (attribute::canonical(description.attribute) == kind) return true;
  return std::ranges::any_of(description.returning, [&](const std::string& each) {
    return attribute::canonical(each) == kind;
  });
}

}  // namespace

std::vector<std::shared_ptr<User>> findLocalUsers(const std::shared_ptr<Context>& context,
                                                  const QueryDescription& description) {
  std::vector<std::shared_ptr<User>> found;
  auto& host = context->host();
  const auto& records = context->userRecords();
  UserSelection selection(*context, description);
  if (selection.isImpossible()) return found;

  const std::size_t limit = description.maximumResults;
  const auto isFull = [&] { return limit != 0 && found.size() >= limit && !selection.isByValue(); };
  std::unordered_set<std::string> namesFound;
  std::unordered_set<std::string_view> recordsUsed;
  const auto take = [&](std::string_view line, std::uint64_t number) {
    if (!records.isEmpty()) {
      const auto record = records.named(accountLine::name(line));
      if (record) recordsUsed.insert(record->userName);
    }
    if (!selection.takes(line)) return true;
    std::string fault;
    const auto entry = parsePasswdLine(line, fault);
    if (!entry) {
      host.faults.report(accountFiles::kPasswd, number, fault);
      return true;
    }
    if (selection.isByExactName() && !namesFound.emplace(entry->name).second) return true;
    auto record = records.isEmpty() ? nullptr : context->userRecordFor(*entry);
    auto user = std::make_shared<User>(context, line, *entry, std::move(record));
    if (records.isEmpty() || selection.isByValue() || selection.takes(*user)) {
      found.push_back(std::move(user));
    }
    return !isFull() && !selection.isSatisfied(found.size());
  };
  const auto lines = selection.isByUserID() ? host.passwdLines.current() : nullptr;
  if (lines) {
    lines->visit(selection.userIDs(*lines), take);
  } else {
    accountFiles::scanRequired(host.options, host.faults, accountFiles::kPasswd, take);
  }
  for (const auto& record : records.all()) {
    if (isFull() || recordsUsed.contains(record->userName) || !record->userID) continue;
    auto user = std::make_shared<User>(context, record);
    if (selection.isByValue() || selection.takes(*user)) found.push_back(std::move(user));
  }

  if (needs(description, attribute::Password) ||
      needs(description, attribute::AuthenticationAuthority)) {
    User::fetchShadow(*context, found);
  }
  if (needs(description, attribute::Picture) || needs(description, attribute::AuthenticationHint)) {
    User::fetchAccountsService(*context, found);
  }
  if (needs(description, attribute::TavloSettings)) {
    User::fetchSessionLimits(*context, found);
  }
  if (selection.isByValue()) {
    std::erase_if(found, [&](const auto& user) { return !selection.takes(*user); });
    if (limit != 0 && found.size() > limit) found.resize(limit);
  }
  return found;
}

std::shared_ptr<User> localUserNamed(const std::shared_ptr<Context>& context,
                                     std::string_view name) {
  const auto found = findLocalUsers(context, {{std::string(record::Users)},
                                              std::string(attribute::RecordName),
                                              MatchType::EqualTo,
                                              {std::string(name)},
                                              {},
                                              0});
  if (found.empty()) return nullptr;
  const auto login =
      std::ranges::find_if(found, [&](const auto& user) { return user->loginName() == name; });
  return login == found.end() ? found.front() : *login;
}

}  // namespace gatehall::local
