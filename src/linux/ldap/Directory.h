#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/platform/Clock.h"
#include "gatehall/platform/Log.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "linux/ldap/Cache.h"
#include "linux/ldap/MappedDomains.h"
#include "linux/ldap/client/Entry.h"
#include "linux/ldap/client/SearchFilter.h"
#include "linux/ldap/client/Servers.h"
#include "linux/records/LocalAccounts.h"
#include "linux/records/LoginShells.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ldap {

/// What the node of a network directory and its records share. No entry comes out of it that has
/// what is a local account's, or a user id out of the range that the settings give. From any
/// thread. The log and the clock have to outlive it.
class Directory {
 public:
  using Type = Schema::Type;

  Directory(Settings settings, HostOptions options, std::shared_ptr<LocalAccounts> localAccounts,
            std::shared_ptr<MappedDomains> mappedDomains, std::shared_ptr<FaultLog> faults,
            Log& log, Clock& clock);

  /// "ldap/NAME".
  const std::string& nodeName() const { return mNodeName; }
  const Settings& settings() const { return mServers.settings(); }
  const Schemas& schemas() const { return mSchemas; }
  Servers& servers() { return mServers; }
  /// Forgets what was fetched under other local accounts.
  Cache& cache();
  Date now() { return mClock.now(); }

  /// Why it can't be asked, tried no more often than every few seconds; empty when it can. Raises
  /// nothing.
  std::optional<std::string> whyUnreachable();

  /// Tries it, whatever is remembered. Raises as search does.
  NetworkNode::Reached reach();

  /// The searches that find the entries of the types that the filter takes: one, or one for each
  /// type when they stand below different bases.
  std::vector<Search> searchesFor(std::span<const Type> types, std::string_view filter,
                                  bool isPaged) const;

  /// The same for entries that any of the terms takes, which may be very many: a search for each
  /// few hundred of them, or as many as said.
  std::vector<Search> searchesForAny(std::span<const Type> types,
                                     std::span<const std::string> terms, bool isPaged,
                                     std::size_t mostTerms = searchFilter::kMostTerms) const;

  /// Whether one search finds both users and groups.
  bool hasOneBase() const { return mSchemas.users.base() == mSchemas.groups.base(); }

  /// What becomes of a question when an entry can't be read: it may be the one that was asked for.
  enum class Unreadable { FailsIt, IsLeftOut };

  /// Runs the searches; every entry once, whatever the number of searches that find it. Raises
  /// DirectoryUnreachable when nothing is answered, PlatformException when an answer breaks off and
  /// when the local accounts can't be read.
  Entries search(std::vector<Search> searches, Unreadable entry = Unreadable::FailsIt) {
    return search(std::move(searches), entry, nullptr);
  }

  /// All users, unless those are more than so many entries, or not beyond doubt: the server refuses
  /// a part of them or leaves it to others that are followed, an entry can't be read, two have the
  /// same GUID. Empty then, which is kept in the cache. Raises as search does.
  std::optional<Entries> searchUsersUpTo(std::size_t most);

  /// A user that no search brings, and why: as NetworkNode::LeftOut says it.
  struct LeftOut {
    std::shared_ptr<const Entry> entry;
    std::string rule;
    std::string why;
  };

  /// Those that the searches would find. Raises as search does.
  std::vector<LeftOut> searchLeftOut(std::vector<Search> searches);

  /// The values of one entry's attribute, as they are sent, and the attribute's name with its
  /// options. Raises as search does.
  struct RawValues {
    std::string attribute;
    Strings values;
  };
  RawValues readAttribute(std::string_view dn, const std::string& attribute);

  /// The objectSid, as a text, that is mapped to the id; empty for none, and where ids aren't
  /// mapped. Raises as readAttribute does, and PlatformException when another directory has the
  /// same ids.
  std::optional<std::string> withMappedID(std::string_view id);

  /// The attribute that a filter compares entries' own DNs by.
  std::string_view nameAttribute() const;

  /// Whether the servers compare it; empty until that was tried. A server that doesn't know the
  /// attribute finds nothing.
  std::optional<bool> comparesNames();

  /// Tries it. Raises as readAttribute does.
  bool tryComparingNames();

  /// A shell as records hand it out.
  std::string effectiveShell(std::string_view shell);

  /// Runs work on the directory's servers (Servers::run), and remembers when they don't answer.
  /// What they raise comes with the directory's name.
  template <class Work>
  void run(Work work) {
    guard([&] { mServers.run(work); });
  }
  template <class Work>
  void runUnbound(Work work) {
    guard([&] { mServers.runUnbound(work); });
  }

 private:
  template <class Work>
  void guard(Work work) {
    refuseIfUnreachable();
    attempt(work);
  }

  template <class Work>
  void attempt(Work work) {
    try {
      work();
    } catch (const DirectoryUnreachable& failure) {
      remember(failure.what());
      throw DirectoryUnreachable(whyAway(failure.what()));
    } catch (const ConnectionLost& lost) {
      remember(lost.what());
      throw ConnectionLost(whyAway(lost.what()), lost.timedOut(), lost.hasBegun());
    }
    remember({});
  }

  class Collector;

  Entries search(std::vector<Search> searches, Unreadable entry, std::vector<LeftOut>* leftOut);
  template <class Work>
  void collect(Collector& collector, Work work);

  /// What became of the last attempt, if that is not long ago.
  struct Attempt {
    std::string fault;  ///< "": it was answered
    double time = 0;
  };

  /// Where servers say that an answer is, or a part of it.
  struct Referrals {
    Strings open;
    /// The places of each search that a server leaves to others whole: one that answers will do.
    std::vector<Strings> instead;
  };

  std::string mappedDomain();
  std::string readDomain();
  std::string whyAway(std::string_view fault) const;
  void refuseIfUnreachable();
  void remember(std::string_view fault);
  std::optional<Attempt> remembered();
  void judge(const Search& search, const Result& result, bool hasEntries);
  void ask(Connection& connection, std::span<const Search> searches, const Limits& limits,
           Collector& collector, Referrals& referrals);
  void follow(Referrals referrals, const std::vector<Search>& searches, const Limits& limits,
              Collector& collector);

  const std::string mNodeName;
  const HostOptions mOptions;
  const std::shared_ptr<LocalAccounts> mLocalAccounts;
  const std::shared_ptr<MappedDomains> mMappedDomains;
  const std::shared_ptr<FaultLog> mFaults;
  Log& mLog;
  Clock& mClock;
  Servers mServers;
  const Schemas mSchemas;
  Cache mCache;

  std::mutex mMutex;
  std::optional<Attempt> mTried;
  std::optional<LoginShells> mShells;
  std::optional<bool> mComparesNames;
  std::string mDomain;  ///< once it is known
  LocalAccounts::State mCachedUnder;
};

}  // namespace gatehall::ldap
