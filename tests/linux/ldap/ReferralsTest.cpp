#include <atomic>
#include <poll.h>

#include "tests/linux/ldap/fixture/LdapFaults.h"

namespace gatehall {
namespace {

using testing::ElementsAre;

// RFC 4511, appendix A.
constexpr int kSizeLimitExceeded = 4;
constexpr int kReferral = 10;
constexpr int kRefused = 50;
constexpr int kUnavailable = 52;

/// A server of Dana's that refers to others, which are asked.
class LdapReferrals : public LdapFaults {
 protected:
  void refer(const std::vector<std::string>& uris, const std::string& more = "") {
    std::string list;
    for (const auto& uri : uris) list += ber::octets(uri);
    mFirst = std::make_unique<ScriptedServer>([list](Peer& peer) {
      peer.serve([&](const Request& request) {
        return peer.write(ber::message(request.id, danasEntry()) +
                          ber::message(request.id, ber::result(ber::kSearchDone, kReferral, "",
                                                               ber::tagged(0xA3, list))));
      });
    });
    configure(mFirst->uri(), "follow-referrals = true\n" + more);
  }

  std::unique_ptr<ScriptedServer> mFirst;
};

std::string erinsEntry() {
  return ber::entry("uid=erin,dc=example,dc=org",
                    {{"objectClass", {"posixAccount"}},
                     {"uid", {"erin"}},
                     {"uidNumber", {"5001"}},
                     {"gidNumber", {"100"}},
                     {"entryUUID", {"5f000000-0000-4000-8000-0000000000db"}}});
}

}  // namespace

TEST_F(LdapReferrals, AddWhatTheOtherServerHas) {
  answer({erinsEntry()});
  refer({mServer->uri() + "/dc=x"});
  EXPECT_THAT(machine.anywhere({"dana", "erin"}), ElementsAre("dana", "erin"));
}

TEST_F(LdapReferrals, LeadToAServerWhoseSchemeIsInCapitals) {
  const auto shouted = [](const std::string& uri) { return "LDAP" + uri.substr(4); };
  answer({erinsEntry()});
  refer({shouted(mServer->uri()) + "/dc=x"});
  configure(shouted(mFirst->uri()), "follow-referrals = true\n");
  EXPECT_THAT(machine.anywhere({"dana", "erin"}), ElementsAre("dana", "erin"));
}

TEST_F(LdapReferrals, FailTheQuestionWhenTheOtherServerAnswersAPartOnly) {
  for (const int code : {kSizeLimitExceeded, kRefused, kUnavailable}) {
    answer({erinsEntry()}, code);
    refer({mServer->uri() + "/dc=x"});
    LdapMachine other;
    other.write("/etc/gatehall/directory.toml",
                LdapMachine::table("test", LdapMachine::quoted(mFirst->uri()),
                                   "tls = \"off\"\nfollow-referrals = true\n"));
    EXPECT_THROW(other.anywhere({"ann", "dana"}), PlatformException) << code;
  }
}

TEST_F(LdapReferrals, AreFollowedFromOneToTheNextUnlessTheyLeadTooFar) {
  // Refers on from each place, "dc=hop1" and so on, to the next one, up to the last.
  std::atomic<int> last = 0;
  serve([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      const auto at = request.content.find("dc=hop");
      const int hop = request.content[at + 6] - '0';
      if (hop == last) return peer.write(found(request, {erinsEntry()}));
      const auto next = mServer->uri() + "/dc=hop" + std::to_string(hop + 1);
      return peer.write(ber::message(
          request.id,
          ber::result(ber::kSearchDone, kReferral, "", ber::tagged(0xA3, ber::octets(next)))));
    });
  });
  const auto ask = [&](int hops) {
    last = hops;
    refer({mServer->uri() + "/dc=hop1"});
    LdapMachine other;
    other.configure(LdapMachine::table("test", LdapMachine::quoted(mFirst->uri()),
                                       "tls = \"off\"\nfollow-referrals = true\n"));
    return other.anywhere({"dana", "erin"});
  };
  EXPECT_THAT(ask(5), ElementsAre("dana", "erin"));
  EXPECT_THAT([&] { ask(6); }, testing::ThrowsMessage<PlatformException>(
                                   "ldap/test: can't be asked: referrals lead too far"));
}

TEST_F(LdapReferrals, ThatCannotBeReadOrAreTooManyFailTheQuestion) {
  answer({erinsEntry()});
  std::vector<std::string> many;
  for (int number = 0; number <= 64; ++number) {
    many.push_back(mServer->uri() + "/dc=x" + std::to_string(number));
  }
  for (const auto& uris : {std::vector<std::string>{"http://example.org/"}, many}) {
    refer(uris);
    LdapMachine other;
    other.configure(LdapMachine::table("test", LdapMachine::quoted(mFirst->uri()),
                                       "tls = \"off\"\nfollow-referrals = true\n"));
    EXPECT_THROW(other.anywhere({"dana", "erin"}), PlatformException);
  }
}

TEST_F(LdapReferrals, TakeTheAccountsPasswordToServersOfTheSettingsAlone) {
  std::atomic<int> binds = 0;
  mServer = std::make_unique<ScriptedServer>([&](Peer& peer) {
    while (const auto request = peer.read()) {
      if (request->operation == ber::kBindRequest) {
        ++binds;
        peer.write(ber::message(request->id, ber::result(ber::kBindResponse, 0)));
      } else if (request->operation == ber::kSearchRequest) {
        peer.write(found(*request, {erinsEntry()}));
      } else {
        return;
      }
    }
  });
  const auto account = machine.asManager();
  refer({mServer->uri() + "/dc=x"}, account);
  EXPECT_THAT(machine.anywhere({"dana", "erin"}), ElementsAre("dana", "erin"));
  EXPECT_EQ(binds, 0);
  LdapMachine other;
  const auto both = LdapMachine::quoted(mFirst->uri()) + ", " + LdapMachine::quoted(mServer->uri());
  other.configure(LdapMachine::table(
      "test", both, "tls = \"off\"\nfollow-referrals = true\n" + other.asManager()));
  EXPECT_THAT(other.anywhere({"dana", "erin"}), ElementsAre("dana", "erin"));
  EXPECT_EQ(binds, 1);
}

TEST_F(LdapReferrals, ForTheRestOfAnAnswerToAPlaceThatWasAskedEndThere) {
  serve([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      const auto back = ber::tagged(0x73, ber::octets(mServer->uri() + "/dc=x"));
      return peer.write(ber::message(request.id, back) + found(request, {erinsEntry()}));
    });
  });
  refer({mServer->uri() + "/dc=x"});
  EXPECT_THAT(machine.anywhere({"dana", "erin"}), ElementsAre("dana", "erin"));
  EXPECT_THAT(machine.log.lines(), testing::IsEmpty());
}

TEST_F(LdapReferrals, ThatNobodyAnswersFailTheQuestion) {
  serve([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      const auto back = ber::tagged(0xA3, ber::octets(mFirst->uri()));
      return peer.write(
          ber::message(request.id, erinsEntry()) +
          ber::message(request.id, ber::result(ber::kSearchDone, kReferral, "", back)));
    });
  });
  refer({mServer->uri() + "/dc=x"});
  EXPECT_THAT(
      [&] {
        machine.anywhere({"dana", "erin"});
      },
      testing::ThrowsMessage<PlatformException>(
          "ldap/test: can't be asked: referrals lead in a circle"));
  answer({}, kReferral);
  LdapMachine nowhere;
  nowhere.configure(LdapMachine::table("test", LdapMachine::quoted(mServer->uri()),
                                       "tls = \"off\"\nfollow-referrals = true\n"));
  nowhere.expectOnlyLocalAccounts();
}

TEST_F(LdapReferrals, NeedOneAnswerOfThePlacesThatTheyName) {
  // A copy of the directory that leaves the question to the first one, which has answered.
  std::string original;
  serve([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      if (request.content.find("dc=copy") == std::string::npos) {
        return peer.write(found(request, {erinsEntry()}));
      }
      const auto back = ber::tagged(0xA3, ber::octets(original));
      return peer.write(
          ber::message(request.id, ber::result(ber::kSearchDone, kReferral, "", back)));
    });
  });
  original = mServer->uri() + "/dc=x";
  refer({original, mServer->uri() + "/dc=copy"});
  EXPECT_THAT(machine.anywhere({"dana", "erin"}), ElementsAre("dana", "erin"));
}

TEST_F(LdapReferrals, HaveTheTimeOfOneQuestionTogether) {
  std::atomic<int> asked = 0;
  serve([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      ++asked;
      poll(nullptr, 0, kPause);
      return peer.write(found(request, {}));
    });
  });
  std::vector<std::string> uris;
  constexpr int kOthers = 60;
  uris.reserve(kOthers);
  for (int number = 0; number < kOthers; ++number) {
    uris.push_back(mServer->uri() + "/dc=x" + std::to_string(number));
  }
  refer(uris, kSoonForAQuestion);
  const auto node = awaitedNode();
  EXPECT_THROW(node->recordByTypeAndName("Users", "dana", {}), PlatformException);
  EXPECT_LT(asked, kOthers);
  mServer.reset();
}

}  // namespace gatehall
