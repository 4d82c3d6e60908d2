#include "linux/local/User.h"

#include <algorithm>
#include <array>
#include <unistd.h>
#include <unordered_map>
#include <unordered_set>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/local/PasswordChange.h"
#include "linux/local/PasswordHash.h"
#include "linux/local/Users.h"
#include "linux/records/DirectoryErrorCodes.h"

namespace gatehall::local {

namespace {

/// In the order of a dictionary, which takes in what comes last at once.
constexpr std::array kKinds{attribute::AuthenticationAuthority,
                            attribute::AuthenticationHint,
                            attribute::FullName,
                            attribute::GUID,
                            attribute::MetaNodeLocation,
                            attribute::NFSHomeDirectory,
                            attribute::Password,
                            attribute::Picture,
                            attribute::PrimaryGroupID,
                            attribute::RecordName,
                            attribute::TavloSettings,
                            attribute::UniqueID,
                            attribute::UserShell,
                            attribute::Guest};
static_assert(std::ranges::is_sorted(kKinds));

/// The line that passwd(5) would have for a user record, with the defaults of systemd's records.
std::string passwdLineOf(const UserRecord& record) {
  const bool isPerson = record.disposition.empty() || record.disposition == "regular";
  const auto home = !record.homeDirectory.empty() ? record.homeDirectory
                    : isPerson                    ? "/home/" + record.userName
                                                  : "/";
  const auto shell = !record.shell.empty() ? record.shell
                     : isPerson            ? "/bin/bash"
                                           : "/usr/sbin/nologin";
  const auto userID = record.userID.value_or(0);
  return record.userName + ":x:" + std::to_string(userID) + ":" +
         std::to_string(record.groupID.value_or(userID)) + "::" + home + ":" + shell;
}

}  // namespace

class User::PasswordOnce {
 public:
  explicit PasswordOnce(User& user) : mUser(user) {}

  const Password& get() {
    if (!mPassword) mPassword = mUser.password();
    return *mPassword;
  }
  bool mayBeGiven() { return !get().hashes.empty() || get().isUnreadable; }

 private:
  User& mUser;
  std::optional<Password> mPassword;
};

User::User(std::shared_ptr<Context> context, std::string_view passwdLine, const PasswdEntry& entry,
           std::shared_ptr<const UserRecord> userRecord)
    : mHost(context->sharedHost()),
      mContext(std::move(context)),
      mUserRecord(std::move(userRecord)) {
  keepLine(passwdLine, entry);
}

User::User(std::shared_ptr<Context> context, std::shared_ptr<const UserRecord> userRecord)
    : mHost(context->sharedHost()),
      mContext(std::move(context)),
      mUserRecord(std::move(userRecord)),
      mStandsAlone(true) {
  const auto line = passwdLineOf(*mUserRecord);
  std::string fault;
  keepLine(line, *parsePasswdLine(line, fault));
}

void User::keepLine(std::string_view passwdLine, const PasswdEntry& entry) {
  mPasswdLine = passwdLine;
  mEntry = entryOfCopy(entry, passwdLine, mPasswdLine);
  mGUID.clear();
}

std::string User::loginName() const {
  const std::lock_guard lock(mMutex);
  return std::string(accountLine::name(mPasswdLine));
}

std::uint32_t User::userID() const {
  const std::lock_guard lock(mMutex);
  return mEntry.userID;
}

std::string User::recordType() { return std::string(record::Users); }

std::optional<Strings> User::valuesForAttribute(std::string_view kind) {
  const std::lock_guard lock(mMutex);
  PasswordOnce password(*this);
  Strings found;
  eachValue(attribute::canonical(kind), password,
            [&](std::string text) { found.push_back(std::move(text)); });
  if (found.empty()) return std::nullopt;
  return found;
}

std::optional<Dictionary> User::recordDetails(const Strings& kinds) {
  const std::lock_guard lock(mMutex);
  PasswordOnce password(*this);
  Dictionary details;
  const auto add = [&](std::string_view kind) {
    Array found;
    eachValue(kind, password, [&](std::string text) { found.emplace_back(std::move(text)); });
    if (!found.empty()) details.emplace_hint(details.end(), kind, std::move(found));
  };
  for (const auto& kind : kinds) add(attribute::canonical(kind));
  if (!kinds.empty()) return details;
  for (const auto kind : kKinds) add(kind);
  if (mUserRecord) {
    for (const auto& [kind, unused] : mUserRecord->attributes) add(kind);
  }
  return details;
}

template <class Add>
void User::eachValue(std::string_view kind, PasswordOnce& password, Add add) {
  const auto addUnlessEmpty = [&](std::string_view text) {
    if (!text.empty()) add(std::string(text));
  };
  const auto addAll = [&](const Strings& texts) { std::ranges::for_each(texts, add); };
  const auto* own = attributesOfUserRecord(kind);
  if (kind == attribute::RecordName) {
    add(std::string(mEntry.name));
    if (mUserRecord) addAll(mUserRecord->aliases);
  } else if (kind == attribute::UniqueID) {
    add(std::to_string(mEntry.userID));
  } else if (kind == attribute::PrimaryGroupID) {
    add(std::to_string(mEntry.groupID));
  } else if (kind == attribute::GUID) {
    add(guid());
  } else if (kind == attribute::MetaNodeLocation) {
    add(std::string(kLocalNodeName));
  } else if (kind == attribute::Password) {
    add(password.mayBeGiven() ? "********" : "*");
  } else if (kind == attribute::AuthenticationAuthority) {
    const bool isOfPasswd = password.get().store == Store::Passwd;
    if (password.mayBeGiven()) add(isOfPasswd ? ";basic;" : ";ShadowHash;");
    if (password.get().isDisabled) add(";DisabledUser;");
    if (own != nullptr) addAll(*own);
  } else if (kind == attribute::TavloSettings) {
    if (isLimited()) add("session limits");
  } else if (own != nullptr && !own->empty()) {
    addAll(*own);
  } else if (kind == attribute::FullName) {
    addUnlessEmpty(fullName());
  } else if (kind == attribute::NFSHomeDirectory) {
    addUnlessEmpty(mEntry.homeDirectory);
  } else if (kind == attribute::UserShell) {
    add(std::string(mContext->shells().effective(mEntry.shell)));
  } else if (kind == attribute::Picture) {
    addUnlessEmpty(accountsService().picture);
  } else if (kind == attribute::AuthenticationHint) {
    addUnlessEmpty(accountsService().passwordHint);
  } else if (kind == attribute::Guest) {
    if (mContext->settings().isGuest(mEntry.name)) add("1");
  }
}

std::string User::fullName() const {
  auto name = fullNameOfGecos(mEntry.gecos, mEntry.name);
  return name.empty() && mUserRecord ? mUserRecord->realName : name;
}

const std::string& User::guid() {
  if (mGUID.empty()) {
    mGUID = uuidText(mUserRecord && mUserRecord->uuid ? *mUserRecord->uuid
                                                      : mHost->guids.ofUser(mEntry.userID));
  }
  return mGUID;
}

/// nullptr when it has none of that kind.
const Strings* User::attributesOfUserRecord(std::string_view kind) const {
  if (!mUserRecord) return nullptr;
  const auto found = mUserRecord->attributes.find(kind);
  return found == mUserRecord->attributes.end() ? nullptr : &found->second;
}

// pam_unix's reading of the two files: "x" stands for the shadow file, an empty field for no
// password, "!" in front of a hash for a locked one, and what no password can give for none.
User::Password User::password() {
  Password result;
  std::vector<std::string_view> stored;
  std::optional<ShadowEntry> shadow;
  if (mStandsAlone) {
    result.store = Store::Privileged;
    fetchPrivileged();
    for (const auto& hash : mPrivilegedHashes) stored.push_back(hash->view());
  } else {
    shadow = shadowEntry();
    if (mEntry.password != "x") {
      result.store = Store::Passwd;
      stored.push_back(mEntry.password);
    } else if (shadow) {
      stored.push_back(shadow->hash);
    }
  }
  result.isUnreadable = result.store != Store::Passwd && mShadow == Fetched::Unreadable;
  for (const auto text : stored) {
    const auto hash = text.substr(std::min(text.find_first_not_of('!'), text.size()));
    const bool isLocked = hash.size() < text.size();
    if (hash.empty() ? isLocked : !isPasswordHash(hash)) continue;
    result.hashes.push_back(hash);
    result.isDisabled = result.isDisabled || isLocked;
  }
  result.isDisabled = result.isDisabled || isExpired(shadow);
  return result;
}

bool User::isExpired(const std::optional<ShadowEntry>& shadow) const {
  const auto now = mHost->clock.now().time_since_epoch().count();
  constexpr double kSecondsOfDay = 86400;
  if (shadow && shadow->expiryDay &&
      now / kSecondsOfDay >= static_cast<double>(*shadow->expiryDay)) {
    return true;
  }
  if (!mUserRecord) return false;
  const auto& notAfter = mUserRecord->notAfterMicroseconds;
  return mUserRecord->isLocked || (notAfter && now * 1e6 > static_cast<double>(*notAfter));
}

std::optional<ShadowEntry> User::shadowEntry() {
  if (mStandsAlone) return std::nullopt;
  if (mShadow == Fetched::No) fetchShadowLine();
  if (!mShadowLine) return std::nullopt;
  std::string fault;
  return parseShadowLine(mShadowLine->view(), fault);
}

void User::keepShadow(Fetched state, std::string_view line) {
  mShadow = state;
  mShadowLine = state == Fetched::Line ? std::make_unique<SecretText>(line) : nullptr;
}

void User::fetchShadowLine() {
  auto& host = *mHost;
  const auto name = accountLine::name(mPasswdLine);
  keepShadow(Fetched::Nothing, {});
  const int error = accountFiles::scan(host.options, host.faults, accountFiles::kShadow,
                                       [&](std::string_view line, std::uint64_t number) {
                                         if (!accountLine::hasName(line, name)) return true;
                                         std::string fault;
                                         if (parseShadowLine(line, fault)) {
                                           keepShadow(Fetched::Line, line);
                                         } else {
                                           host.faults.report(accountFiles::kShadow, number, fault);
                                         }
                                         return false;
                                       });
  if (error != 0 && error != ENOENT) keepShadow(Fetched::Unreadable, {});
}

void User::fetchShadow(Context& context, std::span<const std::shared_ptr<User>> users) {
  auto& host = context.host();
  // The names stay good: nobody else has the users yet whose entries are missing.
  std::unordered_multimap<std::string_view, User*> missing;
  missing.reserve(users.size());
  for (const auto& user : users) {
    const std::lock_guard lock(user->mMutex);
    if (user->mShadow != Fetched::No || user->mStandsAlone) continue;
    missing.emplace(user->mEntry.name, user.get());
  }
  if (missing.size() <= 1) return;  // one record fetches its own line as fast
  const auto keep = [](User& user, Fetched state, std::string_view line) {
    const std::lock_guard lock(user.mMutex);
    user.keepShadow(state, line);
  };
  const int error =
      accountFiles::scan(host.options, host.faults, accountFiles::kShadow,
                         [&](std::string_view line, std::uint64_t number) {
                           const auto [begin, end] = missing.equal_range(accountLine::name(line));
                           if (begin == end) return true;
                           std::string fault;
                           const bool isRead = parseShadowLine(line, fault).has_value();
                           if (!isRead) host.faults.report(accountFiles::kShadow, number, fault);
                           const auto state = isRead ? Fetched::Line : Fetched::Nothing;
                           for (auto each = begin; each != end; ++each) {
                             keep(*each->second, state, line);
                           }
                           missing.erase(begin, end);
                           return !missing.empty();
                         });
  const bool isUnreadable = error != 0 && error != ENOENT;
  for (const auto& [unused, user] : missing) {
    keep(*user, isUnreadable ? Fetched::Unreadable : Fetched::Nothing, {});
  }
}

void User::fetchPrivileged() {
  if (mShadow != Fetched::No) return;
  auto& host = *mHost;
  auto read = PrivilegedHashes::read(host.options, host.faults, mUserRecord->userName);
  mShadow = read.isUnreadable ? Fetched::Unreadable : Fetched::Nothing;
  mPrivilegedHashes = std::move(read.hashes);
}

const AccountsServiceFile& User::accountsService() {
  if (!mAccountsService) {
    mAccountsService = std::make_shared<const AccountsServiceFile>(
        AccountsServiceFile::read(mHost->options, accountLine::name(mPasswdLine)));
  }
  return *mAccountsService;
}

void User::fetchAccountsService(Context& context, std::span<const std::shared_ptr<User>> users) {
  if (users.size() <= 1) return;
  const auto accounts = AccountsServiceFile::accounts(context.host().options);
  const auto nothing = std::make_shared<const AccountsServiceFile>();
  for (const auto& user : users) {
    const std::lock_guard lock(user->mMutex);
    const bool isKept = accounts.contains(accountLine::name(user->mPasswdLine));
    if (!isKept && !user->mAccountsService) user->mAccountsService = nothing;
  }
}

bool User::isLimited() {
  if (!mIsLimited) mIsLimited = !mHost->sessionLimits.limited({mEntry.userID}).empty();
  return *mIsLimited;
}

void User::fetchSessionLimits(Context& context, std::span<const std::shared_ptr<User>> users) {
  if (users.size() <= 1) return;
  auto& limits = context.host().sessionLimits;
  std::unordered_set<std::uint32_t> wanted;
  if (limits.areOffered()) {
    for (const auto& user : users) wanted.insert(user->userID());
  }
  const auto limited = wanted.empty() ? wanted : limits.limited(wanted);
  for (const auto& user : users) {
    const std::lock_guard lock(user->mMutex);
    user->mIsLimited = !limited.empty() && limited.contains(user->mEntry.userID);
  }
}

bool User::setValue(std::string_view, std::string_view) {
  // The accounts of a machine are changed with its own commands (usermod(8), chfn(1)).
  return false;
}

bool User::verifyPassword(std::string_view password, DirectoryError& error) {
  const std::lock_guard lock(mMutex);
  error.domain = kDirectoryErrorDomain;
  const auto account = this->password();
  if (account.isDisabled) {
    error.code = directoryError::kAccountDisabled;
    return false;
  }
  if (account.isUnreadable) {
    error.code = directoryError::kHashUnreadable;
    return false;
  }
  for (const auto hash : account.hashes) {
    const bool isAccepted = hash.empty() ? password.empty() : passwordMatchesHash(password, hash);
    if (!isAccepted) continue;
    error = {};
    return true;
  }
  error.code = directoryError::kPasswordRefused;
  return false;
}

bool User::changePassword(std::string_view oldPassword, std::string_view newPassword,
                          DirectoryError& error) {
  std::string name;
  {
    const std::lock_guard lock(mMutex);
    if (mStandsAlone) {
      // PAM's "passwd" knows the accounts of /etc/passwd.
      error = {std::string(kDirectoryErrorDomain), directoryError::kPasswordServiceUnavailable};
      return false;
    }
    name = mEntry.name;
  }
  // PAM asks a process of root's for no old password.
  if (getuid() == 0 && !verifyPassword(oldPassword, error)) return false;
  error.domain = kDirectoryErrorDomain;
  switch (changePasswordThroughPam(mHost->options, name, oldPassword, newPassword)) {
    case PasswordChange::Done: {
      error = {};
      const std::lock_guard lock(mMutex);
      mShadow = Fetched::No;
      mShadowLine = nullptr;
      return true;
    }
    case PasswordChange::OldPasswordRefused:
      error.code = directoryError::kPasswordRefused;
      return false;
    case PasswordChange::NewPasswordRefused:
      error.code = directoryError::kNewPasswordRefused;
      return false;
    case PasswordChange::Unavailable:
      break;
  }
  error.code = directoryError::kPasswordServiceUnavailable;
  return false;
}

bool User::isMember(DirectoryRecord&) { return false; }

std::optional<Dictionary> User::passwordPolicy() {
  const std::lock_guard lock(mMutex);
  const auto shadow = shadowEntry();
  if (!shadow) return std::nullopt;
  constexpr std::int64_t kNoMaximum = 99999;
  constexpr std::int64_t kMinutesOfDay = 1440;
  constexpr std::int64_t kSecondsOfDay = 86400;
  Dictionary policy;
  if (shadow->lastChangeDay == 0) {
    policy.emplace("newPasswordRequired", true);
  } else if (shadow->lastChangeDay) {
    policy.emplace("passwordLastSetTime", *shadow->lastChangeDay * kSecondsOfDay);
  }
  if (shadow->maximumDays && *shadow->maximumDays < kNoMaximum) {
    policy.emplace("maxMinutesUntilChangePassword", *shadow->maximumDays * kMinutesOfDay);
  }
  if (shadow->expiryDay) policy.emplace("usingHardExpirationDate", true);
  if (shadow->inactiveDays) {
    policy.emplace("maxMinutesOfNonUse", *shadow->inactiveDays * kMinutesOfDay);
  }
  if (policy.empty()) return std::nullopt;
  return policy;
}

bool User::synchronize() {
  const auto context = std::make_shared<Context>(mHost);
  const auto present = localUserNamed(context, loginName());
  if (!present) return false;
  const std::scoped_lock lock(mMutex, present->mMutex);
  mContext = context;
  keepLine(present->mPasswdLine, present->mEntry);
  mUserRecord = present->mUserRecord;
  mStandsAlone = present->mStandsAlone;
  mShadow = Fetched::No;
  mShadowLine = nullptr;
  mPrivilegedHashes.clear();
  mAccountsService.reset();
  mIsLimited.reset();
  return true;
}

}  // namespace gatehall::local
