#include <initializer_list>

#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/CachedUser.h"

namespace gatehall {

namespace {

std::optional<std::uint64_t> number(const Dictionary& policy, std::string_view key) {
  const auto entry = policy.find(key);
  return entry != policy.end() ? entry->second.unsignedValue() : std::nullopt;
}

bool isYes(const Dictionary& policy, std::string_view key) {
  const auto entry = policy.find(key);
  return entry != policy.end() && entry->second.booleanValue().value_or(false);
}

/// As compilers convert a double to an unsigned 64-bit integer, negative numbers included, for
/// which the language leaves it open.
std::uint64_t unsignedFromDouble(double number) {
  constexpr double half = 9223372036854775808.0;
  if (number >= half) {
    const double rest = number - half;
    const auto low = rest < half ? static_cast<std::uint64_t>(rest) : 0;
    return low ^ (std::uint64_t{1} << 63U);
  }
  if (number < -half) return std::uint64_t{1} << 63U;
  return static_cast<std::uint64_t>(static_cast<std::int64_t>(number));
}

}  // namespace

std::optional<Dictionary> CachedUser::passwordPolicy() const {
  if (!mDirvoRecord) return std::nullopt;
  if (auto policy = mDirvoRecord->passwordPolicy()) return policy;
  if (!isMobileHomeUser()) return std::nullopt;

  const auto originalNode = mobileHomeUserNode();
  const auto name = shortName();
  if (!originalNode || !name) return std::nullopt;
  const auto originals = queryResults(nodeWithName(*originalNode),
                                      equalTo({record::Users}, attribute::RecordName, {*name}, {}));
  if (!originals || originals->empty()) return std::nullopt;
  return originals->front()->passwordPolicy();
}

bool CachedUser::passwordPolicyInUse() const {
  const auto policy = passwordPolicy();
  if (!policy) return false;
  for (const auto* key :
       {"newPasswordRequired", "usingExpirationDate", "usingHardExpirationDate"}) {
    if (isYes(*policy, key)) return true;
  }
  for (const auto* key : {"maxMinutesUntilChangePassword", "maxMinutesUntilDisabled",
                          "maxMinutesOfNonUse", "maxFailedLoginAttempts"}) {
    if (number(*policy, key).value_or(0) != 0) return true;
  }
  return false;
}

std::uint64_t CachedUser::minutesUntilPasswordExpires() const {
  const auto policy = passwordPolicy();
  if (!policy) return 0;
  const auto lastSet = number(*policy, "passwordLastSetTime");
  const auto lifetimeMinutes = number(*policy, "maxMinutesUntilChangePassword");
  if (!lastSet || !lifetimeMinutes) return 0;

  const std::uint64_t lifetime = *lifetimeMinutes * 60;  // seconds, modulo 2^64
  const double expiry = static_cast<double>(*lastSet) + static_cast<double>(lifetime);
  const double now = platform().clock().now().time_since_epoch().count();
  return unsignedFromDouble((expiry - now) / 60.0);
}

}  // namespace gatehall
