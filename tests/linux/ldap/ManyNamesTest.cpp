#include <atomic>

#include "linux/ldap/client/Connection.h"
#include "tests/linux/ldap/fixture/LdapFaults.h"

namespace gatehall {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::SizeIs;

/// So many that all users are fetched, if there is no more than a quarter besides.
constexpr int kMany = 1000;

std::string guid(int number) {
  return "5F000000-0000-4000-8000-0000000" + std::to_string(10000 + number);
}

std::string user(int number) { return "user" + std::to_string(number); }

std::string usersLdif(int count) {
  std::string ldif;
  for (int number = 0; number < count; ++number) {
    const auto id = static_cast<std::uint32_t>(5000 + number);
    ldif += ldifOf(LdifUser{user(number), id, 100, "", guid(number)});
  }
  return ldif;
}

/// A server that gives as many entries as are asked for.
Slapd::Options unlimited(std::string ldif) {
  return {.ldif = std::move(ldif), .database = "limits * size=unlimited\n"};
}

/// The names of users from one number to before another.
Strings names(int first, int last) {
  Strings result;
  for (int number = first; number < last; ++number) result.push_back(user(number));
  return result;
}

Strings danaAndNobodies() {
  Strings result{"dana"};
  for (int number = 1; number < kMany; ++number)
    result.push_back("nobody" + std::to_string(number));
  return result;
}

class LdapManyNames : public testing::Test {
 protected:
  void configure(const std::string& uri, const std::string& more = "") {
    mTable = LdapMachine::table("test", LdapMachine::quoted(uri), "tls = \"off\"\n" + more);
  }

  /// The GUIDs of the users with the names, on a machine with no cache yet, asked for so many at
  /// once.
  Strings lookUp(const Strings& wanted, std::size_t atOnce) {
    LdapMachine machine;
    machine.configure(mTable);
    return lookUpOn(machine, wanted, atOnce);
  }
  Strings lookUpOn(LdapMachine& machine, const Strings& wanted, std::size_t atOnce) {
    const auto node = machine.node();
    const auto before = ldap::Connection::searchesSent();
    Strings guids;
    for (std::size_t begin = 0; begin < wanted.size(); begin += atOnce) {
      const auto end = std::min(begin + atOnce, wanted.size());
      const Strings part(wanted.begin() + static_cast<std::ptrdiff_t>(begin),
                         wanted.begin() + static_cast<std::ptrdiff_t>(end));
      const auto query =
          node->query({{"Users"}, "RecordName", MatchType::EqualTo, part, {"GUID"}, 0});
      const auto records = query->results(false);
      for (const auto& each : records.value()) {
        if (const auto text = values(each, "GUID").front(); std::ranges::count(guids, text) == 0) {
          guids.push_back(text);
        }
      }
    }
    mSearches = ldap::Connection::searchesSent() - before;
    std::ranges::sort(guids);
    return guids;
  }
  Strings foundAtOnce(const Strings& wanted) { return lookUp(wanted, wanted.size()); }
  Strings foundInParts(const Strings& wanted) { return lookUp(wanted, 400); }

  std::string mTable;
  std::uint64_t mSearches = 0;
};

}  // namespace

TEST_F(LdapManyNames, OfAGroupCostNoSearchForEachFewHundred) {
  const Slapd slapd(
      unlimited(usersLdif(kMany + 200) +
                ldifOf(LdifGroup{"all", 600, {}, names(0, kMany + 200), guid(9000)})));
  configure(slapd.uri());
  LdapMachine machine;
  machine.configure(mTable);
  const auto all = machine.networkGroup("all");
  const auto members = values(all, "GroupMembership");
  EXPECT_THAT(members, SizeIs(kMany + 200));
  EXPECT_THAT(foundAtOnce(members), SizeIs(kMany + 200));
  EXPECT_EQ(mSearches, 2U) << "pages";
}

TEST_F(LdapManyNames, AreLookedUpWhereThereAreFarMoreUsers) {
  const Slapd slapd(unlimited(usersLdif(kMany + kMany / 4 + 1)));
  configure(slapd.uri());
  EXPECT_THAT(foundAtOnce(names(0, kMany)), SizeIs(kMany));
  EXPECT_EQ(mSearches, 12U) << "pages of all that were too many, and the names by a hundred";
  EXPECT_THAT(foundAtOnce(names(0, kMany + 4)), SizeIs(kMany + 4));
  EXPECT_EQ(mSearches, 2U) << "no more than a quarter besides";
  EXPECT_THAT(foundAtOnce(names(0, kMany - 1)), SizeIs(kMany - 1));
  EXPECT_EQ(mSearches, 10U) << "too few names";
}

TEST_F(LdapManyNames, HaveAllUsersAskedForOnceWhereThoseAreTooMany) {
  const Slapd slapd(unlimited(usersLdif(3 * kMany + 200)));
  configure(slapd.uri());
  LdapMachine machine;
  machine.configure(mTable);
  const auto searchesFor = [&](int first, int last) {
    EXPECT_THAT(lookUpOn(machine, names(first, last), kMany * 2), SizeIs(last - first));
    return mSearches;
  };
  EXPECT_EQ(searchesFor(0, kMany), 12U) << "pages of all, and the names by a hundred";
  EXPECT_EQ(searchesFor(kMany, 2 * kMany), 10U) << "a moment later";
  EXPECT_GT(searchesFor(2 * kMany, 3 * kMany + 200), 12U) << "more than all were asked for before";
  machine.clock.seconds += 6;
  EXPECT_EQ(searchesFor(0, kMany), 12U) << "once that is no longer known";
}

TEST_F(LdapManyNames, AreFoundAmongAllBesideReferencesThatNobodyFollows) {
  const Slapd elsewhere({.ldif = ldifOf(LdifUser{"far", 9000, 100, "", guid(9000)})});
  const Slapd slapd(unlimited(
      usersLdif(kMany) +
      "dn: ou=far,dc=example,dc=org\nobjectClass: referral\nobjectClass: extensibleObject\n"
      "ou: far\nref: " +
      elsewhere.uri() + "/dc=example,dc=org\n\n"));
  auto wanted = names(0, kMany);
  wanted.emplace_back("far");
  configure(slapd.uri());
  EXPECT_THAT(foundAtOnce(wanted), SizeIs(kMany));
  EXPECT_LE(mSearches, 2U) << "pages";
  configure(slapd.uri(), "follow-referrals = true\n");
  EXPECT_THAT(foundAtOnce(wanted), SizeIs(kMany + 1));
}

TEST_F(LdapManyNames, AreLookedUpWhereAServerGivesNoMoreEntries) {
  const Slapd slapd({.ldif = usersLdif(kMany), .database = "limits * size=600\n"});
  configure(slapd.uri());
  EXPECT_THAT(foundAtOnce(names(0, kMany)), SizeIs(kMany));
  EXPECT_GT(mSearches, 2U);
}

TEST_F(LdapManyNames, MeanTheSameUsersAsFewOfThem) {
  auto ldif = usersLdif(kMany);
  ldif += ldifOf(LdifUser{"ann", 7000, 100, "", guid(5000)});   // a local account's name
  ldif += ldifOf(LdifUser{"low", 999, 100, "", guid(5001)});    // below min-id
  ldif += ldifOf(LdifUser{"same", 1000, 100, "", guid(5002)});  // a local account's id
  ldif += ldifOf(LdifUser{"CASE", 7001, 100, "", guid(5003)});  // asked for as "case"
  ldif += ldifOf(LdifUser{"two", 7002, 100, "", guid(5004), "uid: second\n"});
  ldif += ldifOf(LdifUser{"guest", 7003, 100, "", guid(5005), "employeeType: guest\n"});
  ldif += ldifOf(LdifUser{"spaced  out", 7004, 100, "", guid(5006)});
  ldif += ldifOf(LdifUser{"unasked", 7005, 100, "", guid(5007)});
  const Slapd slapd(unlimited(ldif));
  configure(slapd.uri(), "users-filter = \"(!(employeeType=guest))\"\n");
  auto wanted = names(0, kMany);
  for (const auto* name :
       {"ann", "low", "same", "case", "second", "guest", "spaced out", "nobody", ""}) {
    wanted.emplace_back(name);
  }
  const auto all = foundAtOnce(wanted);
  EXPECT_EQ(mSearches, 2U);
  EXPECT_EQ(all, foundInParts(wanted));
  EXPECT_THAT(all, SizeIs(kMany + 1));
  EXPECT_THAT(all, Contains(guid(5004))) << "by a second name";
}

TEST_F(LdapManyNames, AreInNoDoubtForEntriesThatNobodyAskedFor) {
  std::atomic<bool> isOddAsked = false;
  ScriptedServer server([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      const bool isAll = request.content.find("nobody") == std::string::npos;
      std::vector<std::string> entries{danasEntry()};
      if (isAll || isOddAsked) entries.push_back(entryWith("uidNumber", {"1", "2"}));
      return peer.write(found(request, entries));
    });
  });
  configure(server.uri());
  const auto wanted = danaAndNobodies();
  EXPECT_THAT(foundAtOnce(wanted), SizeIs(1));
  EXPECT_EQ(mSearches, 11U) << "the names by themselves, once all are in doubt";
  isOddAsked = true;
  EXPECT_THAT([&] { foundAtOnce(wanted); },
              testing::ThrowsMessage<PlatformException>(HasSubstr("it has several user ids")));
}

TEST_F(LdapManyNames, AreUndecidableWhereAllBreakOffInTheMiddle) {
  ScriptedServer server([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      const bool isAll = request.content.find("nobody") == std::string::npos;
      if (!isAll) return peer.write(found(request, {danasEntry()}));
      peer.write(ber::message(request.id, danasEntry()));
      return false;
    });
  });
  configure(server.uri(), "when-away = \"ignore\"\n");
  EXPECT_THAT([&] { foundAtOnce(danaAndNobodies()); },
              testing::ThrowsMessage<PlatformException>(HasSubstr("broke off")));
}

}  // namespace gatehall
