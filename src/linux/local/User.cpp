#include "linux/local/User.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <unistd.h>
#include <unordered_set>

#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountLine.h"
#include "linux/local/PasswordChange.h"
#include "linux/local/Users.h"

namespace gatehall::local {

namespace {

/// The line that passwd(5) would have for a user record, with the defaults of systemd's records.
PasswdLine passwdLineOf(const UserRecord& record) {
  const bool isPerson = record.disposition.empty() || record.disposition == "regular";
  const auto home = !record.homeDirectory.empty() ? record.homeDirectory
                    : isPerson                    ? "/home/" + record.userName
                                                  : "/";
  const auto shell = !record.shell.empty() ? record.shell
                     : isPerson            ? "/bin/bash"
                                           : "/usr/sbin/nologin";
  const auto userID = record.userID.value_or(0);
  const auto line = record.userName + ":x:" + std::to_string(userID) + ":" +
                    std::to_string(record.groupID.value_or(userID)) + "::" + home + ":" + shell;
  std::string fault;
  return {line, *parsePasswdLine(line, fault)};
}

void addUnlessEmpty(Strings& values, std::string_view text) {
  if (!text.empty()) values.emplace_back(text);
}

}  // namespace

/// An attribute that accounts have.
struct User::Attribute {
  std::string_view kind;
  /// The attributes of a user record stand in its place, when there are any.
  bool isReplaceable;
  void (*add)(User& user, Strings& values);
};

/// In the order of a dictionary, which takes in what comes last at once.
constexpr std::array<User::Attribute, 14> User::kAttributes{{
    {attribute::AuthenticationAuthority, false,
     [](User& user, Strings& values) {
       std::ranges::move(user.mPassword.authorities(), std::back_inserter(values));
       const auto* more = user.attributesOfUserRecord(attribute::AuthenticationAuthority);
       if (more != nullptr) values.insert(values.end(), more->begin(), more->end());
     }},
    {attribute::AuthenticationHint, true,
     [](User& user, Strings& values) {
       addUnlessEmpty(values, user.accountsService().passwordHint);
     }},
    {attribute::FullName, true,
     [](User& user, Strings& values) { addUnlessEmpty(values, user.fullName()); }},
    {attribute::GUID, false, [](User& user, Strings& values) { values.push_back(user.guid()); }},
    {attribute::MetaNodeLocation, false,
     [](User&, Strings& values) { values.emplace_back(kLocalNodeName); }},
    {attribute::NFSHomeDirectory, true,
     [](User& user, Strings& values) {
       addUnlessEmpty(values, user.mAccount.line.entry().homeDirectory);
     }},
    {attribute::Password, false,
     [](User& user, Strings& values) { values.emplace_back(user.mPassword.mark()); }},
    {attribute::Picture, true,
     [](User& user, Strings& values) { addUnlessEmpty(values, user.accountsService().picture); }},
    {attribute::PrimaryGroupID, false,
     [](User& user, Strings& values) {
       values.push_back(std::to_string(user.mAccount.line.entry().groupID));
     }},
    {attribute::RecordName, false,
     [](User& user, Strings& values) {
       values.emplace_back(user.mAccount.line.name());
       if (!user.mAccount.record) return;
       const auto& aliases = user.mAccount.record->aliases;
       values.insert(values.end(), aliases.begin(), aliases.end());
     }},
    {attribute::TavloSettings, false,
     [](User& user, Strings& values) {
       if (user.isLimited()) values.emplace_back("session limits");
     }},
    {attribute::UniqueID, false,
     [](User& user, Strings& values) {
       values.push_back(std::to_string(user.mAccount.line.userID()));
     }},
    {attribute::UserShell, true,
     [](User& user, Strings& values) {
       values.emplace_back(user.mContext->shells().effective(user.mAccount.line.entry().shell));
     }},
    {attribute::Guest, true,
     [](User& user, Strings& values) {
       if (user.mContext->settings().isGuest(user.mAccount.line.name())) values.emplace_back("1");
     }},
}};

User::User(std::shared_ptr<Context> context, std::string_view passwdLine, const PasswdEntry& entry,
           std::shared_ptr<const UserRecord> userRecord)
    : mContext(std::move(context)),
      mAccount{PasswdLine(passwdLine, entry), std::move(userRecord), false},
      mPassword(mContext->host(), mAccount) {}

User::User(std::shared_ptr<Context> context, std::shared_ptr<const UserRecord> userRecord)
    : mContext(std::move(context)),
      mAccount{passwdLineOf(*userRecord), std::move(userRecord), true},
      mPassword(mContext->host(), mAccount) {}

std::string User::loginName() const {
  const std::lock_guard lock(mMutex);
  return std::string(mAccount.line.name());
}

std::uint32_t User::userID() const {
  const std::lock_guard lock(mMutex);
  return mAccount.line.userID();
}

PasswordKind User::passwordKind() {
  const std::lock_guard lock(mMutex);
  return mPassword.kind();
}

std::string User::recordType() { return std::string(record::Users); }

std::optional<Strings> User::valuesForAttribute(std::string_view kind) {
  const std::lock_guard lock(mMutex);
  Strings found;
  addValues(attribute::canonical(kind), found);
  if (found.empty()) return std::nullopt;
  return found;
}

std::optional<Dictionary> User::recordDetails(const Strings& kinds) {
  const std::lock_guard lock(mMutex);
  Dictionary details;
  Strings found;
  const auto add = [&](std::string_view kind) {
    found.clear();
    addValues(kind, found);
    if (found.empty()) return;
    details.emplace_hint(details.end(), kind,
                         Array(std::move_iterator(found.begin()), std::move_iterator(found.end())));
  };
  for (const auto& kind : kinds) add(attribute::canonical(kind));
  if (!kinds.empty()) return details;
  for (const auto& each : kAttributes) add(each.kind);
  if (mAccount.record) {
    for (const auto& [kind, unused] : mAccount.record->attributes) add(kind);
  }
  return details;
}

void User::addValues(std::string_view kind, Strings& values) {
  static_assert(std::ranges::is_sorted(kAttributes, {}, &Attribute::kind));
  const auto known = std::ranges::find(kAttributes, kind, &Attribute::kind);
  if (known == kAttributes.end() || known->isReplaceable) {
    const auto* own = attributesOfUserRecord(kind);
    if (own != nullptr && !own->empty()) {
      values = *own;
      return;
    }
  }
  if (known != kAttributes.end()) known->add(*this, values);
}

std::string User::fullName() const {
  auto name = fullNameOfGecos(mAccount.line.entry().gecos, mAccount.line.name());
  return name.empty() && mAccount.record ? mAccount.record->realName : name;
}

std::string User::guid() {
  if (mAccount.record && mAccount.record->uuid) return uuidText(*mAccount.record->uuid);
  if (!mGUID) mGUID = mContext->host().guids.ofUser(mAccount.line.userID());
  return uuidText(*mGUID);
}

/// nullptr when it has none of that kind.
const Strings* User::attributesOfUserRecord(std::string_view kind) const {
  if (!mAccount.record) return nullptr;
  const auto found = mAccount.record->attributes.find(kind);
  return found == mAccount.record->attributes.end() ? nullptr : &found->second;
}

void User::fetchShadow(Context& context, std::span<const std::shared_ptr<User>> users) {
  if (users.size() <= 1) return;  // one record fetches its own line as fast
  std::vector<Password*> passwords;
  passwords.reserve(users.size());
  for (const auto& user : users) passwords.push_back(&user->mPassword);
  Password::fetch(context.host(), passwords);
}

const AccountsServiceFile& User::accountsService() {
  if (!mAccountsService) {
    mAccountsService = std::make_shared<const AccountsServiceFile>(
        AccountsServiceFile::read(mContext->host().options, mAccount.line.name()));
  }
  return *mAccountsService;
}

void User::fetchAccountsService(Context& context, std::span<const std::shared_ptr<User>> users) {
  if (users.size() <= 1) return;
  const auto accounts = AccountsServiceFile::accounts(context.host().options);
  const auto nothing = std::make_shared<const AccountsServiceFile>();
  for (const auto& user : users) {
    const bool isKept = accounts.contains(user->mAccount.line.name());
    if (!isKept && !user->mAccountsService) user->mAccountsService = nothing;
  }
}

bool User::isLimited() {
  if (!mIsLimited) {
    auto& limits = mContext->host().sessionLimits;
    mIsLimited = !limits.limited({mAccount.line.userID()}).empty();
  }
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
    user->mIsLimited = !limited.empty() && limited.contains(user->mAccount.line.userID());
  }
}

bool User::setValue(std::string_view, std::string_view) {
  // The accounts of a machine are changed with its own commands (usermod(8), chfn(1)).
  return false;
}

bool User::verifyPassword(std::string_view password, DirectoryError& error) {
  const std::lock_guard lock(mMutex);
  return mPassword.verify(password, error);
}

bool User::changePassword(std::string_view oldPassword, std::string_view newPassword,
                          DirectoryError& error) {
  const auto refuse = [&error](std::int64_t code) {
    error = {std::string(kDirectoryErrorDomain), code};
    return false;
  };
  std::string name;
  std::shared_ptr<Context> context;
  {
    const std::lock_guard lock(mMutex);
    // PAM's "passwd" knows the accounts of /etc/passwd.
    if (mAccount.standsAlone) return refuse(directoryError::kPasswordServiceUnavailable);
    name = mAccount.line.name();
    context = mContext;
  }
  // PAM asks a process of root's for no old password.
  if (getuid() == 0 && !verifyPassword(oldPassword, error)) return false;
  switch (changePasswordThroughPam(context->host().options, name, oldPassword, newPassword)) {
    case PasswordChange::Done: {
      error = {};
      const std::lock_guard lock(mMutex);
      mPassword.forget();
      return true;
    }
    case PasswordChange::OldPasswordRefused:
      return refuse(directoryError::kPasswordRefused);
    case PasswordChange::NewPasswordRefused:
      return refuse(directoryError::kNewPasswordRefused);
    case PasswordChange::Unavailable:
      break;
  }
  return refuse(directoryError::kPasswordServiceUnavailable);
}

bool User::isMember(DirectoryRecord&) { return false; }

std::optional<Dictionary> User::passwordPolicy() {
  const std::lock_guard lock(mMutex);
  return mPassword.policy();
}

/// One that knows the present state of the files.
std::shared_ptr<Context> User::freshContext() const {
  const std::lock_guard lock(mMutex);
  return std::make_shared<Context>(mContext->sharedHost());
}

bool User::synchronize() {
  const auto context = freshContext();
  const auto present = userNamed(context, loginName());
  if (!present) return false;
  const std::scoped_lock lock(mMutex, present->mMutex);
  mContext = context;
  mAccount = present->mAccount;
  mGUID.reset();
  mPassword.forget();
  mAccountsService.reset();
  mIsLimited.reset();
  return true;
}

}  // namespace gatehall::local
