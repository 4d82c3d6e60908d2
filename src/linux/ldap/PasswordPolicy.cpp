#include "linux/ldap/PasswordPolicy.h"

#include <array>
#include <charconv>
#include <chrono>
#include <limits>

namespace gatehall::ldap {

namespace {

constexpr std::int64_t kSecondsOfDay = 86400;
constexpr std::int64_t kMinutesOfDay = 1440;
constexpr std::int64_t kNoMaximum = 99999;

constexpr int kNoSuchObject = 32;  // RFC 4511, appendix A

/// pwdAccountLockedTime of an account that only an administrator can unlock.
constexpr std::string_view kLockedForGood = "000001010000Z";

// Active Directory's userAccountControl.
constexpr std::int64_t kAccountDisable = 0x2;
constexpr std::int64_t kNeverExpires = 0x10000;
/// Of what the server works out by the policy that the account is under.
constexpr std::int64_t kLockedOut = 0x10;
// Its times are in 100 ns, since 1601 where they are no spans.
constexpr std::int64_t kTicksOfSecond = 10000000;
constexpr std::int64_t kSecondsTo1970 = 11644473600;
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

std::optional<std::int64_t> number(std::string_view text) {
  std::int64_t value = 0;
  const auto* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

std::optional<std::int64_t> number(const Entry& entry, Slot slot) {
  return number(entry.first(slot));
}

/// Days, which no entry can overflow by being multiplied; a number below zero is none (shadow(5)).
std::optional<std::int64_t> days(const Entry& entry, Slot slot) {
  const auto value = number(entry, slot);
  constexpr std::int64_t kMost = 10000000;
  return value && *value >= 0 && *value <= kMost ? value : std::nullopt;
}

/// Seconds since 1970 of a generalized time (RFC 4517, 3.3.13) in UTC, the only zone that servers
/// write.
std::optional<std::int64_t> seconds(std::string_view time) {
  if (time.size() < 11 || !time.ends_with('Z')) return std::nullopt;
  std::array<int, 6> fields{};
  std::size_t at = 0;
  std::size_t count = 0;
  for (const std::size_t width : {4U, 2U, 2U, 2U, 2U, 2U}) {
    if (at + width > time.size() - 1) break;
    const auto* end = time.data() + at + width;
    const auto [stop, error] = std::from_chars(time.data() + at, end, fields[count]);
    if (error != std::errc() || stop != end) break;
    at += width;
    ++count;
  }
  if (count < 4) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year{fields[0]},
                                         std::chrono::month{static_cast<unsigned>(fields[1])},
                                         std::chrono::day{static_cast<unsigned>(fields[2])}};
  if (!date.ok()) return std::nullopt;
  const auto days = std::chrono::sys_days(date).time_since_epoch().count();
  return days * kSecondsOfDay + fields[3] * 3600LL + fields[4] * 60LL + fields[5];
}

/// When Active Directory's account ends, in seconds since 1970.
std::optional<std::int64_t> accountExpires(const Entry& user) {
  const auto ticks = number(user, Slot::AccountExpires);
  if (!ticks || *ticks <= 0 || *ticks == kNever) return std::nullopt;
  return *ticks / kTicksOfSecond - kSecondsTo1970;
}

void addShadow(const Entry& user, Dictionary& policy) {
  const auto changed = days(user, Slot::ShadowLastChange);
  if (changed == 0) {
    policy.insert_or_assign("newPasswordRequired", true);
  } else if (changed) {
    policy.insert_or_assign("passwordLastSetTime", *changed * kSecondsOfDay);
  }
  const auto maximum = days(user, Slot::ShadowMaximum);
  if (maximum && *maximum < kNoMaximum) {
    policy.insert_or_assign("maxMinutesUntilChangePassword", *maximum * kMinutesOfDay);
  }
  if (days(user, Slot::ShadowExpiry)) policy.insert_or_assign("usingHardExpirationDate", true);
  if (const auto inactive = days(user, Slot::ShadowInactive)) {
    policy.insert_or_assign("maxMinutesOfNonUse", *inactive * kMinutesOfDay);
  }
}

/// One entry's attributes, by the names that were asked for.
class PolicyEntry {
 public:
  PolicyEntry(Directory& directory, const std::string& dn, Strings attributes) {
    const std::array searches{
        Search{dn, Search::Scope::Base, "(objectClass=*)", std::move(attributes), false}};
    directory.run([&](Connection& connection) {
      mValues.clear();
      const auto results = connection.search(searches, directory.servers().limits(),
                                             [this](auto, auto, std::span<const Attribute> found) {
                                               for (const auto& each : found) {
                                                 if (!each.values.empty())
                                                   mValues.emplace(each.name, each.values.front());
                                               }
                                             });
      const auto& result = results.front();
      if (!result.isSuccess() && result.code != kNoSuchObject) {
        throw DirectoryUnreachable("searching " + searches.front().base + ": " + result.text);
      }
    });
  }

  std::string_view text(std::string_view attribute) const {
    const auto found = mValues.find(attribute);
    return found == mValues.end() ? std::string_view() : std::string_view(found->second);
  }
  std::optional<std::int64_t> count(std::string_view attribute) const {
    const auto value = number(text(attribute));
    return value && *value >= 0 ? value : std::nullopt;
  }

 private:
  std::map<std::string, std::string, std::less<>> mValues;
};

/// The DN of the user's policy; "" where none is known.
std::string policyNameOf(Directory& directory, const Entry& user) {
  const auto own = user.first(Slot::PolicyName);
  return own.empty() ? directory.settings().passwordPolicy : std::string(own);
}

/// Whether failed passwords, or an administrator, have locked the account.
bool isLocked(Directory& directory, const Entry& user, std::int64_t now) {
  const auto locked = user.first(Slot::AccountLocked);
  if (locked.empty()) return false;
  const auto since = locked == kLockedForGood ? std::nullopt : seconds(locked);
  const auto name = policyNameOf(directory, user);
  if (!since || name.empty()) return true;
  const auto duration =
      PolicyEntry(directory, name, {"pwdLockoutDuration"}).count("pwdLockoutDuration");
  // None, as 0, stands for no end.
  return !duration || *duration == 0 || *duration > now - *since;
}

void addOverlay(Directory& directory, const Entry& user, Dictionary& policy) {
  if (user.first(Slot::PasswordReset) == "TRUE") {
    policy.insert_or_assign("newPasswordRequired", true);
  }
  if (!user.of(Slot::AccountEnd).empty()) {
    policy.insert_or_assign("usingHardExpirationDate", true);
  }
  if (const auto changed = seconds(user.first(Slot::PasswordChanged))) {
    policy.insert_or_assign("passwordLastSetTime", *changed);
  }
  const auto name = policyNameOf(directory, user);
  if (name.empty()) return;
  const PolicyEntry entry(
      directory, name,
      {"pwdMaxAge", "pwdMaxIdle", "pwdMaxFailure", "pwdLockout", "pwdAllowUserChange"});
  if (const auto age = entry.count("pwdMaxAge"); age && *age > 0) {
    policy.insert_or_assign("maxMinutesUntilChangePassword", *age / 60);
  }
  if (const auto idle = entry.count("pwdMaxIdle"); idle && *idle > 0) {
    policy.insert_or_assign("maxMinutesOfNonUse", *idle / 60);
  }
  if (const auto failures = entry.count("pwdMaxFailure");
      failures && entry.text("pwdLockout") == "TRUE") {
    policy.insert_or_assign("maxFailedLoginAttempts", *failures);
  }
  if (const auto allowed = entry.text("pwdAllowUserChange"); !allowed.empty()) {
    policy.insert_or_assign("canModifyPasswordforSelf", allowed == "TRUE");
  }
}

void addActiveDirectory(Directory& directory, const Entry& user, Dictionary& policy) {
  if (accountExpires(user)) policy.insert_or_assign("usingHardExpirationDate", true);
  const auto set = number(user, Slot::PasswordLastSet);
  if (set == 0) {
    policy.insert_or_assign("newPasswordRequired", true);
  } else if (set && *set > 0) {
    policy.insert_or_assign("passwordLastSetTime", *set / kTicksOfSecond - kSecondsTo1970);
  }
  const auto& domain = directory.settings().passwordPolicy;
  if (domain.empty()) return;
  const PolicyEntry entry(directory, domain, {"maxPwdAge", "lockoutThreshold"});
  const auto age = number(entry.text("maxPwdAge"));
  const bool expires = (number(user, Slot::AccountControl).value_or(0) & kNeverExpires) == 0;
  // A span that is counted backwards; the least number is for ever.
  if (expires && age && *age < 0 && *age > std::numeric_limits<std::int64_t>::min()) {
    policy.insert_or_assign("maxMinutesUntilChangePassword", -*age / kTicksOfSecond / 60);
  }
  if (const auto failures = entry.count("lockoutThreshold")) {
    policy.insert_or_assign("maxFailedLoginAttempts", *failures);
  }
}

}  // namespace

std::optional<Dictionary> passwordPolicyOf(Directory& directory, const Entry& user) {
  Dictionary policy;
  if (directory.settings().profile == Profile::ActiveDirectory) {
    addActiveDirectory(directory, user, policy);
  } else {
    addShadow(user, policy);
    addOverlay(directory, user, policy);
  }
  if (policy.empty()) return std::nullopt;
  return policy;
}

Standing standingOf(Directory& directory, const Entry& user) {
  const auto time = static_cast<std::int64_t>(directory.now().time_since_epoch().count());
  const auto control = number(user, Slot::AccountControl).value_or(0);
  const auto computed = number(user, Slot::ComputedControl).value_or(0);
  if ((control & kAccountDisable) != 0 || (computed & kLockedOut) != 0) return Standing::Locked;
  if (isLocked(directory, user, time)) return Standing::Locked;
  if (const auto end = accountExpires(user); end && *end <= time) return Standing::Expired;
  if (const auto end = seconds(user.first(Slot::AccountEnd)); end && *end <= time) {
    return Standing::Expired;
  }
  const auto expiry = days(user, Slot::ShadowExpiry);
  return expiry && *expiry * kSecondsOfDay <= time ? Standing::Expired : Standing::Usable;
}

}  // namespace gatehall::ldap
