#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "linux/ldap/client/Servers.h"
#include "tests/Patience.h"
#include "tests/linux/ldap/fixture/LdapFaults.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Of which a mute server takes a half, and the other one has enough on a busy machine.
constexpr std::chrono::seconds kTimeLimit{4};

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
                         std::string(kManagersPassword) + "\"\noverlay syncprov\n",
             .modules = {"syncprov"}}) {
    machine.configure(LdapMachine::table(
        "test", LdapMachine::quoted(provider.uri()) + ", " + LdapMachine::quoted(consumer.uri()),
        "tls = \"off\"\ntime-limit = " + std::to_string(kTimeLimit.count()) + "\n"));
    awaitDana(consumer);
  }

  /// Waits until the server has her: a search that goes on (RFC 4533) tells when she comes.
  static void awaitDana(const Slapd& server) {
    ChildProcess search({"stdbuf", "--output=L", "ldapsearch", "-x", "-LLL", "-H", server.uri(),
                         "-b", std::string(kSuffix), "-E", "!sync=rp", "(uid=dana)"});
    while (search.readLine() != "uid: dana") continue;
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
  EXPECT_GT(watch.seconds(), 0.4 * kTimeLimit.count()) << "half of the time was the first one's";
  machine.clock.seconds += 6;
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  provider.thaw();
}

TEST_F(LdapFailover, TheNextServerIsAskedInTimeWhenOneFallsMuteThatAnsweredBefore) {
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  provider.freeze();
  machine.clock.seconds += 6;
  const Stopwatch watch;
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  EXPECT_GT(watch.seconds(), 0.4 * kTimeLimit.count()) << "half of the time was the mute one's";
  provider.thaw();
}

TEST_F(LdapFailover, NobodyIsThereWhenBothAreStopped) {
  provider.stop();
  consumer.stop();
  machine.expectOnlyLocalAccounts();
  EXPECT_EQ(machine.node(), nullptr);
  consumer.start();
  machine.clock.seconds += 6;
  EXPECT_THAT(machine.anywhere({"ann", "dana"}), ElementsAre("ann", "dana"));
}

/// Two servers that hold nothing, of which the first one falls mute.
class LdapServersTest : public testing::Test {
 protected:
  static bool answer(Peer& peer, const Request& request) {
    const bool isBind = request.operation == ber::kBindRequest;
    const auto kind = isBind ? ber::kBindResponse : ber::kSearchDone;
    return peer.write(ber::message(request.id, ber::result(kind, 0)));
  }

  ldap::Servers& servers() {
    if (!mServers) {
      ldap::Settings settings;
      settings.servers = {*ldap::URI::parse(first.uri()), *ldap::URI::parse(second.uri())};
      settings.tls = ldap::Settings::Tls::Off;
      settings.timeLimit = kTimeLimit;
      mServers = std::make_unique<ldap::Servers>(settings, HostOptions());
    }
    return *mServers;
  }
  /// None is known to be mute any more.
  void startOver() { mServers.reset(); }

  /// Asks for two connections at once, of which one is new: both are to that server.
  void expectAsked(const ScriptedServer& server) {
    servers().run([&](ldap::Connection& outer) {
      servers().run([&](ldap::Connection& inner) {
        EXPECT_EQ(outer.server().text, server.uri());
        EXPECT_EQ(inner.server().text, server.uri());
      });
    });
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
  secondsDelay = 1300;  // of the two seconds that are left
  bool isAnswered = false;
  // A busy machine makes the answer too late now and then, but not each time.
  for (int time = 0; time < 20 && !isAnswered; ++time) {
    startOver();
    isMute = false;
    try {
      servers().probe();
      isMute = true;
      servers().probe();
      isAnswered = true;
    } catch (const DirectoryUnreachable&) {
      continue;
    }
  }
  EXPECT_TRUE(isAnswered);
}

TEST_F(LdapServersTest, ThatFellMuteAreNotAskedOnOtherConnectionsEither) {
  expectAsked(first);
  isMute = true;
  servers().probe();
  isMute = false;
  expectAsked(second);
}

TEST_F(LdapServersTest, ThatAreMuteStandBehindTheOthers) {
  isMute = true;
  servers().probe();
  isMute = false;
  expectAsked(second);
}

/// Of which the first one answers only so many searches on each connection, and then hangs up or
/// falls mute.
class LdapServersThatFail : public LdapServersTest {
 protected:
  enum class End { HangsUp, FallsMute };

  /// Puts a question, and tells who answered it.
  std::string ask() {
    std::string uri;
    fickleServers().run([&](ldap::Connection& connection) {
      ldap::Servers::askForNothing(connection, fickleServers().limits());
      uri = connection.server().text;
    });
    return uri;
  }

  ldap::Servers& fickleServers() {
    if (!mServers) {
      ldap::Settings settings;
      settings.servers = {*ldap::URI::parse(fickle.uri()), *ldap::URI::parse(second.uri())};
      settings.tls = ldap::Settings::Tls::Off;
      mServers = std::make_unique<ldap::Servers>(settings, HostOptions());
    }
    return *mServers;
  }

  std::atomic<End> end = End::HangsUp;
  std::atomic<int> searches = 0;
  ScriptedServer fickle{[this](Peer& peer) {
    for (int answered = 0; const auto request = peer.read();) {
      if (request->operation != ber::kSearchRequest || answered++ < searches) {
        if (!answer(peer, *request)) return;
      }
      if (end == End::HangsUp && request->operation == ber::kSearchRequest &&
          answered >= searches) {
        return;
      }
    }
  }};

 private:
  std::unique_ptr<ldap::Servers> mServers;
};

TEST_F(LdapServersThatFail, AreLeftForTheNextOneWhenTheyBreakOffANewConnection) {
  EXPECT_EQ(ask(), second.uri());
  EXPECT_EQ(fickle.connections(), 1);
}

TEST_F(LdapServersThatFail, AreAskedAgainWhenTheyClosedAConnectionThatNobodyUsed) {
  searches = 1;
  for (int connections = 1; connections <= 3; ++connections) {
    EXPECT_EQ(ask(), fickle.uri());
    EXPECT_EQ(fickle.connections(), connections);
  }
  fickleServers().probe();
  EXPECT_EQ(ask(), fickle.uri());
}

TEST_F(LdapServersThatFail, AreLeftForTheNextOneWhenTheyFallMuteOnAConnectionThatWasUsed) {
  searches = 1;
  end = End::FallsMute;
  EXPECT_EQ(ask(), fickle.uri());
  EXPECT_THROW(ask(), ldap::ConnectionLost);
  EXPECT_EQ(ask(), second.uri());
  EXPECT_EQ(fickle.connections(), 1);
}

/// Where two come together.
class Meeting {
 public:
  /// Waits for the other one; whether it came.
  bool join() {
    std::unique_lock lock(mMutex);
    ++mCount;
    mChanged.notify_all();
    return mChanged.wait_for(lock, kPatience, [this] { return mCount >= 2; });
  }

 private:
  std::mutex mMutex;
  std::condition_variable mChanged;
  int mCount = 0;
};

TEST(LdapDirectories, AreAskedSideBySide) {
  Meeting meeting;
  std::atomic<int> met = 0;
  // Answers nobody before the other one is asked, too.
  const auto script = [&](Peer& peer) {
    peer.serve([&](const Request& request) {
      if (meeting.join()) ++met;
      return peer.write(found(request, {danasEntry()}));
    });
  };
  const ScriptedServer one(script);
  const ScriptedServer two(script);
  LdapMachine machine;
  machine.configure(LdapMachine::table("one", LdapMachine::quoted(one.uri())) +
                    LdapMachine::table("two", LdapMachine::quoted(two.uri())));
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana", "dana"));
  EXPECT_EQ(met, 2);
}

TEST(LdapDirectories, AnswerInTheirOrderWhereverOneIsMuteAndAPartWillDo) {
  const ScriptedServer mute;
  const ScriptedServer otherMute;
  const Slapd server({.ldif = ldifOf(LdifUser{"dana", 5000}) + ldifOf(LdifUser{"erin", 5001})});
  LdapMachine machine;
  const auto soon = std::string("tls = \"off\"\n") + kSoonForAnAnswer;
  machine.configure(LdapMachine::table("mute", LdapMachine::quoted(mute.uri()), soon) +
                    LdapMachine::table("one", LdapMachine::quoted(server.uri())) +
                    LdapMachine::table("two", LdapMachine::quoted(server.uri())) +
                    LdapMachine::table("still", LdapMachine::quoted(otherMute.uri()), soon));
  const auto found =
      machine.search()
          ->query({{"Users"}, "RecordName", MatchType::EqualTo, {"ann", "dana", "erin"}, {}, 0})
          ->results(true);
  Strings places;
  for (const auto& each : *found) {
    places.push_back(values(each, "RecordName").front() + " " +
                     values(each, "MetaNodeLocation").front());
  }
  EXPECT_THAT(places, ElementsAre("ann local", "dana ldap/one", "erin ldap/one", "dana ldap/two",
                                  "erin ldap/two"));
  EXPECT_EQ(machine.search()->unreachableSubnodeNames(), (Strings{"ldap/mute", "ldap/still"}));
  EXPECT_THROW(machine.search()->recordByTypeAndName("Users", "dana", {}), PlatformException);
}

}  // namespace gatehall
