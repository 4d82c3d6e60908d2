#include <atomic>
#include <functional>
#include <poll.h>

#include "tests/linux/ldap/fixture/LdapFaults.h"

namespace gatehall {
namespace {

/// Answers a search by the same bytes over and over.
void flood(const Peer& peer, const std::string& bytes) {
  std::string many;
  while (many.size() < 60000) many += bytes;
  const Stopwatch watch;
  while (watch.seconds() < kNoEnd * kPause / 1000.0 && peer.write(many)) continue;
}

class LdapFloods : public LdapFaults {
 protected:
  void expectEnd(const std::function<std::string(const Request&)>& bytes) {
    serve(
        [&bytes](Peer& peer) {
          peer.serve([&](const Request& request) {
            flood(peer, bytes(request));
            return peer.write(found(request, {}));
          });
        },
        kSoonForAnAnswer);
    const auto node = awaitedNode();
    EXPECT_THROW(node->recordByTypeAndName("Users", "dana", {}), PlatformException);
    mServer.reset();
  }
};

}  // namespace

TEST_F(LdapFloods, OfReferencesEnd) {
  expectEnd([](const Request& request) {
    return ber::message(request.id, ber::tagged(0x73, ber::octets("ldap://127.0.0.1/dc=x")));
  });
}

TEST_F(LdapFloods, OfEntriesThatAreNoAccountsEnd) {
  expectEnd([](const Request& request) {
    return ber::message(request.id, entryWith("objectClass", {"printer"}));
  });
}

TEST_F(LdapFloods, OfIntermediateResponsesEnd) {
  expectEnd([](const Request& request) { return ber::message(request.id, ber::tagged(0x79, "")); });
}

TEST_F(LdapFloods, OfAnswersToNoQuestionEnd) {
  expectEnd([](const Request&) { return ber::message(9999, danasEntry()); });
}

TEST_F(LdapFloods, OfUnsolicitedNotificationsEnd) {
  expectEnd([](const Request&) { return ber::message(0, ber::result(ber::kExtendedResponse, 0)); });
}

TEST_F(LdapFloods, OfGroupsInGroupsEnd) {
  std::atomic<int> depth = 0;
  const auto script = [&](Peer& peer) {
    const auto group = [](const std::string& name, int number, const std::string& member) {
      const auto guid = "5f000000-0000-4000-8000-" + std::to_string(100000000000 + number);
      return ber::entry("cn=" + name + ",dc=example,dc=org", {{"objectClass", {"posixGroup"}},
                                                              {"cn", {name}},
                                                              {"entryUUID", {guid}},
                                                              {"member", {member}}});
    };
    peer.serve([&](const Request& request) {
      const auto asks = [&](std::string_view text) {
        return request.content.find(text) != std::string::npos;
      };
      if (asks("top")) return peer.write(found(request, {group("top", 0, "dc=x")}));
      if (!asks("uid=dana") && !asks("cn=g")) return peer.write(found(request, {danasEntry()}));
      poll(nullptr, 0, kPause);
      const int number = ++depth;
      if (number > kNoEnd) return peer.write(found(request, {}));
      const auto below =
          number == 1 ? std::string("uid=dana") : "cn=g" + std::to_string(number - 1);
      const auto name = "g" + std::to_string(number);
      return peer.write(found(request, {group(name, number, below + ",dc=example,dc=org")}));
    });
  };
  serve(script, kSoonForAQuestion);
  const auto top = awaitedRecord("Groups", "top");
  const auto dana = awaitedRecord("Users", "dana");
  EXPECT_THROW(top->isMember(*dana), PlatformException);
  mServer.reset();
}

}  // namespace gatehall
