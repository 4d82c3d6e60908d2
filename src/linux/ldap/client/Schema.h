#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "linux/ldap/client/Settings.h"

namespace gatehall::ldap {

/// What an entry's attribute means to a record.
enum class Slot : std::uint8_t {
  ObjectClass,
  Name,
  UserID,
  GroupID,
  GUID,
  FullName,
  Shell,
  HomeFolder,
  Photo,        ///< never fetched with the rest: see Record
  MemberNames,  ///< login names of a group's members
  Members,      ///< DNs of a group's members, users and groups
  NestedNames,  ///< names of a group's member groups
  ShadowLastChange,
  ShadowMaximum,
  ShadowInactive,
  ShadowExpiry,
  PolicyName,  ///< DN of the password policy
  PasswordChanged,
  PasswordReset,
  AccountLocked,
  AccountEnd,
  SecurityID,       ///< Active Directory's objectSid, in words
  PrimaryGroup,     ///< the same's primaryGroupID: the last number of the group's objectSid
  AccountControl,   ///< the same's userAccountControl
  AccountExpires,   ///< the same's accountExpires
  PasswordLastSet,  ///< the same's pwdLastSet
  ComputedControl,  ///< the same's msDS-User-Account-Control-Computed
  FirstOther,       ///< from here on: kinds that only the settings name
};

/// How a directory's users, or its groups, are told from other entries, and which attributes they
/// keep what in.
class Schema {
 public:
  enum class Type : std::uint8_t { User, Group };

  Schema(const Settings& settings, Type type);

  const std::string& base() const { return mBase; }

  /// The filter that takes the entries of the type.
  const std::string& filter() const { return mFilter; }

  /// The same, and entries that are of the type but for a user id, which Active Directory's don't
  /// need: they are no accounts here.
  const std::string& widerFilter() const { return mWiderFilter; }
  bool needsUserID() const { return mFilter != mWiderFilter; }

  /// Whether an entry of these object classes is of the type, whatever it has for an id.
  bool takes(std::span<const std::string_view> objectClasses) const;

  /// The LDAP attribute; empty when there is none.
  const std::string& attribute(Slot slot) const;

  /// How many slots there are.
  std::size_t slots() const { return mAttributes.size(); }

  /// The slot that holds a record's kind as it stands; empty when none does.
  std::optional<Slot> slotOf(std::string_view kind) const;

  /// A record's kind and the slot that holds it as it stands.
  struct Kind {
    std::string kind;
    Slot slot;
  };
  const std::vector<Kind>& kinds() const { return mKinds; }

  /// The LDAP attributes to ask for, so that a record answers everything: all but the photo.
  const std::vector<std::string>& wanted() const { return mWanted; }

  /// Ids are made of the objectSid that the attributes of ids name, or are a part of.
  bool mapsIDs() const { return mMapsIDs; }

  /// GUIDs are 16 bytes in the order of Active Directory, not text.
  bool hasBinaryGUIDs() const { return mHasBinaryGUIDs; }

 private:
  void set(Slot slot, std::string_view attribute);
  void setUserAttributes(Profile profile);
  void setGroupAttributes(Profile profile);
  void override(const std::string& kind, const std::string& attribute);

  std::string mBase;
  std::string mFilter;
  std::string mWiderFilter;
  std::vector<std::string> mClasses;  ///< in lower case; any of them
  std::string mExcludedClass;
  std::vector<std::string> mAttributes;  ///< by slot
  std::vector<Kind> mKinds;
  std::vector<std::string> mWanted;
  bool mHasBinaryGUIDs;
  bool mMapsIDs;
};

}  // namespace gatehall::ldap
