#include <atomic>
#include <numeric>
#include <ostream>
#include <poll.h>

#include "gatehall/access/UserAccess.h"
#include "gatehall/linux/LinuxPlatform.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/UserLookup.h"
#include "tests/Patience.h"
#include "tests/linux/ldap/fixture/LdapFaults.h"
#include "tests/linux/ldap/fixture/Upstream.h"

namespace gatehall {
namespace {

using testing::Contains;

// RFC 4511, appendix A.
constexpr int kBusy = 51;
constexpr int kUnavailable = 52;

enum class Way {
  HangsUp,
  FallsMute,
  Busy,
  Unavailable,
  CutInEntry,
  CutAfterEntries,
  Slow,
  Garbage
};

struct NamedWay {
  Way way;
  const char* name;
};
void PrintTo(const NamedWay& each, std::ostream* out) { *out << each.name; }

/// Stands in front of a slapd, and goes wrong at one of its searches.
class Proxy {
 public:
  explicit Proxy(const Slapd& server)
      : mPort(server.port()), mServer([this](Peer& peer) { relay(peer); }) {}

  std::string uri() const { return mServer.uri(); }

  /// The searches from here on are counted anew; the one of that number goes wrong, counted from 1,
  /// and unless it is only the one, all after it. 0: none.
  void goWrong(int search, Way way, bool isOnlyOne) {
    mSearches = 0;
    mIsOnlyOne = isOnlyOne;
    mWay = way;
    mWrong = search;
  }
  int searches() const { return mSearches; }

 private:
  void relay(Peer& peer) {
    Upstream upstream(mPort);
    while (const auto request = peer.read()) {
      if (request->operation == ber::kUnbindRequest) return;
      const auto messages = upstream.ask(*request);
      const auto bytes = std::accumulate(messages.begin(), messages.end(), std::string());
      const bool isSearch = request->operation == ber::kSearchRequest;
      const int number = isSearch ? ++mSearches : 0;
      const int wrong = mWrong;
      const bool isWrong =
          isSearch && wrong != 0 && (mIsOnlyOne ? number == wrong : number >= wrong);
      if (!(isWrong ? spoil(peer, *request, bytes, messages.back()) : peer.write(bytes))) return;
    }
  }

  bool spoil(Peer& peer, const Request& request, const std::string& bytes,
             const std::string& end) const {
    switch (mWay) {
      case Way::HangsUp:
        return false;
      case Way::FallsMute:
        while (peer.read()) continue;
        return false;
      case Way::Busy:
        return peer.write(found(request, {}, kBusy));
      case Way::Unavailable:
        return peer.write(found(request, {}, kUnavailable));
      case Way::CutInEntry:
        peer.write(bytes.substr(0, bytes.size() / 2));
        return false;
      case Way::CutAfterEntries:
        peer.write(bytes.substr(0, bytes.size() - end.size()));
        return false;
      case Way::Slow:
        poll(nullptr, 0, kTooSlow);
        return peer.write(bytes);
      case Way::Garbage:
        break;
    }
    return peer.write("HTTP/1.1 400 Bad Request\r\n\r\n");
  }

  static constexpr int kTooSlow = 300;  ///< milliseconds

  const int mPort;
  std::atomic<int> mSearches = 0;
  std::atomic<int> mWrong = 0;
  std::atomic<bool> mIsOnlyOne = false;
  std::atomic<Way> mWay = Way::HangsUp;
  ScriptedServer mServer;
};

constexpr const char* kListed = "5f000000-0000-4000-8000-0000000000b1";

/// dana is in the group "listed", through another one; erin isn't.
Slapd::Options people(const std::string& outer) {
  return {.ldif = ldifOf(LdifUser{"dana", 5000}) + ldifOf(LdifUser{"erin", 5001}) +
                  ldifOf(LdifGroup{"inner", 801, {userDN("dana")}, {}}) +
                  ldifOf(LdifGroup{outer, 802, {groupDN("inner")}, {}, kListed})};
}

constexpr int kDana = 5000;
constexpr int kErin = 5001;

/// What a list of the policy is made of, and whom it shuts out.
struct Policy {
  const char* name;
  const char* key;  ///< "": the service access list
  int admitted;
  int refused;
};
void PrintTo(const Policy& policy, std::ostream* out) { *out << policy.name; }

class LdapDoors : public testing::TestWithParam<std::tuple<Policy, NamedWay>> {
 protected:
  LdapDoors() {
    const std::string key = policy().key;
    if (!key.empty()) {
      machine.write("/etc/gatehall/com.orvane.gatehall.plist",
                    "<plist version=\"1.0\"><dict><key>" + key +
                        "</key><array><string>5F000000-0000-4000-8000-0000000000B1</string>"
                        "</array></dict></plist>");
    }
  }
  ~LdapDoors() override { Platform::install(nullptr); }

  const Policy& policy() const { return std::get<0>(GetParam()); }
  Way way() const { return std::get<1>(GetParam()).way; }

  void hurry(bool isInHurry) {
    machine.configure(
        LdapMachine::table("test", LdapMachine::quoted(proxy.uri()),
                           std::string("tls = \"off\"\n") +
                               (isInHurry ? "time-limit = 0.1\ntotal-time-limit = 1\n" : "")));
  }

  struct Decision {
    bool isAdmitted = false;
    Strings why;  ///< the log, and what was raised
  };

  /// As a program decides that has just started.
  Decision decide(int userID) {
    const auto log = std::make_shared<KeptLog>();
    Platform::install(std::make_shared<LinuxPlatform>(machine.linuxOptions(), log));
    Decision decision;
    std::string raised = "nothing was raised";
    try {
      const auto user = cachedUserForUID(userID);
      decision.isAdmitted = user && std::make_shared<UserAccess>()->decideLogin(*user).allowed();
    } catch (const PlatformException& failure) {
      raised = failure.what();
    }
    Platform::install(nullptr);
    decision.why = log->lines();
    decision.why.push_back(raised);
    return decision;
  }

  Slapd server{people(*policy().key == '\0' ? "gatehall-access" : "listed")};
  Proxy proxy{server};
  LdapMachine machine;
};

TEST_P(LdapDoors, StayShutWhicheverSearchGoesWrong) {
  hurry(false);
  proxy.goWrong(0, way(), false);
  EXPECT_TRUE(decide(policy().admitted).isAdmitted) << "the good day";
  EXPECT_FALSE(decide(policy().refused).isAdmitted) << "the good day";
  const int searches = proxy.searches();
  ASSERT_GT(searches, 2);

  hurry(way() == Way::FallsMute || way() == Way::Slow || way() == Way::Garbage);
  for (const bool isOnlyOne : {false, true}) {
    for (int search = 1; search <= searches; ++search) {
      SCOPED_TRACE("search " + std::to_string(search) + (isOnlyOne ? "" : " and all after it"));
      proxy.goWrong(search, way(), isOnlyOne);
      const auto decision = decide(policy().refused);
      EXPECT_FALSE(decision.isAdmitted);
      const bool wentWrong = proxy.searches() >= search;
      if (wentWrong && !isOnlyOne) {
        EXPECT_THAT(decision.why, Contains(testing::ContainsRegex("ldap/test:? can't be ")));
      }
      if (!wentWrong) break;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    OfADirectory, LdapDoors,
    testing::Combine(
        testing::Values(Policy{"DenyList", "DenyList", kErin, kDana},
                        Policy{"AllowList", "AllowList", kDana, kErin},
                        Policy{"AccessGroup", "", kDana, kErin}),
        testing::Values(NamedWay{Way::HangsUp, "HangsUp"}, NamedWay{Way::FallsMute, "FallsMute"},
                        NamedWay{Way::Busy, "Busy"}, NamedWay{Way::Unavailable, "Unavailable"},
                        NamedWay{Way::CutInEntry, "CutInEntry"},
                        NamedWay{Way::CutAfterEntries, "CutAfterEntries"},
                        NamedWay{Way::Slow, "Slow"}, NamedWay{Way::Garbage, "Garbage"})),
    [](const auto& each) {
      return std::string(std::get<0>(each.param).name) + std::get<1>(each.param).name;
    });

}  // namespace
}  // namespace gatehall
