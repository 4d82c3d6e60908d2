#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/LoginService.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/AttributeValue.h"
#include "gatehall/users/AuthenticationAuthority.h"
#include "gatehall/users/CachedUser.h"

namespace gatehall {

namespace {

std::int64_t failureCode(const DirectoryError& error) {
  return error.domain == kDirectoryErrorDomain ? error.code : CachedUser::kFailure;
}

}  // namespace

CachedUser::~CachedUser() {
  if (!mAttributes) return;
  const auto password = mAttributes->find(kUserPasswordKey);
  if (password != mAttributes->end()) password->second.wipe();
}

std::int64_t CachedUser::authenticate(std::string_view password) const {
  if (!isLocalUser() && !hasSACLAccess()) return kNotAdmitted;
  try {
    DirectoryError error;
    if (mDirvoRecord && mDirvoRecord->verifyPassword(password, error)) return 0;
    return failureCode(error);
  } catch (const PlatformException&) {
    return kFailure;
  }
}

bool CachedUser::shouldAuthenticate() const {
  if (isSmartCardUser() || isGuestUser()) return false;
  if (isLocalUser() && !isMobileHomeUser()) return passwordPolicyInUse();
  const auto authority = authAuthority();
  return authority && attrAtIndex(*authority, 0).has_value();
}

bool CachedUser::hasCryptPassword() const {
  if (!isLocalUser()) return false;
  const auto authority = authAuthority();
  return !authority || doesAttrContainString(*authority, authority::Basic);
}

bool CachedUser::hasShadowHashAuthAuthority() const {
  const auto authority = authAuthority();
  return authority && doesAttrContainString(*authority, authority::ShadowHash);
}

bool CachedUser::canModifyPassword() const {
  const auto policy = passwordPolicy();
  if (!policy) return true;
  const auto entry = policy->find("canModifyPasswordforSelf");
  return entry == policy->end() || entry->second.booleanValue().value_or(false);
}

std::int64_t CachedUser::changePassword(std::string_view oldPassword,
                                        std::string_view toNewPassword) {
  DirectoryError error;
  if (mDirvoRecord && mDirvoRecord->changePassword(oldPassword, toNewPassword, error)) return 0;
  return failureCode(error);
}

bool CachedUser::setPasswordHint(std::optional<std::string_view> hint) {
  if (!hint) return false;
  try {
    return mDirvoRecord && mDirvoRecord->setValue(*hint, attribute::AuthenticationHint);
  } catch (const PlatformException&) {
    platform().log().error("Failed to set the password hint for user " + shortName().value_or(""));
    return false;
  }
}

std::optional<std::string> CachedUser::fusPassword() const {
  if (!mAttributes) return std::nullopt;
  const auto entry = mAttributes->find(kUserPasswordKey);
  if (entry == mAttributes->end()) return std::nullopt;
  const auto password = attrAtIndex(entry->second, 0);
  const auto* string = password ? password->string() : nullptr;
  return string != nullptr ? std::optional(*string) : std::nullopt;
}

}  // namespace gatehall
