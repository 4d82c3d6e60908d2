#include "platform/linux/LdapDirectory.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <strings.h>
#include <unordered_set>
#include <utility>

#include "platform/linux/AccountLine.h"
#include "platform/linux/LdapFilter.h"
#include "platform/linux/LdapReferral.h"
#include "platform/linux/NetworkNode.h"

namespace gatehall {

namespace {

/// How long it is remembered whether a directory can be reached.
constexpr double kRememberedSeconds = 5;

constexpr std::size_t kMostEntries = 2000000;
constexpr int kMostHops = 5;

// RFC 4511, appendix A.
constexpr int kSizeLimitExceeded = 4;
constexpr int kReferral = 10;
constexpr int kNoSuchObject = 32;

/// Whether they are the same but for options (RFC 4512, 2.5).
bool isSameAttribute(std::string_view left, std::string_view right) {
  left = left.substr(0, left.find(';'));
  right = right.substr(0, right.find(';'));
  return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

}  // namespace

/// Gathers entries, each once.
class LdapDirectory::Collector {
 public:
  Collector(const LdapDirectory& directory, FaultLog& faults, bool mayRepeat)
      : mDirectory(directory), mFaults(faults), mMayRepeat(mayRepeat) {}

  LdapConnection::Sink sink() {
    return [this](std::size_t, std::string_view dn, std::span<const LdapAttribute> attributes) {
      add(dn, attributes);
    };
  }

  void clear() {
    mSeen.clear();
    mEntries.clear();
    mHasBegun = false;
  }

  void startRepeating() {
    if (!std::exchange(mMayRepeat, true)) {
      for (const auto& entry : mEntries) mSeen.insert(entry->first(LdapSlot::GUID));
    }
  }

  /// A part of the answer has come.
  bool hasBegun() const { return mHasBegun; }
  LdapEntries take() { return std::move(mEntries); }

 private:
  void add(std::string_view dn, std::span<const LdapAttribute> attributes) {
    mHasBegun = true;
    std::string fault;
    auto entry = readEntry(mDirectory.schemas(), dn, attributes, fault);
    if (!entry) {
      if (!fault.empty()) {
        mFaults.report(mDirectory.nodeName(),
                       "the entry " + accountLine::printable(dn) + " is left out: " + fault);
      }
      return;
    }
    if (mEntries.size() >= kMostEntries) {
      throw PlatformException(mDirectory.nodeName() + ": more entries than can be");
    }
    if (mMayRepeat && !mSeen.insert(entry->first(LdapSlot::GUID)).second) return;
    mEntries.push_back(std::move(entry));
  }

  const LdapDirectory& mDirectory;
  FaultLog& mFaults;
  bool mMayRepeat;
  bool mHasBegun = false;
  LdapEntries mEntries;
  std::unordered_set<std::string_view> mSeen;  ///< GUIDs of the entries
};

LdapDirectory::LdapDirectory(LdapSettings settings, HostOptions options,
                             std::shared_ptr<FaultLog> faults, Log& log, Clock& clock)
    : mNodeName("ldap/" + settings.name),
      mOptions(std::move(options)),
      mFaults(std::move(faults)),
      mLog(log),
      mClock(clock),
      mServers(std::move(settings), mOptions),
      mSchemas(mServers.settings()),
      mCache(clock) {}

std::optional<bool> LdapDirectory::remembered() {
  const std::lock_guard lock(mMutex);
  const auto age = std::abs(mClock.now().time_since_epoch().count() - mTriedAt);
  return age < kRememberedSeconds ? mIsReachable : std::nullopt;
}

void LdapDirectory::refuseIfUnreachable() {
  if (remembered() == false) {
    throw DirectoryUnreachable(mNodeName + " did not answer a moment ago");
  }
}

void LdapDirectory::remember(bool isReachable, std::string_view why) {
  bool isNews = false;
  {
    const std::lock_guard lock(mMutex);
    isNews = mIsReachable.value_or(true) != isReachable;
    mIsReachable = isReachable;
    mTriedAt = mClock.now().time_since_epoch().count();
  }
  if (!isNews) return;
  mLog.diagnostic(isReachable ? mNodeName + " can be reached again"
                              : mNodeName + " can't be reached: " + std::string(why));
}

bool LdapDirectory::isReachable() {
  if (const auto known = remembered()) return *known;
  try {
    guard([this] { mServers.probe(); });
    return true;
  } catch (const PlatformException&) {
    return false;
  }
}

NetworkNode::Reached LdapDirectory::reach() {
  NetworkNode::Reached reached;
  attempt([&] {
    mServers.run([&](LdapConnection& connection) {
      const auto start = std::chrono::steady_clock::now();
      LdapServers::askForNothing(connection, mServers.limits());
      reached = {connection.server().text, std::chrono::steady_clock::now() - start};
    });
  });
  return reached;
}

std::vector<LdapSearch> LdapDirectory::searchesFor(std::span<const Type> types,
                                                   std::string_view filter, bool isPaged) const {
  const auto whole = [&](const std::string& ofType) {
    return filter.empty() ? ofType : ldapFilter::bothOf(ofType, filter);
  };
  const bool isBoth = types.size() > 1;
  if (isBoth && hasOneBase()) {
    const std::array either{mSchemas.users.filter(), mSchemas.groups.filter()};
    auto attributes = mSchemas.users.wanted();
    for (const auto& each : mSchemas.groups.wanted()) {
      if (std::ranges::find(attributes, each) == attributes.end()) attributes.push_back(each);
    }
    return {{mSchemas.users.base(), LdapSearch::Scope::Subtree, whole(ldapFilter::anyOf(either)),
             std::move(attributes), isPaged}};
  }
  std::vector<LdapSearch> searches;
  for (const auto type : types) {
    const auto& schema = mSchemas.of(type);
    searches.push_back({schema.base(), LdapSearch::Scope::Subtree, whole(schema.filter()),
                        schema.wanted(), isPaged});
  }
  return searches;
}

std::vector<LdapSearch> LdapDirectory::searchesForAny(std::span<const Type> types,
                                                      std::span<const std::string> terms,
                                                      bool isPaged) const {
  std::vector<LdapSearch> searches;
  for (const auto& filter : ldapFilter::anyOfInParts(terms)) {
    std::ranges::move(searchesFor(types, filter, isPaged), std::back_inserter(searches));
  }
  return searches;
}

void LdapDirectory::judge(const LdapSearch& search, const LdapResult& result, bool hasEntries) {
  if (result.isSuccess()) return;
  // The base of a subtree has to be there; a single entry may be gone.
  if (result.code == kNoSuchObject && search.scope == LdapSearch::Scope::Base) return;
  if (result.code == kReferral && settings().followsReferrals) return;
  const auto text = "searching " + search.base + ": " + result.text;
  if (hasEntries) throw PlatformException(mNodeName + ": " + text);
  throw DirectoryUnreachable(text);
}

void LdapDirectory::ask(LdapConnection& connection, std::span<const LdapSearch> searches,
                        const LdapLimits& limits, Collector& collector, Strings& referrals) {
  const auto results = connection.search(searches, limits, collector.sink());
  std::vector<LdapSearch> again;
  for (std::size_t index = 0; index < results.size(); ++index) {
    const auto& result = results[index];
    if (result.code == kSizeLimitExceeded && !searches[index].isPaged) {
      again.push_back(searches[index]);
      again.back().isPaged = true;
      continue;
    }
    judge(searches[index], result, collector.hasBegun());
    if (settings().followsReferrals) {
      referrals.insert(referrals.end(), result.referrals.begin(), result.referrals.end());
    }
  }
  if (again.empty()) return;
  collector.startRepeating();
  ask(connection, again, limits, collector, referrals);
}

LdapEntries LdapDirectory::search(std::vector<LdapSearch> searches) {
  if (searches.empty()) return {};
  Collector collector(*this, *mFaults, searches.size() > 1);
  Strings referrals;
  const auto limits = mServers.limits();
  bool hasBrokenOff = false;  // in the middle, whatever came of trying again
  try {
    run([&](LdapConnection& connection) {
      collector.clear();
      referrals.clear();
      try {
        ask(connection, searches, limits, collector, referrals);
      } catch (const LdapConnectionLost& lost) {
        hasBrokenOff = hasBrokenOff || lost.hasBegun() || collector.hasBegun();
        throw;
      }
    });
  } catch (const LdapConnectionLost& lost) {
    if (hasBrokenOff) throw PlatformException(lost.what());
    throw DirectoryUnreachable(lost.what());
  } catch (const DirectoryUnreachable& failure) {
    if (hasBrokenOff) throw PlatformException(failure.what());
    throw;
  }
  if (!referrals.empty()) follow(std::move(referrals), searches, limits, collector);
  return collector.take();
}

void LdapDirectory::follow(Strings open, const std::vector<LdapSearch>& searches,
                           const LdapLimits& limits, Collector& collector) {
  collector.startRepeating();
  std::unordered_set<std::string> asked;
  for (int hop = 0; hop < kMostHops && !open.empty(); ++hop) {
    Strings further;
    for (const auto& text : open) {
      if (!asked.insert(text).second) continue;
      const auto referral = LdapReferral::parse(text);
      if (!referral) {
        mFaults->report(mNodeName,
                        "a referral that can't be read: " + accountLine::printable(text));
        continue;
      }
      std::vector<LdapSearch> there;
      for (const auto& search : searches) {
        auto same = search;
        if (!referral->base.empty()) same.base = referral->base;
        if (std::ranges::none_of(there, [&](const LdapSearch& each) {
              return each.base == same.base && each.filter == same.filter;
            })) {
          there.push_back(std::move(same));
        }
      }
      try {
        const auto connection = mServers.connectTo(referral->server, limits.total);
        ask(*connection, there, limits, collector, further);
      } catch (const DirectoryUnreachable& failure) {
        throw PlatformException(failure.what());  // a part of the answer is missing
      }
    }
    open = std::move(further);
  }
  if (!open.empty() &&
      std::ranges::any_of(open, [&](const std::string& text) { return !asked.contains(text); })) {
    mFaults->report(mNodeName, "referrals lead too far");
  }
}

LdapDirectory::RawValues LdapDirectory::readAttribute(std::string_view dn,
                                                      const std::string& attribute) {
  RawValues found;
  const std::array searches{
      LdapSearch{std::string(dn), LdapSearch::Scope::Base, "(objectClass=*)", {attribute}, false}};
  const auto keep = [&](std::size_t, std::string_view, std::span<const LdapAttribute> attributes) {
    for (const auto& each : attributes) {
      if (!isSameAttribute(each.name, attribute)) continue;
      found.attribute = each.name;
      found.values.assign(each.values.begin(), each.values.end());
    }
  };
  run([&](LdapConnection& connection) {
    found = {};
    judge(searches.front(), connection.search(searches, mServers.limits(), keep).front(), false);
  });
  return found;
}

std::string_view LdapDirectory::nameAttribute() const {
  return settings().profile == LdapProfile::ActiveDirectory ? "distinguishedName" : "entryDN";
}

std::optional<bool> LdapDirectory::comparesNames() {
  const std::lock_guard lock(mMutex);
  return mComparesNames;
}

bool LdapDirectory::tryComparingNames() {
  const auto& base = settings().usersBase;
  const std::array searches{LdapSearch{
      base, LdapSearch::Scope::Base, ldapFilter::equals(nameAttribute(), base), {"1.1"}, false}};
  bool isFound = false;
  run([&](LdapConnection& connection) {
    isFound = false;
    const auto result =
        connection.search(searches, mServers.limits(), [&](auto, auto, auto) { isFound = true; });
    judge(searches.front(), result.front(), false);
  });
  const std::lock_guard lock(mMutex);
  mComparesNames = isFound;
  return isFound;
}

std::string LdapDirectory::effectiveShell(std::string_view shell) {
  const std::lock_guard lock(mMutex);
  if (!mShells) mShells.emplace(mOptions);
  return std::string(mShells->effective(shell));
}

}  // namespace gatehall
