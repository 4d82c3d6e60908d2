#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// One user account: its directory record, a few local attribute values that come before the
/// record's, and what a login screen knows about the user beside them (whose session is on the
/// console, whose is suspended, what parental controls said). Every property is read from the
/// record when it is asked for, so a synchronized record changes them all at once.
///
/// Attributes that can't be read are absent, and every property then answers as for an account
/// without them. A user is built on one thread and may then be read on another; the marks and the
/// parental-controls state may be read while they are written.
class GATEHALL_EXPORT CachedUser {
  class Private {
    friend class CachedUser;
    Private() = default;
  };

 public:
  /// A user of that record; nullptr for an account that may not be used here (attributesAllowed),
  /// and without a record. Asks parental controls. May raise PlatformException.
  static std::shared_ptr<CachedUser> cachedUserWithDirvoRecord(
      std::shared_ptr<DirectoryRecord> record);

  /// The user that the dictionary describes (recordForUserAttributes); nullptr when it may not be
  /// used or describes nobody. Of the dictionary only kUserPasswordKey is kept. Asks parental
  /// controls. May raise PlatformException.
  static std::shared_ptr<CachedUser> cachedUserWithAttributes(const Dictionary& attributes);

  /// A placeholder without a record, under which a login screen offers to type in a name; nullptr
  /// without a name.
  static std::shared_ptr<CachedUser> cachedOtherUser(std::optional<std::string> name);

  /// The attribute kinds that every query for users asks the directory to return.
  static const Strings& desiredAttributes();

  /// Whether an account with these attributes is one to log in with: it has a shell, a name and a
  /// user id, and neither its authority nor its password disables it. An account that authenticates
  /// by something other than "basic" keeps working with a password of "*".
  static bool attributesAllowed(const Dictionary& attributes);

  explicit CachedUser(Private) {}
  ~CachedUser();
  CachedUser(const CachedUser&) = delete;
  CachedUser& operator=(const CachedUser&) = delete;

  // Attributes

  /// The directory record; nullptr for an other user.
  const std::shared_ptr<DirectoryRecord>& DirvoRecord() const { return mDirvoRecord; }

  /// The attribute's first value, or absent.
  std::optional<Value> getAttribute(std::string_view kind) const;

  /// All its values: a list from the record, or the local value as it is stored. Absent without
  /// any.
  std::optional<Value> getAttributes(std::string_view kind) const;

  /// All attributes of the record, fetched anew, kind to list of strings. Absent without a record
  /// and when the directory does not answer. May raise PlatformException.
  std::optional<Dictionary> attributes() const;

  /// Synchronizes the record with the directory, as far as that answers, and forgets the picture.
  /// Raises nothing.
  void updateUserAttributes();

  // Identity and naming. Absent or the stated number when the account lacks the attribute.

  std::optional<std::string> shortName() const;
  /// The full name, or the short name when that is absent or empty. A guest's is the localized
  /// "GUEST_ACCOUNT_NAME", absent while the host has set no StringBundle.
  std::optional<std::string> longName() const;
  /// 0xFFFFFFFE without one.
  std::uint32_t getUid() const;
  /// 0 without one.
  std::uint32_t getGid() const;
  std::optional<std::string> getGUID() const;
  /// The GUID of the group that has the user's primary group id. May raise PlatformException.
  std::optional<std::string> primaryGroupGUID() const;
  std::optional<std::string> shell() const;
  /// The name of the node that holds the account.
  std::optional<std::string> node() const;
  /// All authentication authorities, as getAttributes.
  std::optional<Value> authAuthority() const;
  std::optional<std::string> passwordHint() const;
  std::optional<std::string> userPicturePath() const;
  std::optional<std::string> nfsHomePath() const;
  /// The home directory attribute as it stands.
  std::optional<std::string> ofpHomePath() const;
  /// The node that a mobile account was copied from.
  std::optional<std::string> mobileHomeUserNode() const;

  // Questions

  /// Whether the service access list "gatehall" admits the user; true when no such list exists.
  bool hasSACLAccess() const;
  bool isRootUser() const;
  /// User id 1000.
  bool isDirAdminUser() const;
  /// Short name "admin".
  bool isNameAdmin() const;
  /// Member of the local group "admin", directly or through nested groups. May raise
  /// PlatformException.
  bool isInAdminGroup() const;
  bool isGuestUser() const;
  /// Whether the account is on the local node.
  bool isLocalUser() const;
  /// Whether the account carries parental-controls settings.
  bool isManaged() const;
  /// Whether the account is a local copy of a network account.
  bool isMobileHomeUser() const;

  // Marks

  bool isCurrentUser() const { return has(kCurrentUser); }
  bool isOtherUser() const { return has(kOtherUser); }
  bool isSmartCardUser() const { return has(kSmartCardUser); }
  bool isSuspended() const { return has(kSuspended); }
  /// Sets the mark for exactly 1 and clears it for any other value; the other two set theirs for
  /// any value but 0.
  void setCurrentUser(signed char flag);
  void setSmartCardUser(signed char flag);
  void setSuspended(signed char flag);

  // Description and order

  /// The record's attributes as text, then "; Suspended", "; Local", "; SmartCardUser", "; Other"
  /// for what applies. May raise PlatformException.
  std::string description() const;

  /// -1, 0 or 1: plain, case-sensitive order of the GUIDs; an absent one comes first.
  int cachedUserGUIDCompare(const CachedUser& other) const;

  /// -1, 0 or 1: long names in the order that people of the locale expect; an absent one counts as
  /// empty.
  int cachedUserLongNameCompare(const CachedUser& other) const;

  // Authentication

  /// authenticate and changePassword: a failure without a code of the directory's own. The
  /// directory can't be reached or has nothing to say, or the user has no record.
  static constexpr std::int64_t kFailure = 5000;
  /// authenticate: a network account that the service access list does not admit.
  static constexpr std::int64_t kNotAdmitted = 5501;

  /// Verifies the password. 0: it is the account's. Else why it was refused, as far as that can be
  /// told; other codes than these refuse, too. The platform's failures are kFailure. Counts as no
  /// failed attempt on this machine.
  ///
  /// | code | what it says |
  /// |---|---|
  /// | 5000 | kFailure |
  /// | 5501 | kNotAdmitted; the directory is not asked |
  /// | 5101 | the password is wrong, or the account has none that could be right |
  /// | 5102 | the process may not read the hash: any password is answered so |
  /// | 5103 | the account is locked or past its end |
  /// | 5108 | the password is past its age, or has to be changed first |
  ///
  /// Those from 5101 on are the Linux directory's, by name in
  /// gatehall/linux/records/DirectoryErrorCodes.h. An unprivileged process, neither root's nor in
  /// the group shadow, hears 5102 of nearly every local account, and 5101 for the empty password of
  /// a network account even if that has none: it can't tell who has no password. Any other password
  /// of a network account is verified for everybody.
  std::int64_t authenticate(std::string_view password) const;

  /// Whether rules apply to the account's password: of a local account that is no mobile one,
  /// passwordPolicyInUse; of any other, that it has an authentication authority. Not of smart-card
  /// users and guests. May raise PlatformException.
  ///
  /// It does not say whether the user has to be asked for a password: a local account with one
  /// answers false while it has no policy, and one without any answers true under a policy. A login
  /// screen tries the empty password, authenticate(""), and asks unless that answers 0. One that
  /// can't read hashes leaves the question to PAM, which asks only who has a password.
  bool shouldAuthenticate() const;

  /// Whether a local account's password is of the crypt kind: no authority, or "basic".
  bool hasCryptPassword() const;
  bool hasShadowHashAuthAuthority() const;
  /// May raise PlatformException.
  bool canModifyPassword() const;

  /// 0 changed, kFailure, or the directory's own code: on Linux those of authenticate for the old
  /// password, 5105 when the new one is refused, 5106 when passwords can't be changed here. May
  /// raise PlatformException.
  std::int64_t changePassword(std::string_view oldPassword, std::string_view toNewPassword);

  /// Writes the hint; false without a hint, when the directory refuses, and after a failure, which
  /// is logged.
  bool setPasswordHint(std::optional<std::string_view> hint);

  /// The password that came with the attributes the user was made of (kUserPasswordKey).
  std::optional<std::string> fusPassword() const;

  // Password policy

  /// The account's policy; a mobile account without one has that of the account it was copied from.
  /// May raise PlatformException.
  std::optional<Dictionary> passwordPolicy() const;

  /// Whether any rule of the policy applies. May raise PlatformException.
  bool passwordPolicyInUse() const;

  /// Minutes until the password expires, truncated; 0 when it does not. A password that has expired
  /// answers the negative number of minutes modulo 2^64. May raise PlatformException.
  std::uint64_t minutesUntilPasswordExpires() const;

  // Home folder

  /// Whether the home folder is an encrypted disk image: its URL is a file's, not a server's. May
  /// raise PlatformException.
  bool isCryptwellUser() const;

  /// Whether the account is marked as having its home on an external volume.
  bool isExternalHomeUser() const;

  // Parental controls, as last asked

  bool kinwatchAllowsLogin() const { return mKWResult == 0; }
  std::optional<Date> kinwatchNextCurfewTime() const;

  /// Asks parental controls about this user now. Accounts without settings are never asked about.
  /// May raise PlatformException.
  void kinwatchStatusUpdated();

 private:
  static constexpr std::uint32_t kCurrentUser = 0x1;
  static constexpr std::uint32_t kOtherUser = 0x2;
  static constexpr std::uint32_t kSmartCardUser = 0x4;
  static constexpr std::uint32_t kSuspended = 0x8;
  /// Parental controls refuse the login, or know of a curfew. For hosts; the layer does not read
  /// it.
  static constexpr std::uint32_t kKinwatchLimit = 0x10;

  bool has(std::uint32_t flag) const { return (mFlags & flag) != 0; }
  void setFlag(std::uint32_t flag, bool set);
  std::optional<std::string> firstOfRecord(std::string_view kind) const;
  std::optional<std::string> text(std::string_view kind) const;
  void setKinwatchStatus(bool limit, std::int32_t result, std::optional<Date> nextCurfew);

  std::shared_ptr<DirectoryRecord> mDirvoRecord;
  std::unique_ptr<Dictionary> mAttributes;  ///< besides the record's, of the few who have any
  std::atomic<std::uint32_t> mFlags = 0;
  std::atomic<std::int32_t> mKWResult = 0;
  /// In seconds since 1970; not a number without one.
  std::atomic<double> mKWDate = std::numeric_limits<double>::quiet_NaN();
  /// The encoded account picture; for hosts that fill it.
  std::shared_ptr<const Data> mPicture;
};

}  // namespace gatehall
