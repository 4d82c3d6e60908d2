#include <atomic>
#include <poll.h>

#include "linux/ldap/client/Connection.h"
#include "tests/linux/ldap/fixture/LdapFaults.h"

namespace gatehall {
namespace {

using testing::ElementsAre;

/// A server that reads nothing for a while, on a link that holds little.
class LdapSlowLink : public LdapFaults {
 protected:
  static constexpr int kBuffer = 4096;
  static constexpr int kSlowness = 100;  ///< milliseconds

  void serveSlowly(ScriptedServer::Script script) {
    mServer = std::make_unique<ScriptedServer>(std::move(script), kBuffer);
    machine.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n"));
  }
};

/// A filter of half a megabyte.
std::string longFilter() {
  std::string filter = "(|";
  for (int number = 0; number < 5000; ++number) {
    filter += "(uid=" + std::string(90, 'x') + std::to_string(number) + ")";
  }
  return filter + ")";
}

}  // namespace

TEST_F(LdapSlowLink, TakesManySearchesOneAfterTheOther) {
  std::atomic<int> searches = 0;
  serveSlowly([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      if (searches++ == 0) poll(nullptr, 0, kSlowness);
      return peer.write(found(request, {danasEntry()}));
    });
  });
  Strings guids{"5f000000-0000-4000-8000-0000000000da"};
  for (int number = 10000; number < 19999; ++number) {
    guids.push_back("5f000000-0000-4000-8000-0000000" + std::to_string(number));
  }
  EXPECT_THAT(machine.userNames("GUID", MatchType::EqualTo, guids), ElementsAre("dana"));
  EXPECT_EQ(searches, 20);
  EXPECT_EQ(mServer->connections(), 1);
}

TEST_F(LdapSlowLink, TakesTheNextPageOnceThereIsRoom) {
  std::atomic<int> pages = 0;
  std::atomic<int> others = 0;
  serveSlowly([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      if (request.content.find("dc=paged") == std::string::npos) {
        ++others;
        return peer.write(found(request, {}));
      }
      const bool isLast = ++pages == 3;
      peer.write(ber::message(request.id, danasEntry()) +
                 ber::message(request.id, ber::result(ber::kSearchDone, 0),
                              ber::page(isLast ? "" : "next")));
      poll(nullptr, 0, kSlowness);
      return true;
    });
  });
  ldap::Settings settings;
  settings.tls = ldap::Settings::Tls::Off;
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  const auto connection =
      ldap::Connection::open(settings, ldap::URI::parse(mServer->uri()).value(), "", deadline);
  std::vector<ldap::Search> searches{{"dc=paged", ldap::Search::Scope::Subtree, "(a=1)", {}, true}};
  for (int number = 0; number < 3; ++number) {
    searches.push_back({"dc=x", ldap::Search::Scope::Subtree, longFilter(), {}, false});
  }
  int entries = 0;
  const auto results =
      connection->search(searches, {kPatience, deadline}, [&](auto, auto, auto) { ++entries; });
  for (const auto& result : results) EXPECT_TRUE(result.isSuccess());
  EXPECT_EQ(entries, 3);
  EXPECT_EQ(others, 3);
}

}  // namespace gatehall
