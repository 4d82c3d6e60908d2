#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/linux/FaultLog.h"
#include "platform/linux/HostOptions.h"
#include "platform/linux/LdapCache.h"
#include "platform/linux/LdapEntry.h"
#include "platform/linux/LdapServers.h"
#include "platform/linux/LoginShells.h"
#include "platform/linux/NetworkNode.h"

namespace gatehall {

/// What the node of a network directory and its records share. From any thread. The log and the
/// clock have to outlive it.
class LdapDirectory {
 public:
  using Type = LdapSchema::Type;

  LdapDirectory(LdapSettings settings, HostOptions options, std::shared_ptr<FaultLog> faults,
                Log& log, Clock& clock);

  /// "ldap/NAME".
  const std::string& nodeName() const { return mNodeName; }
  const LdapSettings& settings() const { return mServers.settings(); }
  const LdapSchemas& schemas() const { return mSchemas; }
  LdapServers& servers() { return mServers; }
  LdapCache& cache() { return mCache; }
  Date now() { return mClock.now(); }

  /// Whether it can be reached, tried no more often than every few seconds. Raises nothing.
  bool isReachable();

  /// Tries it, whatever is remembered. Raises as search does.
  NetworkNode::Reached reach();

  /// The searches that find the entries of the types that the filter takes: one, or one for each
  /// type when they stand below different bases.
  std::vector<LdapSearch> searchesFor(std::span<const Type> types, std::string_view filter,
                                      bool isPaged) const;

  /// The same for entries that any of the terms takes, which may be very many: a search for each
  /// few hundred of them.
  std::vector<LdapSearch> searchesForAny(std::span<const Type> types,
                                         std::span<const std::string> terms, bool isPaged) const;

  /// Whether one search finds both users and groups.
  bool hasOneBase() const { return mSchemas.users.base() == mSchemas.groups.base(); }

  /// Runs the searches; every entry once, whatever the number of searches that find it. Raises
  /// DirectoryUnreachable when nothing is answered, PlatformException when an answer breaks off.
  LdapEntries search(std::vector<LdapSearch> searches);

  /// The values of one entry's attribute, as they are sent, and the attribute's name with its
  /// options. Raises as search does.
  struct RawValues {
    std::string attribute;
    Strings values;
  };
  RawValues readAttribute(std::string_view dn, const std::string& attribute);

  /// The attribute that a filter compares entries' own DNs by.
  std::string_view nameAttribute() const;

  /// Whether the servers compare it; empty until that was tried. A server that doesn't know the
  /// attribute finds nothing.
  std::optional<bool> comparesNames();

  /// Tries it. Raises as readAttribute does.
  bool tryComparingNames();

  /// A shell as records hand it out.
  std::string effectiveShell(std::string_view shell);

  /// Runs work on the directory's servers (LdapServers::run), and remembers when they don't answer.
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
      remember(false, failure.what());
      throw;
    } catch (const LdapConnectionLost& failure) {
      remember(false, failure.what());
      throw;
    }
    remember(true, {});
  }

  class Collector;

  void refuseIfUnreachable();
  void remember(bool isReachable, std::string_view why);
  std::optional<bool> remembered();
  void judge(const LdapSearch& search, const LdapResult& result, bool hasEntries);
  void ask(LdapConnection& connection, std::span<const LdapSearch> searches,
           const LdapLimits& limits, Collector& collector, Strings& referrals);
  void follow(Strings open, const std::vector<LdapSearch>& searches, const LdapLimits& limits,
              Collector& collector);

  const std::string mNodeName;
  const HostOptions mOptions;
  const std::shared_ptr<FaultLog> mFaults;
  Log& mLog;
  Clock& mClock;
  LdapServers mServers;
  const LdapSchemas mSchemas;
  LdapCache mCache;

  std::mutex mMutex;
  std::optional<bool> mIsReachable;
  double mTriedAt = 0;
  std::optional<LoginShells> mShells;
  std::optional<bool> mComparesNames;
};

}  // namespace gatehall
