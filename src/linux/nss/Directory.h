#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/platform/Clock.h"
#include "gatehall/platform/Log.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "linux/nss/Entry.h"
#include "linux/nss/GUIDs.h"
#include "linux/nss/Kept.h"
#include "linux/nss/LocalGroups.h"
#include "linux/nss/Message.h"
#include "linux/nss/Settings.h"
#include "linux/records/LocalAccounts.h"
#include "linux/records/LoginShells.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::nss {

/// What the node of a directory behind the name service and its records share. No entry comes out
/// of it that is the machine's own, or has what is: by name, by id, and of users by GUID; none with
/// an id out of the range, and none without the domain part, that the settings give. From any
/// thread. The log and the clock have to outlive it.
///
/// Whatever asks the service raises DirectoryUnreachable when there is no whole answer, and
/// PlatformException when the machine's own accounts can't be read.
class Directory {
 public:
  Directory(Settings settings, HostOptions options, std::shared_ptr<LocalAccounts> localAccounts,
            std::shared_ptr<FaultLog> faults, std::shared_ptr<GUIDs> guids, Log& log, Clock& clock);

  /// "nss/NAME".
  const std::string& nodeName() const { return mNodeName; }

  /// Why it can't be asked, tried no more often than every few seconds; empty when it can. Raises
  /// nothing.
  std::optional<std::string> whyUnreachable();

  /// Tries it, whatever is remembered. The server is named by the services of nsswitch.conf.
  NetworkNode::Reached reach();

  enum class Key { Name, ID, GUID };

  /// The entries that have any of the values, by name. By a GUID also what is known by the name
  /// alone: a group's member who was not seen here, and what the service doesn't tell of now. By a
  /// name and a GUID groups that are left out, too, so that no list which names one comes out as
  /// naming nobody: of these nothing is told, and who is in one raises PlatformException.
  /// Raises PlatformException, too, for a GUID that may be of a name that wasn't met.
  Entries find(Type type, Key key, const Strings& values);

  /// Users by the names alone, without asking for any.
  Entries named(const Strings& names);

  /// All that can be told: what the service enumerates, those that the settings name and, of users,
  /// those who were seen on this machine.
  Entries all(Type type);

  /// The users who were seen on this machine: who owns one of the home folders.
  Entries seen();

  /// The users that were asked about one by one, whom the rest is about: the last few, and whoever
  /// was not among those whose membership was told until a minute ago.
  Entries askedAbout();

  /// The login names of a group's members, of one that the service tells of: those it lists, those
  /// seen whose primary group it is, and those asked about that the service counts in.
  Strings membersOf(const Entry& group);

  /// Whether the service counts the user in.
  bool isMember(const Entry& group, const std::string& userName, std::uint32_t primaryGroupID);

  /// The users with that value that are found by nobody, and why.
  std::vector<NetworkNode::LeftOut> leftOut(Key key, const std::string& value);

  /// A shell as records hand it out.
  std::string effectiveShell(std::string_view shell);

  /// Drops what was fetched.
  void forget();

 private:
  using GroupIDs = std::vector<std::uint32_t>;
  using Snapshot = LocalAccounts::Snapshot;

  double now() { return mClock.now().time_since_epoch().count(); }
  Answer ask(const Question& question);
  Answer attempt(const Question& question);
  void remember(const std::string& fault);
  std::optional<std::string> remembered();

  std::optional<Entries> known(const std::string& key);
  void keep(const std::string& key, const Entries& entries);
  void dropUnlessCurrent();

  enum class Reported { No, Yes };
  Entries entriesOf(const Answer& answer, Reported reported);
  std::shared_ptr<const Entry> entryOf(const Account& account, const Snapshot& locals,
                                       NetworkNode::LeftOut& why);
  std::shared_ptr<Entry> entryOf(const AccountGroup& group, const LocalGroups::Groups& locals);
  std::shared_ptr<Entry> groupNamed(const std::string& name) const;
  std::string whyOfOther(const std::string& groupName) const;
  Entries findByGUID(Type type, const Strings& values);
  Entries untold(const Strings& groupNames);
  void meetAll(const UUIDBytes& guid);
  std::vector<GroupIDs> groupsOf(const Entries& users);
  void refuseUntold(const Entry& group) const;
  [[noreturn]] void refuseForgotten(const std::string& userName) const;
  void noteAskedAbout(const Entries& found);
  void noteForgotten(const Entry& user);
  void noteCounted();
  void dropAskedAbout();
  Entries listed();
  bool isAskedAbout(const Entry& user);
  bool wereDroppedUncounted();

  const Settings mSettings;
  const std::string mNodeName;
  const HostOptions mOptions;
  const std::string mProgram;
  const std::shared_ptr<LocalAccounts> mLocalAccounts;
  const std::shared_ptr<FaultLog> mFaults;
  const std::shared_ptr<GUIDs> mGUIDs;
  Log& mLog;
  Clock& mClock;
  LocalGroups mLocalGroups;

  /// What became of the last attempt, if that is not long ago.
  struct Attempt {
    std::string fault;  ///< "": it was answered
    double time = 0;
  };

  /// A user who was asked about.
  struct AskedAbout {
    std::shared_ptr<const Entry> user;
    std::optional<double> counted;    ///< when a group's members were first told with the user
    std::optional<double> forgotten;  ///< when the service first had nothing of the user any more
  };

  std::mutex mMutex;  ///< never held while the service is asked
  std::optional<Attempt> mTried;
  std::optional<LoginShells> mShells;
  LocalAccounts::State mKeptUnder;
  Kept<Entries> mKept;
  Kept<GroupIDs> mGroupsOf;
  std::deque<AskedAbout> mAskedAbout;
  std::optional<double> mUncounted;  ///< when the last was dropped who had not been counted
  Entries mListed;                   ///< the users of the last answer about all
};

}  // namespace gatehall::nss
