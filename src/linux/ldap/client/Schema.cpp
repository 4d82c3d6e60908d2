#include "linux/ldap/client/Schema.h"

#include <algorithm>

#include "base/Ascii.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/ldap/client/SearchFilter.h"

namespace gatehall::ldap {

namespace {

constexpr std::size_t index(Slot slot) { return static_cast<std::size_t>(slot); }

const std::string kNoAttribute;

std::string userClassOf(Profile profile) {
  return profile == Profile::ActiveDirectory ? "user" : "posixaccount";
}

}  // namespace

Schema::Schema(const Settings& settings, Type type)
    : mBase(type == Type::User ? settings.usersBase : settings.groupsBase),
      mAttributes(index(Slot::FirstOther)),
      mHasBinaryGUIDs(settings.profile == Profile::ActiveDirectory),
      mMapsIDs(settings.mapsIDs) {
  set(Slot::ObjectClass, "objectClass");
  set(Slot::GUID, mHasBinaryGUIDs ? "objectGUID" : "entryUUID");
  set(Slot::GroupID, "gidNumber");
  if (mHasBinaryGUIDs) set(Slot::SecurityID, "objectSid");
  mKinds = {{std::string(attribute::RecordName), Slot::Name},
            {std::string(attribute::GUID), Slot::GUID},
            {std::string(attribute::PrimaryGroupID), Slot::GroupID}};
  std::string_view configured;
  if (type == Type::User) {
    configured = settings.usersFilter;
    setUserAttributes(settings.profile);
    for (const auto& [kind, name] : settings.userAttributes) override(kind, name);
  } else {
    configured = settings.groupsFilter;
    setGroupAttributes(settings.profile);
    // What is a user as well is one that the users' filter takes, or nothing.
    if (!settings.usersFilter.empty()) mExcludedClass = userClassOf(settings.profile);
    for (const auto& [kind, name] : settings.groupAttributes) override(kind, name);
  }

  if (mMapsIDs) {
    if (type == Type::User) set(Slot::UserID, attribute(Slot::SecurityID));
    set(Slot::GroupID, attribute(type == Type::User ? Slot::PrimaryGroup : Slot::SecurityID));
  }

  mFilter = mClasses.size() == 1 ? "(objectClass=" + mClasses.front() + ")" : "(|";
  if (mClasses.size() > 1) {
    for (const auto& each : mClasses) mFilter += "(objectClass=" + each + ")";
    mFilter += ")";
  }
  if (!mExcludedClass.empty()) {
    mFilter = "(&" + mFilter + "(!(objectClass=" + mExcludedClass + ")))";
  }
  if (!configured.empty()) mFilter = searchFilter::bothOf(mFilter, configured);
  mWiderFilter = mFilter;
  const auto& id = attribute(Slot::UserID);
  if (settings.profile == Profile::ActiveDirectory && !id.empty()) {
    mFilter = searchFilter::bothOf(mFilter, "(" + id + "=*)");
  }
  for (std::size_t slot = 0; slot < mAttributes.size(); ++slot) {
    const auto& name = mAttributes[slot];
    if (name.empty() || slot == index(Slot::Photo)) continue;
    if (std::ranges::find(mWanted, name) == mWanted.end()) mWanted.push_back(name);
  }
}

void Schema::setUserAttributes(Profile profile) {
  const bool isActiveDirectory = profile == Profile::ActiveDirectory;
  mClasses = {userClassOf(profile)};
  if (isActiveDirectory) mExcludedClass = "computer";
  set(Slot::Name, isActiveDirectory ? "sAMAccountName" : "uid");
  set(Slot::UserID, "uidNumber");
  set(Slot::FullName, isActiveDirectory ? "displayName" : "cn");
  set(Slot::Shell, "loginShell");
  set(Slot::HomeFolder, isActiveDirectory ? "unixHomeDirectory" : "homeDirectory");
  set(Slot::Photo, isActiveDirectory ? "thumbnailPhoto" : "jpegPhoto");
  mKinds.push_back({std::string(attribute::UniqueID), Slot::UserID});
  mKinds.push_back({std::string(attribute::FullName), Slot::FullName});
  mKinds.push_back({std::string(attribute::UserShell), Slot::Shell});
  mKinds.push_back({std::string(attribute::NFSHomeDirectory), Slot::HomeFolder});
  mKinds.push_back({std::string(attribute::JPEGPhoto), Slot::Photo});
  if (isActiveDirectory) {
    set(Slot::PrimaryGroup, "primaryGroupID");
    set(Slot::AccountControl, "userAccountControl");
    set(Slot::AccountExpires, "accountExpires");
    set(Slot::PasswordLastSet, "pwdLastSet");
    set(Slot::ComputedControl, "msDS-User-Account-Control-Computed");
    return;
  }
  set(Slot::ShadowLastChange, "shadowLastChange");
  set(Slot::ShadowMaximum, "shadowMax");
  set(Slot::ShadowInactive, "shadowInactive");
  set(Slot::ShadowExpiry, "shadowExpire");
  set(Slot::PolicyName, "pwdPolicySubentry");
  set(Slot::PasswordChanged, "pwdChangedTime");
  set(Slot::PasswordReset, "pwdReset");
  set(Slot::AccountLocked, "pwdAccountLockedTime");
  set(Slot::AccountEnd, "pwdEndTime");
}

void Schema::setGroupAttributes(Profile profile) {
  switch (profile) {
    case Profile::Rfc2307:
      mClasses = {"posixgroup"};
      set(Slot::Name, "cn");
      set(Slot::MemberNames, "memberUid");
      break;
    case Profile::Rfc2307bis:
      mClasses = {"posixgroup", "groupofnames"};
      set(Slot::Name, "cn");
      set(Slot::MemberNames, "memberUid");
      set(Slot::Members, "member");
      break;
    case Profile::ActiveDirectory:
      mClasses = {"group"};
      set(Slot::Name, "sAMAccountName");
      set(Slot::Members, "member");
      break;
  }
  mKinds.push_back({std::string(attribute::GroupMembership), Slot::MemberNames});
  mKinds.push_back({std::string(attribute::GroupMembers), Slot::Members});
  mKinds.push_back({std::string(attribute::NestedGroups), Slot::NestedNames});
}

void Schema::set(Slot slot, std::string_view attribute) { mAttributes[index(slot)] = attribute; }

void Schema::override(const std::string& kind, const std::string& attribute) {
  const auto known = std::ranges::find(mKinds, kind, &Kind::kind);
  if (known != mKinds.end()) return set(known->slot, attribute);
  mKinds.push_back({kind, static_cast<Slot>(mAttributes.size())});
  mAttributes.push_back(attribute);
}

bool Schema::takes(std::span<const std::string_view> objectClasses) const {
  const auto has = [&](const std::string& wanted) {
    return std::ranges::any_of(objectClasses,
                               [&](std::string_view each) { return ascii::isSame(each, wanted); });
  };
  return std::ranges::any_of(mClasses, has) && (mExcludedClass.empty() || !has(mExcludedClass));
}

const std::string& Schema::attribute(Slot slot) const {
  return index(slot) < mAttributes.size() ? mAttributes[index(slot)] : kNoAttribute;
}

std::optional<Slot> Schema::slotOf(std::string_view kind) const {
  const auto known = std::ranges::find(mKinds, kind, &Kind::kind);
  if (known == mKinds.end()) return std::nullopt;
  return known->slot;
}

}  // namespace gatehall::ldap
