#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "linux/ldap/client/Servers.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"
#include "tests/linux/ldap/fixture/ScriptedServer.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A provider, and a consumer that follows it (syncrepl).
class LdapFailover : public testing::Test {
 protected:
  LdapFailover()
      : provider({.ldif = ldifOf(LdifUser{"dana", 5000}),
                  .database = "overlay syncprov\n",
                  .modules = {"syncprov"}}),
        consumer(
            {.database = "syncrepl rid=1 provider=" + provider.uri() +
                         " type=refreshAndPersist retry=\"1 +\" searchbase=\"dc=example,dc=org\""
                         " bindmethod=simple binddn=\"" +
                         std::string(kManager) + "\" credentials=\"" +
                         std::string(kManagersPassword) + "\"\n",
             .modules = {"syncprov"}}) {
    machine.configure(LdapMachine::table(
        "test", LdapMachine::quoted(provider.uri()) + ", " + LdapMachine::quoted(consumer.uri()),
        "tls = \"off\"\ntime-limit = 1\n"));
    LdapMachine second;
    second.configure(LdapMachine::table("test", LdapMachine::quoted(consumer.uri())));
    for (int time = 0; time < 2000 && second.networkUser("dana") == nullptr; ++time) {
      second.clock.seconds += 6;
      runProgram({"true"});
    }
  }

  Slapd provider;
  Slapd consumer;
  LdapMachine machine;
};

}  // namespace

TEST_F(LdapFailover, TheNextServerIsAskedWhenOneIsStopped) {
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  provider.stop();
  machine.clock.seconds += 6;
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana")) << "the connection broke";
  machine.directory().forgetFetched();
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LdapFailover, TheNextServerIsAskedInTimeWhenOneIsMute) {
  provider.freeze();
  const Stopwatch watch;
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  EXPECT_LT(watch.seconds(), 3);
  EXPECT_GT(watch.seconds(), 0.4) << "half of the time was the first one's";
  machine.clock.seconds += 6;
  const Stopwatch again;
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  EXPECT_LT(again.seconds(), 0.4) << "the mute one stands behind";
  provider.thaw();
}

TEST_F(LdapFailover, TheNextServerIsAskedInTimeWhenOneFallsMuteThatAnsweredBefore) {
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  provider.freeze();
  machine.clock.seconds += 6;
  const Stopwatch watch;
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  EXPECT_LT(watch.seconds(), 3);
  EXPECT_GT(watch.seconds(), 0.4) << "half of the time was the mute one's";
  provider.thaw();
}

TEST_F(LdapFailover, NobodyIsThereWhenBothAreStopped) {
  provider.stop();
  consumer.stop();
  EXPECT_THAT(machine.anywhere({"ann", "dana"}), ElementsAre("ann"));
  EXPECT_EQ(machine.node(), nullptr);
  consumer.start();
  machine.clock.seconds += 6;
  EXPECT_THAT(machine.anywhere({"ann", "dana"}), ElementsAre("ann", "dana"));
}

/// Two servers that hold nothing, of which the first one falls mute.
class LdapServersTest : public testing::Test {
 protected:
  using Peer = ScriptedServer::Peer;

  static bool answer(Peer& peer, const ScriptedServer::Request& request) {
    const bool isBind = request.operation == ber::kBindRequest;
    const auto kind = isBind ? ber::kBindResponse : ber::kSearchDone;
    return peer.write(ber::message(request.id, ber::result(kind, 0)));
  }

  ldap::Servers& servers() {
    if (!mServers) {
      ldap::Settings settings;
      settings.servers = {*ldap::URI::parse(first.uri()), *ldap::URI::parse(second.uri())};
      settings.tls = ldap::Settings::Tls::Off;
      mServers = std::make_unique<ldap::Servers>(settings, HostOptions());
    }
    return *mServers;
  }

  std::atomic<bool> isMute = false;
  std::atomic<int> secondsDelay = 0;  ///< in milliseconds, until the second one answers a bind
  ScriptedServer first{[this](Peer& peer) {
    while (const auto request = peer.read()) {
      if (!isMute && !answer(peer, *request)) return;
    }
  }};
  ScriptedServer second{[this](Peer& peer) {
    while (const auto request = peer.read()) {
      const bool isBind = request->operation == ber::kBindRequest;
      if (isBind) std::this_thread::sleep_for(std::chrono::milliseconds(secondsDelay));
      if (!answer(peer, *request)) return;
    }
  }};

 private:
  std::unique_ptr<ldap::Servers> mServers;
};

TEST_F(LdapServersTest, ThatFellMuteLeaveAllTheTimeThatIsLeftToTheOthers) {
  secondsDelay = 700;  // of the second that is left of two
  servers().probe();
  isMute = true;
  EXPECT_NO_THROW(servers().probe());
}

TEST_F(LdapServersTest, ThatFellMuteAreNotAskedOnOtherConnectionsEither) {
  servers().run([&](ldap::Connection& outer) {
    servers().run([&](ldap::Connection& inner) {
      EXPECT_EQ(outer.server().text, first.uri());
      EXPECT_EQ(inner.server().text, first.uri());
    });
  });
  isMute = true;
  servers().probe();
  servers().run([&](ldap::Connection& outer) {
    servers().run([&](ldap::Connection& inner) {
      EXPECT_EQ(outer.server().text, second.uri());
      EXPECT_EQ(inner.server().text, second.uri());
    });
  });
}

TEST(LdapDirectories, AreAskedSideBySideAndAnswerInTheirOrder) {
  const ScriptedServer mute;
  const ScriptedServer otherMute;
  const Slapd server({.ldif = ldifOf(LdifUser{"dana", 5000}) + ldifOf(LdifUser{"ann", 1000})});
  LdapMachine machine;
  const auto more = "tls = \"off\"\ntime-limit = 0.4\n";
  machine.configure(LdapMachine::table("mute", LdapMachine::quoted(mute.uri()), more) +
                    LdapMachine::table("one", LdapMachine::quoted(server.uri()), more) +
                    LdapMachine::table("two", LdapMachine::quoted(server.uri()), more) +
                    LdapMachine::table("still", LdapMachine::quoted(otherMute.uri()), more));
  const Stopwatch watch;
  const auto found =
      machine.search()
          ->query({{"Users"}, "RecordName", MatchType::EqualTo, {"ann", "dana"}, {}, 0})
          ->results(false);
  EXPECT_LT(watch.seconds(), 0.75) << "not one after the other";
  Strings places;
  for (const auto& each : *found) {
    places.push_back(values(each, "RecordName").front() + " " +
                     values(each, "MetaNodeLocation").front());
  }
  EXPECT_THAT(places, ElementsAre("ann local", "ann ldap/one", "dana ldap/one", "ann ldap/two",
                                  "dana ldap/two"));
  EXPECT_EQ(machine.search()->unreachableSubnodeNames(), (Strings{"ldap/mute", "ldap/still"}));
  EXPECT_EQ(values(machine.search()->recordByTypeAndName("Users", "dana", {}), "MetaNodeLocation"),
            Strings{"ldap/one"});
}

}  // namespace gatehall
