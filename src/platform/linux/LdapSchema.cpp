#include "platform/linux/LdapSchema.h"

#include <algorithm>
#include <strings.h>

#include "platform/AttributeKinds.h"

namespace gatehall {

namespace {

constexpr std::size_t index(LdapSlot slot) { return static_cast<std::size_t>(slot); }

const std::string kNoAttribute;

bool isSameAttribute(std::string_view left, std::string_view right) {
  return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

}  // namespace

LdapSchema::LdapSchema(const LdapSettings& settings, Type type)
    : mBase(type == Type::User ? settings.usersBase : settings.groupsBase),
      mAttributes(index(LdapSlot::FirstOther)),
      mHasBinaryGUIDs(settings.profile == LdapProfile::ActiveDirectory) {
  set(LdapSlot::ObjectClass, "objectClass");
  set(LdapSlot::GUID, mHasBinaryGUIDs ? "objectGUID" : "entryUUID");
  set(LdapSlot::GroupID, "gidNumber");
  mKinds = {{std::string(attribute::RecordName), LdapSlot::Name},
            {std::string(attribute::GUID), LdapSlot::GUID},
            {std::string(attribute::PrimaryGroupID), LdapSlot::GroupID}};
  if (type == Type::User) {
    setUserAttributes(settings.profile);
    for (const auto& [kind, name] : settings.userAttributes) override(kind, name);
  } else {
    setGroupAttributes(settings.profile);
    for (const auto& [kind, name] : settings.groupAttributes) override(kind, name);
  }

  mFilter = mClasses.size() == 1 ? "(objectClass=" + mClasses.front() + ")" : "(|";
  if (mClasses.size() > 1) {
    for (const auto& each : mClasses) mFilter += "(objectClass=" + each + ")";
    mFilter += ")";
  }
  if (!mExcludedClass.empty()) {
    mFilter = "(&" + mFilter + "(!(objectClass=" + mExcludedClass + ")))";
  }
  for (std::size_t slot = 0; slot < mAttributes.size(); ++slot) {
    const auto& name = mAttributes[slot];
    if (name.empty() || slot == index(LdapSlot::Photo)) continue;
    if (std::ranges::find(mWanted, name) == mWanted.end()) mWanted.push_back(name);
  }
}

void LdapSchema::setUserAttributes(LdapProfile profile) {
  const bool isActiveDirectory = profile == LdapProfile::ActiveDirectory;
  mClasses = {isActiveDirectory ? "user" : "posixaccount"};
  if (isActiveDirectory) mExcludedClass = "computer";
  set(LdapSlot::Name, isActiveDirectory ? "sAMAccountName" : "uid");
  set(LdapSlot::UserID, "uidNumber");
  set(LdapSlot::FullName, isActiveDirectory ? "displayName" : "cn");
  set(LdapSlot::Shell, "loginShell");
  set(LdapSlot::HomeFolder, isActiveDirectory ? "unixHomeDirectory" : "homeDirectory");
  set(LdapSlot::Photo, isActiveDirectory ? "thumbnailPhoto" : "jpegPhoto");
  mKinds.push_back({std::string(attribute::UniqueID), LdapSlot::UserID});
  mKinds.push_back({std::string(attribute::FullName), LdapSlot::FullName});
  mKinds.push_back({std::string(attribute::UserShell), LdapSlot::Shell});
  mKinds.push_back({std::string(attribute::NFSHomeDirectory), LdapSlot::HomeFolder});
  mKinds.push_back({std::string(attribute::JPEGPhoto), LdapSlot::Photo});
  if (isActiveDirectory) {
    set(LdapSlot::AccountControl, "userAccountControl");
    set(LdapSlot::AccountExpires, "accountExpires");
    set(LdapSlot::PasswordLastSet, "pwdLastSet");
    return;
  }
  set(LdapSlot::ShadowLastChange, "shadowLastChange");
  set(LdapSlot::ShadowMaximum, "shadowMax");
  set(LdapSlot::ShadowInactive, "shadowInactive");
  set(LdapSlot::ShadowExpiry, "shadowExpire");
  set(LdapSlot::PolicyName, "pwdPolicySubentry");
  set(LdapSlot::PasswordChanged, "pwdChangedTime");
  set(LdapSlot::PasswordReset, "pwdReset");
  set(LdapSlot::AccountLocked, "pwdAccountLockedTime");
  set(LdapSlot::AccountEnd, "pwdEndTime");
}

void LdapSchema::setGroupAttributes(LdapProfile profile) {
  switch (profile) {
    case LdapProfile::Rfc2307:
      mClasses = {"posixgroup"};
      set(LdapSlot::Name, "cn");
      set(LdapSlot::MemberNames, "memberUid");
      break;
    case LdapProfile::Rfc2307bis:
      mClasses = {"posixgroup", "groupofnames"};
      set(LdapSlot::Name, "cn");
      set(LdapSlot::MemberNames, "memberUid");
      set(LdapSlot::Members, "member");
      break;
    case LdapProfile::ActiveDirectory:
      mClasses = {"group"};
      set(LdapSlot::Name, "sAMAccountName");
      set(LdapSlot::Members, "member");
      break;
  }
  mKinds.push_back({std::string(attribute::GroupMembership), LdapSlot::MemberNames});
  mKinds.push_back({std::string(attribute::GroupMembers), LdapSlot::Members});
  mKinds.push_back({std::string(attribute::NestedGroups), LdapSlot::NestedNames});
}

void LdapSchema::set(LdapSlot slot, std::string_view attribute) {
  mAttributes[index(slot)] = attribute;
}

void LdapSchema::override(const std::string& kind, const std::string& attribute) {
  const auto known = std::ranges::find(mKinds, kind, &Kind::kind);
  if (known != mKinds.end()) return set(known->slot, attribute);
  mKinds.push_back({kind, static_cast<LdapSlot>(mAttributes.size())});
  mAttributes.push_back(attribute);
}

bool LdapSchema::takes(std::span<const std::string_view> objectClasses) const {
  const auto has = [&](const std::string& wanted) {
    return std::ranges::any_of(
        objectClasses, [&](std::string_view each) { return isSameAttribute(each, wanted); });
  };
  return std::ranges::any_of(mClasses, has) && (mExcludedClass.empty() || !has(mExcludedClass));
}

const std::string& LdapSchema::attribute(LdapSlot slot) const {
  return index(slot) < mAttributes.size() ? mAttributes[index(slot)] : kNoAttribute;
}

std::optional<LdapSlot> LdapSchema::slotOf(std::string_view kind) const {
  const auto known = std::ranges::find(mKinds, kind, &Kind::kind);
  if (known == mKinds.end()) return std::nullopt;
  return known->slot;
}

}  // namespace gatehall
