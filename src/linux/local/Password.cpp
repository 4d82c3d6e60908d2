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

// pam_unix's reading of the two files: "x" stands for the shadow file, an empty field for no
// password, "!" in front of a hash for a locked one, and what no password can give for none.
/// A hash without the marks of a lock; absent where no password can give it.
std::optional<std::string_view> withoutLock(std::string_view text) {
  const auto hash = text.substr(std::min(text.find_first_not_of('!'), text.size()));
  const bool isLocked = hash.size() < text.size();
  if (hash.empty() ? isLocked : !isPasswordHash(hash)) return std::nullopt;
  return hash;
}

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
  const auto hashes = this->hashes();
  const auto kind = this->kind();
  if (kind.isDisabled) return refuse(directoryError::kAccountDisabled);
  if (kind.isUnreadable) return refuse(directoryError::kHashUnreadable);
  for (const auto hash : hashes) {
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
  const auto found = marks();
  const bool inPasswd = isInPasswd();
  const bool isUnreadable = !inPasswd && mFetched == Fetched::Unreadable;
  const bool isLocked = found.isLocked || (mAccount.record && mAccount.record->isLocked);
  const bool isExpired = !isLocked && isPastItsEnd();
  const bool isDisabled = isLocked || isExpired;
  return {.isInPasswd = inPasswd,
          .mayBeGiven = found.hasHash || isUnreadable,
          .isDisabled = isDisabled,
          .isExpired = isExpired,
          .isUnreadable = isUnreadable,
          .isEmpty = found.isEmpty && !isDisabled && !isUnreadable};
}

std::string_view Password::mark() { return kind().mayBeGiven ? "********" : "*"; }

Strings Password::authorities() {
  const auto kind = this->kind();
  Strings authorities;
  if (kind.mayBeGiven) authorities.emplace_back(kind.isInPasswd ? ";basic;" : ";ShadowHash;");
  if (kind.isDisabled) {
    authorities.emplace_back(kind.isExpired ? ";DisabledUser;expired" : ";DisabledUser;");
  }
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
  const auto& entry = mShadow->entry;
  if (entry.lastChangeDay == 0) {
    policy.emplace("newPasswordRequired", true);
  } else if (entry.lastChangeDay) {
    policy.emplace("passwordLastSetTime", *entry.lastChangeDay * kSecondsOfDay);
  }
  if (entry.maximumDays && *entry.maximumDays < kNoMaximum) {
    policy.emplace("maxMinutesUntilChangePassword", *entry.maximumDays * kMinutesOfDay);
  }
  if (entry.expiryDay) policy.emplace("usingHardExpirationDate", true);
  if (entry.inactiveDays) {
    policy.emplace("maxMinutesOfNonUse", *entry.inactiveDays * kMinutesOfDay);
  }
  if (policy.empty()) return std::nullopt;
  return policy;
}

void Password::forget() {
  keepShadow(Fetched::No);
  mPrivilegedHashes.clear();
  mTold.reset();
}

void Password::Marks::add(std::string_view text) {
  const auto hash = withoutLock(text);
  if (!hash) return;
  hasHash = true;
  isLocked = isLocked || hash->size() < text.size();
  isEmpty = isEmpty || hash->empty();
}

Password::ShadowLine::ShadowLine(std::string_view line) : text(line) {
  std::string fault;
  entry = parseShadowLine(text.view(), fault).value_or(ShadowEntry());
}

bool Password::isInPasswd() const {
  return !mAccount.standsAlone && mAccount.line.entry().password != "x";
}

Password::Marks Password::marks() {
  Marks found;
  if (mAccount.standsAlone) {
    fetchPrivileged();
    for (const auto& hash : mPrivilegedHashes) found.add(hash->view());
    return found;
  }
  fetchMarks();
  if (!isInPasswd()) return mShadowMarks;
  found.add(mAccount.line.entry().password);
  return found;
}

/// What stands in the place of hashes.
std::vector<std::string_view> Password::texts() {
  if (!mAccount.standsAlone) {
    fetchShadow();
    if (isInPasswd()) return {mAccount.line.entry().password};
    if (!mShadow) return {};
    return {mShadow->entry.hash};
  }
  fetchPrivileged();
  std::vector<std::string_view> found;
  found.reserve(mPrivilegedHashes.size());
  for (const auto& hash : mPrivilegedHashes) found.push_back(hash->view());
  return found;
}

/// What a password is checked against, without the marks of a lock.
std::vector<std::string_view> Password::hashes() {
  std::vector<std::string_view> found;
  for (const auto text : texts()) {
    if (const auto hash = withoutLock(text)) found.push_back(*hash);
  }
  return found;
}

bool Password::isPastItsEnd() const {
  const auto now = mHost.clock.now().time_since_epoch().count();
  if (mExpiryDay && now / kSecondsOfDay >= *mExpiryDay) return true;
  if (!mAccount.record) return false;
  const auto& notAfter = mAccount.record->notAfterMicroseconds;
  return notAfter && now * 1e6 > static_cast<double>(*notAfter);
}

void Password::keepShadow(Fetched state, std::string_view line) {
  mFetched = state;
  mShadow = nullptr;
  mShadowMarks = {};
  mExpiryDay.reset();
  if (state != Fetched::Line && state != Fetched::Facts) return;
  auto shadow = std::make_unique<ShadowLine>(line);
  mShadowMarks.add(shadow->entry.hash);
  if (const auto day = shadow->entry.expiryDay) {
    mExpiryDay = static_cast<std::int32_t>(std::clamp<std::int64_t>(*day, INT32_MIN, INT32_MAX));
  }
  if (state == Fetched::Line) mShadow = std::move(shadow);
}

void Password::fetchMarks() {
  if (!mAccount.standsAlone && mFetched == Fetched::No) fetch(mHost, std::array{this});
}

void Password::fetchShadow() {
  if (mFetched == Fetched::Facts) keepShadow(Fetched::No);
  fetchMarks();
}

void Password::fetch(Host& host, std::span<Password* const> passwords) {
  if (Monitor::ofProcess() != nullptr) return;  // which is asked when it is needed
  std::unordered_multimap<std::string_view, Password*> missing;
  missing.reserve(passwords.size());
  for (auto* each : passwords) {
    if (each->mFetched != Fetched::No || each->mAccount.standsAlone) continue;
    missing.emplace(each->mAccount.line.name(), each);
  }
  if (missing.empty()) return;
  const auto whenRead = passwords.size() == 1 ? Fetched::Line : Fetched::Facts;
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
                           const auto state = isRead ? whenRead : Fetched::Nothing;
                           for (auto each = begin; each != end; ++each) {
                             each->second->keepShadow(state, line);
                           }
                           missing.erase(begin, end);
                           return !missing.empty();
                         });
  const bool isUnreadable = error != 0 && error != ENOENT;
  for (const auto& [unused, each] : missing) {
    each->keepShadow(isUnreadable ? Fetched::Unreadable : Fetched::Nothing);
  }
}

void Password::fetchPrivileged() {
  if (mFetched != Fetched::No) return;
  auto read = PrivilegedHashes::read(mHost.options, mHost.faults, mAccount.record->userName);
  mFetched = read.isUnreadable ? Fetched::Unreadable : Fetched::Nothing;
  mPrivilegedHashes = std::move(read.hashes);
}

}  // namespace gatehall::local
