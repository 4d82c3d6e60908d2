#include "gatehall/users/CachedUser.h"

#include <utility>

#include "gatehall/directory/DesiredAttributes.h"
#include "gatehall/directory/LocalNodeName.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/directory/RecordConvenience.h"
#include "gatehall/directory/RecordForUserAttributes.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/LoginService.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/AttributeValue.h"
#include "gatehall/users/AuthenticationAuthority.h"
#include "gatehall/users/StringBundle.h"

namespace gatehall {

namespace {

constexpr std::string_view kNoLoginShell = "/usr/bin/false";
constexpr std::string_view kDisabledPassword = "*";
constexpr std::string_view kLoginServiceName = "gatehall";

const Value* find(const Dictionary& attributes, std::string_view kind) {
  const auto entry = attributes.find(kind);
  return entry != attributes.end() ? &entry->second : nullptr;
}

/// The identifier under which the membership service knows a user: by GUID where that can be
/// converted, else by user id. Absent when the user id can't be converted either.
std::optional<Identifier> membershipIdentifier(const CachedUser& user) {
  constexpr Identifier none{};
  auto& membership = platform().membership();
  Identifier identifier = none;
  if (const auto guid = user.getGUID()) {
    if (membership.guidToIdentifier(*guid, identifier) != 0) identifier = none;
  }
  if (identifier == none && membership.userIDToIdentifier(user.getUid(), identifier) != 0) {
    return std::nullopt;
  }
  return identifier;
}

}  // namespace

std::shared_ptr<CachedUser> CachedUser::cachedUserWithDirvoRecord(
    std::shared_ptr<DirectoryRecord> record) {
  if (!record) return nullptr;
  const auto details = record->recordDetails({});
  if (!details || !attributesAllowed(*details)) return nullptr;
  auto user = std::make_shared<CachedUser>(Private());
  user->mDirvoRecord = std::move(record);
  user->kinwatchStatusUpdated();
  return user;
}

std::shared_ptr<CachedUser> CachedUser::cachedUserWithAttributes(const Dictionary& attributes) {
  if (!attributesAllowed(attributes)) return nullptr;
  auto record = recordForUserAttributes(attributes);
  if (!record) return nullptr;
  auto user = std::make_shared<CachedUser>(Private());
  user->mDirvoRecord = std::move(record);
  if (const auto* password = find(attributes, kUserPasswordKey)) {
    user->mAttributes =
        std::make_unique<Dictionary>(Dictionary{{std::string(kUserPasswordKey), *password}});
  }
  user->kinwatchStatusUpdated();
  return user;
}

std::shared_ptr<CachedUser> CachedUser::cachedOtherUser(std::optional<std::string> name) {
  if (!name) return nullptr;
  auto user = std::make_shared<CachedUser>(Private());
  user->mFlags = kOtherUser;
  user->mAttributes = std::make_unique<Dictionary>(
      Dictionary{{std::string(attribute::FullName), Strings{*name}},
                 {std::string(attribute::RecordName), Strings{*name}}});
  return user;
}

const Strings& CachedUser::desiredAttributes() { return desiredUserAttributes(); }

bool CachedUser::attributesAllowed(const Dictionary& attributes) {
  const auto* shell = find(attributes, attribute::UserShell);
  if (shell != nullptr && isAttrEqualToString(*shell, kNoLoginShell)) return false;

  const auto* authority = find(attributes, attribute::AuthenticationAuthority);
  if (authority != nullptr && doesAttrContainString(*authority, authority::DisabledUser)) {
    return false;
  }
  if (authority == nullptr || doesAttrContainString(*authority, authority::Basic)) {
    const auto* password = find(attributes, attribute::Password);
    if (password != nullptr && isAttrEqualToString(*password, kDisabledPassword)) return false;
  }

  const auto* name = find(attributes, attribute::RecordName);
  if (name == nullptr || isAttrEqualToString(*name, "")) return false;
  return attributes.contains(attribute::UniqueID);
}

std::optional<Value> CachedUser::getAttribute(std::string_view kind) const {
  kind = attribute::canonical(kind);
  try {
    if (mAttributes) {
      if (const auto* local = find(*mAttributes, kind)) {
        if (auto first = attrAtIndex(*local, 0)) return first;
      }
    }
    if (auto first = firstOfRecord(kind)) return std::move(*first);
    return std::nullopt;
  } catch (const PlatformException&) {
    return std::nullopt;
  }
}

/// May raise PlatformException.
std::optional<std::string> CachedUser::firstOfRecord(std::string_view kind) const {
  if (!mDirvoRecord) return std::nullopt;
  auto values = mDirvoRecord->valuesForAttribute(kind);
  if (!values || values->empty()) return std::nullopt;
  return std::move(values->front());
}

std::optional<Value> CachedUser::getAttributes(std::string_view kind) const {
  kind = attribute::canonical(kind);
  try {
    if (mAttributes) {
      if (const auto* local = find(*mAttributes, kind)) return *local;
    }
    if (!mDirvoRecord) return std::nullopt;
    const auto values = mDirvoRecord->valuesForAttribute(kind);
    if (!values) return std::nullopt;
    return Value(*values);
  } catch (const PlatformException&) {
    return std::nullopt;
  }
}

std::optional<Dictionary> CachedUser::attributes() const {
  return mDirvoRecord ? mDirvoRecord->recordDetails({}) : std::nullopt;
}

void CachedUser::updateUserAttributes() {
  mPicture = nullptr;
  if (!mDirvoRecord) return;
  try {
    mDirvoRecord->synchronize();
  } catch (const PlatformException& failure) {
    // The record stays as it was read last.
    platform().log().diagnostic(std::string("Unable to read an account again: ") + failure.what());
  }
}

std::optional<std::string> CachedUser::text(std::string_view kind) const {
  if (!mAttributes) {
    try {
      return firstOfRecord(attribute::canonical(kind));
    } catch (const PlatformException&) {
      return std::nullopt;
    }
  }
  const auto value = getAttribute(kind);
  const auto* string = value ? value->string() : nullptr;
  return string != nullptr ? std::optional(*string) : std::nullopt;
}

std::optional<std::string> CachedUser::shortName() const { return text(attribute::RecordName); }

std::optional<std::string> CachedUser::longName() const {
  if (isGuestUser()) return localizedString("GUEST_ACCOUNT_NAME", "", "Localizable");
  auto name = text(attribute::FullName);
  return name && !name->empty() ? name : shortName();
}

std::uint32_t CachedUser::getUid() const {
  const auto value = getAttribute(attribute::UniqueID);
  return value ? static_cast<std::uint32_t>(value->integerValue().value_or(0)) : kUnreadableUID;
}

std::uint32_t CachedUser::getGid() const {
  const auto value = getAttribute(attribute::PrimaryGroupID);
  return value ? static_cast<std::uint32_t>(value->integerValue().value_or(0)) : 0;
}

std::optional<std::string> CachedUser::getGUID() const { return text(attribute::GUID); }

std::optional<std::string> CachedUser::primaryGroupGUID() const {
  auto groupID = text(attribute::PrimaryGroupID);
  if (!groupID) return std::nullopt;
  const auto groups =
      queryResults(searchNode(), equalTo({record::Groups}, attribute::PrimaryGroupID,
                                         {std::move(*groupID)}, {std::string(attribute::GUID)}));
  if (!groups || groups->empty()) return std::nullopt;
  return gatehall::getGUID(*groups->front());
}

std::optional<std::string> CachedUser::shell() const { return text(attribute::UserShell); }

std::optional<std::string> CachedUser::node() const { return text(attribute::MetaNodeLocation); }

std::optional<Value> CachedUser::authAuthority() const {
  return getAttributes(attribute::AuthenticationAuthority);
}

std::optional<std::string> CachedUser::passwordHint() const {
  return text(attribute::AuthenticationHint);
}

std::optional<std::string> CachedUser::userPicturePath() const { return text(attribute::Picture); }

std::optional<std::string> CachedUser::nfsHomePath() const {
  return text(attribute::NFSHomeDirectory);
}

std::optional<std::string> CachedUser::ofpHomePath() const {
  return text(attribute::HomeDirectory);
}

std::optional<std::string> CachedUser::mobileHomeUserNode() const {
  return text(attribute::OriginalNodeName);
}

bool CachedUser::hasSACLAccess() const {
  const auto identifier = membershipIdentifier(*this);
  if (!identifier) return false;
  if (*identifier == Identifier{}) return true;
  bool isMember = false;
  const int status =
      platform().membership().checkServiceMembership(*identifier, kLoginServiceName, isMember);
  return status == 0 ? isMember : status == MembershipService::kNoAccessList;
}

bool CachedUser::isRootUser() const { return getUid() == 0; }

bool CachedUser::isDirAdminUser() const { return getUid() == 1000; }

bool CachedUser::isNameAdmin() const { return shortName() == "admin"; }

bool CachedUser::isInAdminGroup() const {
  const auto local = localNode();
  const auto group = local ? local->recordByTypeAndName(record::Groups, "admin", {}) : nullptr;
  return group && mDirvoRecord && group->isMember(*mDirvoRecord);
}

bool CachedUser::isGuestUser() const {
  const auto marker = getAttribute(attribute::Guest);
  return marker && marker->booleanValue().value_or(false);
}

bool CachedUser::isLocalUser() const {
  const auto home = getAttribute(attribute::MetaNodeLocation);
  if (!home) return false;
  const auto local = localNodeName();
  return local && isAttrEqualToString(*home, *local);
}

bool CachedUser::isManaged() const {
  const auto settings = text(attribute::TavloSettings);
  return settings && !settings->empty();
}

bool CachedUser::isMobileHomeUser() const {
  return getAttribute(attribute::CopyTimestamp).has_value();
}

void CachedUser::setFlag(std::uint32_t flag, bool set) {
  if (set) {
    mFlags |= flag;
  } else {
    mFlags &= ~flag;
  }
}

void CachedUser::setCurrentUser(signed char flag) { setFlag(kCurrentUser, flag == 1); }

void CachedUser::setSmartCardUser(signed char flag) { setFlag(kSmartCardUser, flag != 0); }

void CachedUser::setSuspended(signed char flag) { setFlag(kSuspended, flag != 0); }

std::string CachedUser::description() const {
  const auto details = attributes();
  auto text = details ? gatehall::description(*details) : std::string();
  if (isSuspended()) text += "; Suspended";
  if (isLocalUser()) text += "; Local";
  if (isSmartCardUser()) text += "; SmartCardUser";
  if (isOtherUser()) text += "; Other";
  return text;
}

int CachedUser::cachedUserGUIDCompare(const CachedUser& other) const {
  const auto order = getGUID() <=> other.getGUID();
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

int CachedUser::cachedUserLongNameCompare(const CachedUser& other) const {
  return platform().collation().compare(longName().value_or(""), other.longName().value_or(""));
}

}  // namespace gatehall
