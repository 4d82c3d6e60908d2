#include "linux/ldap/Directory.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <unordered_set>
#include <utility>

#include "base/Ascii.h"
#include "linux/files/FaultLog.h"
#include "linux/ldap/client/Referral.h"
#include "linux/ldap/client/SearchFilter.h"
#include "linux/ldap/client/SecurityID.h"
#include "linux/records/AccountID.h"
#include "linux/records/NetworkNode.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::ldap {

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
  return ascii::isSame(left.substr(0, left.find(';')), right.substr(0, right.find(';')));
}

}  // namespace

/// Gathers entries, each once.
class Directory::Collector {
 public:
  Collector(const Directory& directory, std::string domain, LocalAccounts& localAccounts,
            FaultLog& faults, bool mayRepeat, Unreadable unreadable, std::vector<LeftOut>* leftOut)
      : mDirectory(directory),
        mDomain(std::move(domain)),
        mLocalAccounts(localAccounts),
        mFaults(faults),
        mMayRepeat(mayRepeat),
        mUnreadable(unreadable),
        mLeftOut(leftOut) {}

  Connection::Sink sink() {
    return [this](std::size_t, std::string_view dn, std::span<const Attribute> attributes) {
      add(dn, attributes);
    };
  }

  /// What it can't vouch for as a whole fails it: more entries, and two with the same GUID.
  void limitTo(std::size_t most) { mMost = most; }

  void clear() {
    mCount = 0;
    mSeen.clear();
    mEntries.clear();
    if (mLeftOut != nullptr) mLeftOut->clear();
    mHasBegun = false;
  }

  void startRepeating() {
    if (!std::exchange(mMayRepeat, true)) {
      for (const auto& entry : mEntries) mSeen.insert(entry->first(Slot::GUID));
    }
  }

  /// A part of the answer has come.
  bool hasBegun() const { return mHasBegun; }
  Entries take() { return std::move(mEntries); }

 private:
  void add(std::string_view dn, std::span<const Attribute> attributes) {
    mHasBegun = true;
    if (++mCount > mMost) throw PlatformException(mDirectory.nodeName() + ": more entries");
    std::string fault;
    auto entry = readEntry(mDirectory.schemas(), mDomain, dn, attributes, fault);
    if (!entry) {
      if (!fault.empty()) passOver(dn, fault);
      return;
    }
    std::string_view rule;
    if (entry->type == Type::User && !mayBeHere(*entry, fault, rule)) {
      leaveOut(dn, fault);
      if (mLeftOut != nullptr) mLeftOut->push_back({std::move(entry), std::string(rule), fault});
      return;
    }
    if (mEntries.size() >= kMostEntries) {
      throw PlatformException(mDirectory.nodeName() + ": more entries than can be");
    }
    if (mMayRepeat && !mSeen.insert(entry->first(Slot::GUID)).second) {
      if (mMost == kNoLimit) return;
      throw PlatformException(mDirectory.nodeName() + ": two entries have the same GUID");
    }
    mEntries.push_back(std::move(entry));
  }

  /// Whether the user may be an account on this machine; the rule is why not, in a few words.
  bool mayBeHere(Entry& user, std::string& fault, std::string_view& rule) {
    NetworkAccount account{mDirectory.nodeName(),
                           {},
                           accountID(user.first(Slot::UserID)),
                           parseUUID(user.first(Slot::GUID))};
    if (!account.userID && mDirectory.schemas().users.needsUserID()) {
      rule = "no user id";
      fault = "it has no " + mDirectory.schemas().users.attribute(Slot::UserID);
      if (!mDomain.empty()) fault += " of " + mDomain + " that can be mapped";
      return false;
    }
    const auto& range = mDirectory.settings().userIDs;
    if (account.userID && !range.holds(*account.userID)) {
      rule = *account.userID < range.first ? "user id too low" : "user id too high";
      fault = "its user id " + std::to_string(*account.userID) + " is out of range";
      return false;
    }
    if (!mLocals) mLocals = mLocalAccounts.current();
    mNames.clear();
    for (const auto& name : user.of(Slot::Name)) mNames.push_back(name.text);
    account.names = mNames;
    std::string why;
    switch (mLocals->likenessTo(account, why)) {
      case LocalAccounts::Likeness::Twin:
        rule = "hidden by a local account";
        fault = "it " + why;
        return false;
      case LocalAccounts::Likeness::Copy:
        user.hasLocalCopy = true;
        return true;
      case LocalAccounts::Likeness::None:
        break;
    }
    if (mNames.size() > 1) leaveOutNamesOfAdministrators(user);
    if (!user.first(Slot::Name).empty()) return true;
    rule = "hidden by a local account";
    fault = "each of its names is an administrator's";
    return false;
  }

  /// An entry that can't be read.
  void passOver(std::string_view dn, const std::string& fault) {
    if (mUnreadable == Unreadable::IsLeftOut) return leaveOut(dn, fault);
    throw PlatformException(mDirectory.nodeName() + ": the entry " + printable(dn) +
                            " can't be read: " + fault);
  }

  void leaveOut(std::string_view dn, const std::string& fault) {
    mFaults.report(mDirectory.nodeName(), "the entry " + printable(dn) + " is left out: " + fault);
  }

  /// The login name stays, if its DN tells which of several that is.
  void leaveOutNamesOfAdministrators(Entry& user) {
    bool isFurther = !isCalled(user, mDirectory.schemas().users, user.first(Slot::Name));
    std::erase_if(user.values, [&](const Entry::Value& value) {
      if (value.slot != Slot::Name || !std::exchange(isFurther, true)) return false;
      if (!mLocals->isNameOfAdministrator(value.text)) return false;
      mFaults.report(mDirectory.nodeName(), "the name " + printable(value.text) + " of the entry " +
                                                printable(user.dn) +
                                                " is left out: it is an administrator's");
      return true;
    });
  }

  static constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

  const Directory& mDirectory;
  const std::string mDomain;  ///< whose ids are mapped
  LocalAccounts& mLocalAccounts;
  std::shared_ptr<const LocalAccounts::Snapshot> mLocals;  ///< once there is a user to look at
  std::vector<std::string_view> mNames;                    ///< room for those of an entry
  FaultLog& mFaults;
  bool mMayRepeat;
  const Unreadable mUnreadable;
  std::vector<LeftOut>* const mLeftOut;  ///< nullptr: nobody asks for them
  std::size_t mMost = kNoLimit;
  std::size_t mCount = 0;  ///< of entries that came
  bool mHasBegun = false;
  Entries mEntries;
  std::unordered_set<std::string_view> mSeen;  ///< GUIDs of the entries
};

Directory::Directory(Settings settings, HostOptions options,
                     std::shared_ptr<LocalAccounts> localAccounts,
                     std::shared_ptr<MappedDomains> mappedDomains, std::shared_ptr<FaultLog> faults,
                     Log& log, Clock& clock)
    : mNodeName("ldap/" + settings.name),
      mOptions(std::move(options)),
      mLocalAccounts(std::move(localAccounts)),
      mMappedDomains(std::move(mappedDomains)),
      mFaults(std::move(faults)),
      mLog(log),
      mClock(clock),
      mServers(std::move(settings), mOptions),
      mSchemas(mServers.settings()),
      mCache(clock),
      mCachedUnder(mLocalAccounts->state()) {}

Cache& Directory::cache() {
  const auto state = mLocalAccounts->state();
  const std::lock_guard lock(mMutex);
  if (state != mCachedUnder) {
    mCachedUnder = state;
    mCache.drop();
  }
  return mCache;
}

std::string Directory::whyAway(std::string_view fault) const {
  return mNodeName + ": can't be asked: " + std::string(fault);
}

std::optional<Directory::Attempt> Directory::remembered() {
  const std::lock_guard lock(mMutex);
  if (!mTried) return std::nullopt;
  const auto age = std::abs(mClock.now().time_since_epoch().count() - mTried->time);
  return age < kRememberedSeconds ? mTried : std::nullopt;
}

void Directory::refuseIfUnreachable() {
  const auto tried = remembered();
  if (tried && !tried->fault.empty()) {
    throw DirectoryUnreachable(whyAway("a moment ago, " + tried->fault));
  }
}

void Directory::remember(std::string_view fault) {
  const bool isAway = !fault.empty();
  bool wasAway = false;
  {
    const std::lock_guard lock(mMutex);
    wasAway = mTried && !mTried->fault.empty();
    mTried = {std::string(fault), mClock.now().time_since_epoch().count()};
  }
  if (isAway == wasAway) return;
  mLog.diagnostic(isAway ? mNodeName + " can't be reached: " + std::string(fault)
                         : mNodeName + " can be reached again");
}

std::optional<std::string> Directory::whyUnreachable() {
  try {
    if (remembered()) {
      refuseIfUnreachable();
    } else {
      guard([this] { mServers.probe(); });
    }
    return std::nullopt;
  } catch (const PlatformException& failure) {
    return failure.what();
  }
}

NetworkNode::Reached Directory::reach() {
  NetworkNode::Reached reached;
  attempt([&] {
    mServers.run([&](Connection& connection) {
      const auto start = std::chrono::steady_clock::now();
      Servers::askForNothing(connection, mServers.limits());
      reached = {connection.server().text, std::chrono::steady_clock::now() - start};
    });
  });
  return reached;
}

std::vector<Search> Directory::searchesFor(std::span<const Type> types, std::string_view filter,
                                           bool isPaged) const {
  const auto whole = [&](const std::string& ofType) {
    return filter.empty() ? ofType : searchFilter::bothOf(ofType, filter);
  };
  const bool isBoth = types.size() > 1;
  if (isBoth && hasOneBase()) {
    const std::array either{mSchemas.users.filter(), mSchemas.groups.filter()};
    auto attributes = mSchemas.users.wanted();
    for (const auto& each : mSchemas.groups.wanted()) {
      if (std::ranges::find(attributes, each) == attributes.end()) attributes.push_back(each);
    }
    return {{mSchemas.users.base(), Search::Scope::Subtree, whole(searchFilter::anyOf(either)),
             std::move(attributes), isPaged}};
  }
  std::vector<Search> searches;
  for (const auto type : types) {
    const auto& schema = mSchemas.of(type);
    searches.push_back(
        {schema.base(), Search::Scope::Subtree, whole(schema.filter()), schema.wanted(), isPaged});
  }
  return searches;
}

std::vector<Search> Directory::searchesForAny(std::span<const Type> types,
                                              std::span<const std::string> terms, bool isPaged,
                                              std::size_t mostTerms) const {
  std::vector<Search> searches;
  for (const auto& filter : searchFilter::anyOfInParts(terms, mostTerms)) {
    std::ranges::move(searchesFor(types, filter, isPaged), std::back_inserter(searches));
  }
  return searches;
}

void Directory::judge(const Search& search, const Result& result, bool hasEntries) {
  if (result.isSuccess()) return;
  // The base of a subtree has to be there; a single entry may be gone.
  if (result.code == kNoSuchObject && search.scope == Search::Scope::Base) return;
  const bool isElsewhere = result.code == kReferral && !result.referrals.empty();
  if (isElsewhere && settings().followsReferrals) return;
  const auto text = "searching " + search.base + ": " + result.text;
  if (hasEntries) throw PlatformException(whyAway(text));
  throw DirectoryUnreachable(text);
}

void Directory::ask(Connection& connection, std::span<const Search> searches, const Limits& limits,
                    Collector& collector, Referrals& referrals) {
  const auto results = connection.search(searches, limits, collector.sink());
  std::vector<Search> again;
  for (std::size_t index = 0; index < results.size(); ++index) {
    const auto& result = results[index];
    if (result.code == kSizeLimitExceeded && !searches[index].isPaged) {
      again.push_back(searches[index]);
      again.back().isPaged = true;
      continue;
    }
    judge(searches[index], result, collector.hasBegun());
    if (settings().followsReferrals) {
      if (result.referrals.size() > Result::kMostReferrals) {
        throw PlatformException(whyAway("more referrals than can be"));
      }
      std::ranges::copy(result.referrals, std::back_inserter(referrals.open));
      if (result.code == kReferral) referrals.instead.push_back(result.referrals);
    }
  }
  if (again.empty()) return;
  collector.startRepeating();
  ask(connection, again, limits, collector, referrals);
}

std::vector<Directory::LeftOut> Directory::searchLeftOut(std::vector<Search> searches) {
  std::vector<LeftOut> leftOut;
  search(std::move(searches), Unreadable::IsLeftOut, &leftOut);
  return leftOut;
}

/// Has the work fill the collector over a connection, once more when that breaks off.
template <class Work>
void Directory::collect(Collector& collector, Work work) {
  bool hasBrokenOff = false;  // in the middle, whatever came of trying again
  try {
    run([&](Connection& connection) {
      collector.clear();
      try {
        work(connection);
      } catch (const ConnectionLost& lost) {
        hasBrokenOff = hasBrokenOff || lost.hasBegun() || collector.hasBegun();
        throw;
      }
    });
  } catch (const ConnectionLost& lost) {
    if (hasBrokenOff) throw PlatformException(lost.what());
    throw DirectoryUnreachable(lost.what());
  } catch (const DirectoryUnreachable& failure) {
    if (hasBrokenOff) throw PlatformException(failure.what());
    throw;
  }
}

Entries Directory::search(std::vector<Search> searches, Unreadable entry,
                          std::vector<LeftOut>* leftOut) {
  if (searches.empty()) return {};
  Collector collector(*this, mappedDomain(), *mLocalAccounts, *mFaults, searches.size() > 1, entry,
                      leftOut);
  Referrals referrals;
  const auto limits = mServers.limits();
  collect(collector, [&](Connection& connection) {
    referrals = {};
    ask(connection, searches, limits, collector, referrals);
  });
  if (!referrals.open.empty()) follow(std::move(referrals), searches, limits, collector);
  return collector.take();
}

std::optional<Entries> Directory::searchUsersUpTo(std::size_t most) {
  constexpr std::array kUser{Type::User};
  const auto searches = searchesFor(kUser, {}, true);
  if (cache().hasMoreUsersThan(most)) return std::nullopt;
  Collector collector(*this, mappedDomain(), *mLocalAccounts, *mFaults, true, Unreadable::FailsIt,
                      nullptr);
  collector.limitTo(most);
  struct InDoubt {};  // goes past the connection, on which the rest is still coming
  bool isWhole = false;
  try {
    collect(collector, [&](Connection& connection) {
      isWhole = false;
      try {
        const auto result =
            connection.search(searches, mServers.limits(), collector.sink()).front();
        // References beside entries are what no search here counts in, unless they are followed.
        isWhole = result.isSuccess() && (result.referrals.empty() || !settings().followsReferrals);
      } catch (const ConnectionLost&) {
        throw;
      } catch (const PlatformException&) {
        throw InDoubt();
      }
    });
  } catch (const InDoubt&) {
    isWhole = false;
  }
  if (isWhole) return collector.take();
  cache().keepMoreUsersThan(most);
  return std::nullopt;
}

void Directory::follow(Referrals referrals, const std::vector<Search>& searches,
                       const Limits& limits, Collector& collector) {
  collector.startRepeating();
  std::unordered_set<std::string> asked;
  std::unordered_set<std::string> answered;
  const auto isOneOf = [](const auto& places) {
    return [&places](const std::string& text) { return places.contains(text); };
  };
  for (int hop = 0; hop < kMostHops && !referrals.open.empty(); ++hop) {
    Referrals further;
    for (const auto& text : referrals.open) {
      if (!asked.insert(text).second) continue;
      const auto referral = Referral::parse(text);
      if (!referral) {
        throw PlatformException(whyAway("a referral that can't be read: " + printable(text)));
      }
      std::vector<Search> there;
      for (const auto& search : searches) {
        auto same = search;
        if (!referral->base.empty()) same.base = referral->base;
        if (std::ranges::none_of(there, [&](const Search& each) {
              return each.base == same.base && each.filter == same.filter;
            })) {
          there.push_back(std::move(same));
        }
      }
      try {
        const auto connection = mServers.connectTo(referral->server, limits.total);
        const auto before = further.instead.size();
        ask(*connection, there, limits, collector, further);
        if (further.instead.size() == before) answered.insert(text);
      } catch (const DirectoryUnreachable& failure) {
        throw PlatformException(whyAway(failure.what()));  // a part of the answer is missing
      } catch (const ConnectionLost& lost) {
        throw PlatformException(whyAway(lost.what()));
      }
    }
    for (const auto& places : further.instead) {
      if (std::ranges::all_of(places, isOneOf(asked)) &&
          std::ranges::none_of(places, isOneOf(answered))) {
        throw PlatformException(whyAway("referrals lead in a circle"));
      }
    }
    referrals = std::move(further);
  }
  if (!std::ranges::all_of(referrals.open, isOneOf(asked))) {
    throw PlatformException(whyAway("referrals lead too far"));
  }
}

Directory::RawValues Directory::readAttribute(std::string_view dn, const std::string& attribute) {
  RawValues found;
  const std::array searches{
      Search{std::string(dn), Search::Scope::Base, "(objectClass=*)", {attribute}, false}};
  const auto keep = [&](std::size_t, std::string_view, std::span<const Attribute> attributes) {
    for (const auto& each : attributes) {
      if (!isSameAttribute(each.name, attribute)) continue;
      // Beside a part of the values, servers send the attribute itself without any.
      if (each.values.empty() && !found.attribute.empty()) continue;
      found.attribute = each.name;
      found.values.assign(each.values.begin(), each.values.end());
    }
  };
  run([&](Connection& connection) {
    found = {};
    judge(searches.front(), connection.search(searches, mServers.limits(), keep).front(), false);
  });
  return found;
}

std::optional<std::string> Directory::withMappedID(std::string_view id) {
  const auto number = accountID(id);
  const auto domain = mappedDomain();
  return number && !domain.empty() ? securityID::withMappedID(domain, *number) : std::nullopt;
}

std::string Directory::mappedDomain() {
  if (!settings().mapsIDs) return {};
  std::string domain;
  {
    const std::lock_guard lock(mMutex);
    domain = mDomain;
  }
  if (domain.empty()) domain = readDomain();
  mMappedDomains->claim(mNodeName, domain);
  const std::lock_guard lock(mMutex);
  mDomain = domain;
  return domain;
}

/// The server's own domain: a root DSE names it (MS-ADTS, 3.1.1.3.2.3).
std::string Directory::readDomain() {
  const auto names = readAttribute({}, "defaultNamingContext").values;
  const auto sids = names.size() == 1 ? readAttribute(names.front(), "objectSid").values : names;
  const auto sid = sids.size() == 1 ? securityID::text(sids.front()) : std::nullopt;
  if (!sid || !securityID::isDomain(*sid)) {
    throw PlatformException(whyAway("its domain's objectSid can't be read"));
  }
  return *sid;
}

std::string_view Directory::nameAttribute() const {
  return settings().profile == Profile::ActiveDirectory ? "distinguishedName" : "entryDN";
}

std::optional<bool> Directory::comparesNames() {
  const std::lock_guard lock(mMutex);
  return mComparesNames;
}

bool Directory::tryComparingNames() {
  const auto& base = settings().usersBase;
  const std::array searches{Search{
      base, Search::Scope::Base, searchFilter::equals(nameAttribute(), base), {"1.1"}, false}};
  bool isFound = false;
  run([&](Connection& connection) {
    isFound = false;
    const auto result =
        connection.search(searches, mServers.limits(), [&](auto, auto, auto) { isFound = true; });
    judge(searches.front(), result.front(), false);
  });
  const std::lock_guard lock(mMutex);
  mComparesNames = isFound;
  return isFound;
}

std::string Directory::effectiveShell(std::string_view shell) {
  const std::lock_guard lock(mMutex);
  if (!mShells) mShells.emplace(mOptions);
  return std::string(mShells->effective(shell));
}

}  // namespace gatehall::ldap
