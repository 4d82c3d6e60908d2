#include <poll.h>

#include "linux/ldap/client/Connection.h"
#include "tests/linux/ldap/fixture/LdapFaults.h"

namespace gatehall {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

}  // namespace

TEST_F(LdapFaults, NoneWithAWellBehavedServer) {
  answer({danasEntry()});
  EXPECT_THAT(machine.anywhere({"ann", "dana"}), ElementsAre("ann", "dana"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LdapFaults, AServerThatRefusesConnectionsIsNotThere) {
  configure("ldap://127.0.0.1:" + std::to_string(freePort()));
  EXPECT_EQ(machine.node(), nullptr);
  EXPECT_EQ(machine.search()->subnodeNames(), (Strings{"local", "unix", "ldap/test"}));
  EXPECT_EQ(machine.search()->unreachableSubnodeNames(), Strings{"ldap/test"});
  expectLocalAccounts();
  ASSERT_EQ(machine.log.lines().size(), 1U);
  EXPECT_THAT(machine.log.lines().front(),
              AllOf(HasSubstr("ldap/test can't be reached: ldap://127.0.0.1:"),
                    HasSubstr("Connection refused")));
}

TEST_F(LdapFaults, AServerThatNeverAnswersIsNotThereAfterItsTime) {
  std::atomic<bool> isMute = true;
  serve(
      [&](Peer& peer) {
        while (isMute && peer.read()) continue;
        peer.serve(
            [&](const Request& request) { return peer.write(found(request, {danasEntry()})); });
      },
      kSoonForAnAnswer);
  expectLocalAccounts();
  isMute = false;
  for (int time = 0; time < 50; ++time) {
    EXPECT_EQ(machine.search()->unreachableSubnodeNames(), Strings{"ldap/test"});
    EXPECT_EQ(machine.node(), nullptr) << "remembered for some seconds";
    expectLocalAccounts();
  }
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("no answer in time")));
}

TEST_F(LdapFaults, ADirectoryThatReturnsIsFoundAfterSomeSeconds) {
  std::atomic<bool> isUp = false;
  serve([&](Peer& peer) {
    if (!isUp) return;
    peer.serve([&](const Request& request) {
      peer.write(found(request, {danasEntry()}));
      return true;
    });
  });
  expectLocalAccounts();
  isUp = true;
  expectLocalAccounts();
  machine.clock.seconds += 6;
  EXPECT_THAT(machine.anywhere({"ann", "dana"}), ElementsAre("ann", "dana"));
  EXPECT_THAT(machine.log.lines(),
              ElementsAre(HasSubstr("can't be reached"), "ldap/test can be reached again"));
}

TEST_F(LdapFaults, AServerThatAnswersNoSearchFailsTheQuestion) {
  serve([](Peer& peer) { peer.serve([](const Request&) { return true; }); }, kSoonForAnAnswer);
  const auto node = awaitedNode();
  EXPECT_THROW(node->recordByTypeAndName("Users", "dana", {}), DirectoryUnreachable);
  expectLocalAccounts();
  machine.clock.seconds += 6;
  expectLocalAccounts();
}

TEST_F(LdapFaults, AServerThatIsLateIsToldWithWhatHadComeAndTheLimitThatIsOver) {
  const auto why = [&](std::size_t entries, std::string_view limits) {
    serve(
        [&](Peer& peer) {
          peer.serve([&](const Request& request) {
            std::string bytes;
            for (std::size_t count = 0; count < entries; ++count) {
              bytes += ber::message(request.id, danasEntry());
            }
            return peer.write(bytes);
          });
        },
        limits);
    LdapMachine other;
    other.configure(LdapMachine::table("test", LdapMachine::quoted(mServer->uri()),
                                       "tls = \"off\"\n" + std::string(limits)));
    // A busy machine may be late before that.
    for (const Stopwatch watch; watch.seconds() < kPatience.count(); other.clock.seconds += 6) {
      try {
        if (const auto node = other.node()) node->recordByTypeAndName("Users", "dana", {});
      } catch (const PlatformException& failure) {
        const std::string text = failure.what();
        if (text.find("limit)") != std::string::npos) return text;
      }
    }
    return std::string();
  };
  EXPECT_THAT(why(3, kSoonForAnAnswer),
              HasSubstr("no answer in time; 3 entries had come (time-limit)"));
  EXPECT_THAT(why(1, kSoonForAQuestion),
              HasSubstr("no answer in time; 1 entry had come (total-time-limit)"));
  EXPECT_THAT(why(0, kSoonForAnAnswer), HasSubstr("no answer in time (time-limit)"));
}

TEST_F(LdapFaults, AServerThatHangsUpIsAskedOnceMore) {
  std::atomic<int> searches = 0;
  serve([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      if (searches++ == 0) return false;
      peer.write(found(request, {danasEntry()}));
      return true;
    });
  });
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  EXPECT_EQ(searches, 2);
  EXPECT_EQ(mServer->connections(), 2);
}

TEST_F(LdapFaults, AServerThatBreaksOffInTheMiddleFailsTheQuestionAndIsThenNotThere) {
  serve([](Peer& peer) {
    peer.serve([&](const Request& request) {
      peer.write(ber::message(request.id, danasEntry()));
      return false;
    });
  });
  const auto query = machine.search()->query(
      {{"Users"}, "RecordName", MatchType::EqualTo, {"ann", "dana"}, {}, 0});
  EXPECT_THROW(query->results(false), PlatformException);
  expectLocalAccounts();
  machine.clock.seconds += 6;
  EXPECT_EQ(query->results(true)->size(), 1U) << "unless the rest is good enough";
}

TEST_F(LdapFaults, AServerThatBreaksOffInTheMiddleFailsTheQuestionWhateverItDoesNext) {
  enum class Next { LetsNobodyIn, HangsUp, Refuses };
  for (const auto next : {Next::LetsNobodyIn, Next::HangsUp, Next::Refuses}) {
    std::atomic<int> connections = 0;
    serve([&](Peer& peer) {
      const bool isFirst = connections++ == 0;
      if (!isFirst && next == Next::LetsNobodyIn) return;
      peer.serve([&](const Request& request) {
        if (isFirst) peer.write(ber::message(request.id, danasEntry()));
        if (isFirst || next == Next::HangsUp) return false;
        constexpr int kUnavailable = 52;
        return peer.write(found(request, {}, kUnavailable));
      });
    });
    LdapMachine other;
    other.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n"));
    EXPECT_THROW(other.anywhere({"ann", "dana"}), PlatformException);
    EXPECT_EQ(connections, 2);
    mServer.reset();
  }
}

TEST_F(LdapFaults, AServerThatTellsOfAGroupButNotOfItsMembersFailsTheQuestion) {
  serve([](Peer& peer) {
    peer.serve([&](const Request& request) {
      if (request.content.find("entryDN") != std::string::npos) return false;
      return peer.write(
          found(request, {ber::entry("cn=all,dc=example,dc=org",
                                     {{"objectClass", {"posixGroup"}},
                                      {"cn", {"all"}},
                                      {"entryUUID", {"5f000000-0000-4000-8000-0000000000a1"}},
                                      {"member", {"uid=dana,dc=example,dc=org"}}})}));
    });
  });
  const auto query = machine.search()->query(
      {{"Groups"}, "RecordName", MatchType::EqualTo, {"all"}, {"GroupMembers"}, 0});
  EXPECT_THROW(query->results(false), PlatformException);
}

TEST_F(LdapFaults, AServerThatStopsBetweenTwoPagesFailsTheQuestion) {
  std::atomic<int> pages = 0;
  serve(
      [&](Peer& peer) {
        peer.serve([&](const Request& request) {
          if (pages++ % 2 == 1) return true;
          peer.write(ber::message(request.id, danasEntry()) +
                     ber::message(request.id, ber::result(ber::kSearchDone, 0), ber::page("next")));
          return true;
        });
      },
      kSoonForAnAnswer);
  const auto node = awaitedNode();
  EXPECT_THROW(machine.namesAt(*node, {"Users"}, "RecordName", MatchType::EqualTo,
                               {std::string(attribute::AllRecords)}),
               PlatformException);
  expectLocalAccounts();
}

TEST_F(LdapFaults, APageThatDoesNotSayWhetherThereIsAnotherFailsTheQuestion) {
  std::atomic<int> pages = 0;
  serve([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      const bool isFirst = pages++ % 2 == 0;
      return peer.write(ber::message(request.id, danasEntry()) +
                        ber::message(request.id, ber::result(ber::kSearchDone, 0),
                                     isFirst ? ber::page("next") : ""));
    });
  });
  EXPECT_THROW(machine.allNetworkUsers(), PlatformException);
  EXPECT_EQ(pages, 4) << "asked once more";
}

TEST_F(LdapFaults, PagesWithoutAnEndAreCutOff) {
  std::atomic<int> pages = 0;
  serve(
      [&](Peer& peer) {
        peer.serve([&](const Request& request) {
          poll(nullptr, 0, kPause);
          const auto* next = ++pages < kNoEnd ? "next" : "";
          return peer.write(
              ber::message(request.id, ber::result(ber::kSearchDone, 0), ber::page(next)));
        });
      },
      kSoonForAQuestion);
  const auto node = awaitedNode();
  EXPECT_THROW(machine.namesAt(*node, {"Users"}, "RecordName", MatchType::EqualTo,
                               {std::string(attribute::AllRecords)}),
               PlatformException);
  mServer.reset();
}

TEST_F(LdapFaults, EntriesThatTrickleInAreCutOff) {
  serve(
      [](Peer& peer) {
        peer.serve([&](const Request& request) {
          for (int time = 0; time < kNoEnd; ++time) {
            if (!peer.write(ber::message(request.id, danasEntry()))) return false;
            poll(nullptr, 0, kPause);
          }
          return peer.write(found(request, {}));
        });
      },
      kSoonForAnAnswer);
  const auto node = awaitedNode();
  EXPECT_THROW(node->recordByTypeAndName("Users", "dana", {}), PlatformException);
}

TEST_F(LdapFaults, HalfAMessageIsNotWaitedFor) {
  serve(
      [](Peer& peer) {
        peer.serve([&](const Request& request) {
          const auto bytes = found(request, {danasEntry()});
          return peer.write(bytes.substr(0, bytes.size() / 2));
        });
      },
      kSoonForAnAnswer);
  const auto node = awaitedNode();
  EXPECT_THROW(node->recordByTypeAndName("Users", "dana", {}), PlatformException);
}

TEST_F(LdapFaults, WhatIsNoLdapIsNotThere) {
  for (const std::string& bytes :
       {std::string("HTTP/1.1 400 Bad Request\r\n\r\n"), std::string("\x30\x84\xff\xff\xff\xff", 6),
        std::string("\x30\x80\x30\x80\x30\x80", 6), std::string(100, '\0'),
        ber::sequence("\x02\x01"), ber::sequence(ber::octets("x")),
        ber::message(99, ber::result(ber::kSearchDone, 0)),
        ber::message(0, ber::result(ber::kExtendedResponse, 52)), std::string(70000, '\xff')}) {
    serve([&](Peer& peer) {
      peer.serve([&](const Request&) {
        peer.write(bytes);
        return true;
      });
    });
    LdapMachine other;
    other.configure(LdapMachine::table("test", LdapMachine::quoted(mServer->uri()),
                                       std::string("tls = \"off\"\n") + kSoonForAnAnswer));
    other.expectOnlyLocalAccounts();
  }
}

TEST_F(LdapFaults, AServerThatRefusesToSearchFailsTheQuestion) {
  for (const int code : {1, 2, 3, 10, 11, 32, 50, 51, 52, 53, 80}) {
    answer({}, code);
    LdapMachine other;
    other.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n"));
    SCOPED_TRACE(code);
    other.expectOnlyLocalAccounts();
    EXPECT_THAT(other.log.lines(), ElementsAre(HasSubstr("searching dc=example,dc=org: ")));
  }
}

TEST_F(LdapFaults, AnEntryThatCannotBeReadFailsTheQuestionThatItMayAnswer) {
  const std::vector<std::pair<std::string, std::string>> odd{
      {entryWith("objectClass", {}), "it has no object class"},
      {entryWith("uid", {}), "it has no name"},
      {entryWith("uid", {""}), "it has no name"},
      {entryWith("entryUUID", {}), "it has no GUID"},
      {entryWith("entryUUID", {"5f000000"}), "its GUID is none"},
      {entryWith("uidNumber", {"4294967295"}), "its uidNumber is no id: 4294967295"},
      {entryWith("uidNumber", {"-1"}), "its uidNumber is no id: -1"},
      {entryWith("cn", {"D\xe4na"}), "a value of cn is no text"},
      {entryWith("cn", {std::string("a\0b", 3)}), "a value of cn is no text"},
      {entryWith("loginShell", {std::string(70000, 'x')}), "a value of loginShell is too long"},
      {ber::tagged(0x64, ber::octets("uid=odd,dc=example,dc=org") + ber::sequence("\x30\x7f")),
       "it can't be decoded"}};
  for (const auto& [entry, fault] : odd) {
    answer({entry, danasEntry(), entryWith("objectClass", {"printer"})});
    LdapMachine other;
    other.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n"));
    EXPECT_THAT([&] { other.anywhere({"dana"}); }, testing::ThrowsMessage<PlatformException>(AllOf(
                                                       testing::StartsWith("ldap/test: the entry "),
                                                       HasSubstr(" can't be read: " + fault))));
    EXPECT_THAT(other.allNetworkUsers(), ElementsAre("dana")) << "of all, it is left out";
    EXPECT_THAT(other.log.lines(), ElementsAre(AllOf(HasSubstr("ldap/test: the entry "),
                                                     HasSubstr(" is left out: " + fault))));
  }
}

TEST_F(LdapFaults, AttributesNobodyAskedForAreIgnored) {
  auto attributes = danasAttributes();
  attributes.push_back({"uidnumber;lang-de", {"7"}});
  attributes.push_back({"unheard", {std::string(100000, '\xff')}});
  attributes.push_back({"", {""}});
  attributes.push_back({"CN", {}});
  answer({ber::entry("uid=dana,dc=example,dc=org", attributes)});
  EXPECT_EQ(values(machine.networkUser("dana"), "UniqueID"), Strings{"5000"});
}

TEST_F(LdapFaults, ReferralsAreNotFollowedUnlessAsked) {
  answer({danasEntry()});
  const auto other = std::move(mServer);
  serve([&](Peer& peer) {
    peer.serve([&](const Request& request) {
      peer.write(ber::message(request.id, ber::tagged(0x73, ber::octets(other->uri() + "/dc=x"))) +
                 found(request, {}));
      return true;
    });
  });
  EXPECT_THAT(machine.anywhere({"dana"}), IsEmpty());
  EXPECT_EQ(other->connections(), 0);

  configure(mServer->uri(), "follow-referrals = true\n");
  LdapMachine following;
  following.write("/etc/gatehall/directory.toml",
                  LdapMachine::table("test", LdapMachine::quoted(mServer->uri()),
                                     "tls = \"off\"\nfollow-referrals = true\n"));
  EXPECT_THAT(following.anywhere({"dana"}), ElementsAre("dana"));
}

TEST_F(LdapFaults, ReferralsInACircleFailTheQuestion) {
  std::atomic<int> number = 0;
  std::string uri;
  const auto refer = [&](Peer& peer) {
    peer.serve([&](const Request& request) {
      const auto place = uri + "/dc=" + std::to_string(number++ / 3);
      peer.write(ber::message(request.id, ber::result(ber::kSearchDone, 10, "",
                                                      ber::tagged(0xA3, ber::octets(place)))));
      return true;
    });
  };
  mServer = std::make_unique<ScriptedServer>(refer);
  uri = mServer->uri();
  configure(uri, "follow-referrals = true\n");
  EXPECT_THAT(
      [&] {
        machine.anywhere({"ann", "dana"});
      },
      testing::ThrowsMessage<PlatformException>(
          "ldap/test: can't be asked: referrals lead in a circle"));
  EXPECT_LE(number, 12);
}

TEST_F(LdapFaults, MembersThatAServerHandsOutInPartsAreFetchedToTheEnd) {
  serve([](Peer& peer) {
    peer.serve([&](const Request& request) {
      const auto asks = [&](std::string_view text) {
        return request.content.find(text) != std::string::npos;
      };
      const auto group = [](const std::string& attribute, const std::string& member) {
        return ber::entry("cn=all,dc=example,dc=org",
                          {{"objectClass", {"posixGroup"}},
                           {"cn", {"all"}},
                           {"entryUUID", {"5f000000-0000-4000-8000-0000000000a1"}},
                           {attribute, {member}}});
      };
      if (asks("member;range=1-*")) {
        peer.write(found(request, {group("member;range=1-*", "uid=dana,dc=example,dc=org")}));
      } else if (asks("entryDN")) {
        peer.write(found(request, {danasEntry()}));
      } else {
        peer.write(found(request, {group("member;range=0-0", "uid=ghost,dc=example,dc=org")}));
      }
      return true;
    });
  });
  EXPECT_THAT(values(machine.networkGroup("all"), "GroupMembership"), ElementsAre("dana"));
}

}  // namespace gatehall
