#include "linux/local/Password.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <unordered_map>

#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/local/PasswordHash.h"
#include "linux/local/PasswordMonitor.h"
#include "linux/process/Monitor.h"

namespace gatehall::local {

namespace {

constexpr std::int64_t kSecondsOfDay = 86400;

}  // namespace

bool Password::verify(std::string_view password, DirectoryError& error) {
  if (auto* monitor = Monitor::ofProcess()) {
    if (!password.empty() || !kind().isEmpty) {
      return verifyThroughMonitor(*monitor, mHost, mAccount, password, error);
    }
    error = {};
    return true;
  }
  const auto refuse = [&error](std::int64_t code) {
    error = {std::string(kDirectoryErrorDomain), code};
    return false;
  };
  const auto stored = this->stored();
  if (stored.isDisabled) return refuse(directoryError::kAccountDisabled);
  if (stored.isUnreadable) return refuse(directoryError::kHashUnreadable);
  for (const auto hash : stored.hashes) {
    const bool isAccepted = hash.empty() ? password.empty() : passwordMatchesHash(password, hash);
    if (!isAccepted) continue;
    error = {};
    return true;
  }
  return refuse(directoryError::kPasswordRefused);
}

PasswordKind Password::kind() {
  if (auto* monitor = Monitor::ofProcess()) {
    if (!mTold) mTold = kindThroughMonitor(*monitor, mHost, mAccount);
    return *mTold;
  }
  const auto stored = this->stored();
  const bool hasNone = std::ranges::find(stored.hashes, "") != stored.hashes.end();
  return {stored.isInPasswd, !stored.hashes.empty() || stored.isUnreadable, stored.isDisabled,
          stored.isUnreadable, hasNone && !stored.isDisabled && !stored.isUnreadable};
}

std::string_view Password::mark() { return kind().mayBeGiven ? "********" : "*"; }

Strings Password::authorities() {
  const auto kind = this->kind();
  Strings authorities;
  if (kind.mayBeGiven) authorities.emplace_back(kind.isInPasswd ? ";basic;" : ";ShadowHash;");
  if (kind.isDisabled) authorities.emplace_back(";DisabledUser;");
  return authorities;
}

std::optional<Dictionary> Password::policy() {
  if (Monitor::ofProcess() != nullptr) {
    throw PlatformException("The policy of a password is not told to this process.");
  }
  fetchShadow();
  if (!mShadow) return std::nullopt;
  constexpr std::int64_t kNoMaximum = 99999;
  constexpr std::int64_t kMinutesOfDay = 1440;
  Dictionary policy;
  if (mShadow->lastChangeDay == 0) {
    policy.emplace("newPasswordRequired", true);
  } else if (mShadow->lastChangeDay) {
    policy.emplace("passwordLastSetTime", *mShadow->lastChangeDay * kSecondsOfDay);
  }
  if (mShadow->maximumDays && *mShadow->maximumDays < kNoMaximum) {
    policy.emplace("maxMinutesUntilChangePassword", *mShadow->maximumDays * kMinutesOfDay);
  }
  if (mShadow->expiryDay) policy.emplace("usingHardExpirationDate", true);
  if (mShadow->inactiveDays) {
    policy.emplace("maxMinutesOfNonUse", *mShadow->inactiveDays * kMinutesOfDay);
  }
  if (policy.empty()) return std::nullopt;
  return policy;
}

void Password::forget() {
  keepShadow(Fetched::No, {});
  mPrivilegedHashes.clear();
  mTold.reset();
}

// pam_unix's reading of the two files: "x" stands for the shadow file, an empty field for no
// password, "!" in front of a hash for a locked one, and what no password can give for none.
Password::Stored Password::stored() {
  Stored result;
  std::vector<std::string_view> texts;
  if (mAccount.standsAlone) {
    fetchPrivileged();
    for (const auto& hash : mPrivilegedHashes) texts.push_back(hash->view());
  } else {
    fetchShadow();
    result.isInPasswd = mAccount.entry.password != "x";
    if (result.isInPasswd) {
      texts.push_back(mAccount.entry.password);
    } else if (mShadow) {
      texts.push_back(mShadow->hash);
    }
  }
  result.isUnreadable = !result.isInPasswd && mFetched == Fetched::Unreadable;
  for (const auto text : texts) {
    const auto hash = text.substr(std::min(text.find_first_not_of('!'), text.size()));
    const bool isLocked = hash.size() < text.size();
    if (hash.empty() ? isLocked : !isPasswordHash(hash)) continue;
    result.hashes.push_back(hash);
    result.isDisabled = result.isDisabled || isLocked;
  }
  result.isDisabled = result.isDisabled || isExpired();
  return result;
}

bool Password::isExpired() const {
  const auto now = mHost.clock.now().time_since_epoch().count();
  if (mShadow && mShadow->expiryDay &&
      now / kSecondsOfDay >= static_cast<double>(*mShadow->expiryDay)) {
    return true;
  }
  if (!mAccount.record) return false;
  const auto& notAfter = mAccount.record->notAfterMicroseconds;
  return mAccount.record->isLocked || (notAfter && now * 1e6 > static_cast<double>(*notAfter));
}

void Password::keepShadow(Fetched state, std::string_view line) {
  mFetched = state;
  mShadow.reset();
  mShadowLine = state == Fetched::Line ? std::make_unique<SecretText>(line) : nullptr;
  std::string fault;
  if (mShadowLine) mShadow = parseShadowLine(mShadowLine->view(), fault);
}

void Password::fetchShadow() {
  if (!mAccount.standsAlone && mFetched == Fetched::No) fetch(mHost, std::array{this});
}

void Password::fetch(Host& host, std::span<Password* const> passwords) {
  if (Monitor::ofProcess() != nullptr) return;  // which is asked when it is needed
  std::unordered_multimap<std::string_view, Password*> missing;
  missing.reserve(passwords.size());
  for (auto* each : passwords) {
    if (each->mFetched != Fetched::No || each->mAccount.standsAlone) continue;
    missing.emplace(each->mAccount.entry.name, each);
  }
  if (missing.empty()) return;
  // One name is compared faster than it is looked up.
  const auto only = missing.size() == 1 ? missing.begin()->first : std::string_view();
  const int error =
      accountFiles::scan(host.options, host.faults, accountFiles::kShadow,
                         [&](std::string_view line, std::uint64_t number) {
                           if (!only.empty() && !accountLine::hasName(line, only)) return true;
                           const auto [begin, end] = missing.equal_range(accountLine::name(line));
                           if (begin == end) return true;
                           std::string fault;
                           const bool isRead = parseShadowLine(line, fault).has_value();
                           if (!isRead) host.faults.report(accountFiles::kShadow, number, fault);
                           const auto state = isRead ? Fetched::Line : Fetched::Nothing;
                           for (auto each = begin; each != end; ++each) {
                             each->second->keepShadow(state, line);
                           }
                           missing.erase(begin, end);
                           return !missing.empty();
                         });
  const bool isUnreadable = error != 0 && error != ENOENT;
  for (const auto& [unused, each] : missing) {
    each->keepShadow(isUnreadable ? Fetched::Unreadable : Fetched::Nothing, {});
  }
}

void Password::fetchPrivileged() {
  if (mFetched != Fetched::No) return;
  auto read = PrivilegedHashes::read(mHost.options, mHost.faults, mAccount.record->userName);
  mFetched = read.isUnreadable ? Fetched::Unreadable : Fetched::Nothing;
  mPrivilegedHashes = std::move(read.hashes);
}

}  // namespace gatehall::local
