#include <atomic>
#include <functional>
#include <poll.h>

#include "tests/linux/ldap/fixture/LdapFaults.h"

namespace gatehall {
namespace {

using testing::ElementsAre;

/// A group whose server hands its members out one by one.
class LdapMemberRanges : public LdapFaults {
 protected:
  /// Has the server answer a request for members by what the attribute's range, "member;range=N-N",
  /// is given.
  void serveRanges(std::function<std::vector<std::string>()> members, std::string_view more = "") {
    const auto script = [this, members = std::move(members)](Peer& peer) {
      peer.serve([&](const Request& request) {
        const auto at = request.content.find(kRange);
        if (at == std::string::npos) {
          const bool isByName = request.content.find("entryDN") != std::string::npos;
          return peer.write(found(request, {isByName ? danasEntry() : group("0-0", {kMember})}));
        }
        poll(nullptr, 0, kPause);
        const bool isLast = ++mRanges > kNoEnd;
        const auto number = request.content.substr(at + kRange.size());
        const auto from = number.substr(0, number.find('-'));
        return peer.write(found(request, {group(from + "-" + (isLast ? "*" : from), members())}));
      });
    };
    serve(script, more);
  }

  void expectBroken() {
    const auto all = machine.networkGroup("all");
    EXPECT_THAT([&] { all->valuesForAttribute("GroupMembership"); },
                testing::ThrowsMessage<PlatformException>(
                    "ldap/test: the members of cn=all,dc=example,dc=org break off"));
  }

  static std::string group(const std::string& range, std::vector<std::string> members) {
    return ber::entry("cn=all,dc=example,dc=org",
                      {{"objectClass", {"posixGroup"}},
                       {"cn", {"all"}},
                       {"entryUUID", {"5f000000-0000-4000-8000-0000000000a1"}},
                       {std::string(kRange) + range, std::move(members)}});
  }

  static constexpr std::string_view kRange = "member;range=";
  static constexpr const char* kMember = "uid=dana,dc=example,dc=org";
  std::atomic<int> mRanges = 0;
};

}  // namespace

TEST_F(LdapMemberRanges, WithoutAnEndAreCutOff) {
  serveRanges([] { return std::vector<std::string>{kMember}; }, kSoonForAQuestion);
  const auto group = awaitedRecord("Groups", "all");
  EXPECT_THROW(group->valuesForAttribute("GroupMembership"), PlatformException);
}

TEST_F(LdapMemberRanges, FailTheQuestionWhereTheServerGoesBack) {
  serve([this](Peer& peer) {
    peer.serve([&](const Request& request) {
      const bool isByName = request.content.find("entryDN") != std::string::npos;
      if (request.content.find(kRange) != std::string::npos) ++mRanges;
      return peer.write(found(request, {isByName ? danasEntry() : group("0-0", {kMember})}));
    });
  });
  expectBroken();
  EXPECT_EQ(mRanges, 1);
}

TEST_F(LdapMemberRanges, FailTheQuestionWhereNothingIsHandedOut) {
  serveRanges([] { return std::vector<std::string>(); });
  expectBroken();
  EXPECT_EQ(mRanges, 1);
}

TEST_F(LdapMemberRanges, FailTheQuestionWhereTheRestIsNotAnswered) {
  const std::vector<std::vector<ber::Attribute>> odd{{},
                                                     {{"member", {kMember}}},
                                                     {{"member;range=2-*", {kMember}}},
                                                     {{"member;range=1-x", {kMember}}},
                                                     {{"member;range=1", {kMember}}},
                                                     {{"member;range=", {kMember}}}};
  for (const auto& rest : odd) {
    mRanges = 0;
    serve([&](Peer& peer) {
      peer.serve([&](const Request& request) {
        if (request.content.find(kRange) == std::string::npos) {
          return peer.write(found(request, {group("0-0", {kMember})}));
        }
        ++mRanges;
        return peer.write(found(request, {ber::entry("cn=all,dc=example,dc=org", rest)}));
      });
    });
    LdapMachine other;
    other.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n"));
    const auto all = other.networkGroup("all");
    EXPECT_THROW(all->valuesForAttribute("GroupMembership"), PlatformException);
    EXPECT_EQ(mRanges, 1);
    mServer.reset();
  }
}

TEST_F(LdapMemberRanges, ThatDoNotBeginAtTheBeginningMakeAGroupUnreadable) {
  for (const auto* range : {"1-1", "1-*", "x-1", "0", "", "0-99999999999"}) {
    answer({group(range, {kMember})});
    LdapMachine other;
    other.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n"));
    EXPECT_THROW(other.networkGroup("all"), PlatformException) << range;
    mServer.reset();
  }
}

TEST_F(LdapMemberRanges, OfAnythingButTheirDNsMakeAGroupUnreadable) {
  const auto ask = [&](const char* range) {
    answer({ber::entry("cn=all,dc=example,dc=org",
                       {{"objectClass", {"posixGroup"}},
                        {"cn", {"all"}},
                        {"entryUUID", {"5f000000-0000-4000-8000-0000000000a1"}},
                        {range, {"dana"}}})});
    LdapMachine other;
    other.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n"));
    return other.networkGroup("all") != nullptr;
  };
  EXPECT_TRUE(ask("memberUid;range=0-*"));
  for (const auto* range : {"memberUid;range=0-0", "memberuid;RANGE=0-0"}) {
    EXPECT_THAT([&] { ask(range); }, testing::ThrowsMessage<PlatformException>(testing::HasSubstr(
                                         "can't be read: its memberUid is cut short")));
  }
}

TEST_F(LdapMemberRanges, StandBesideAnEmptyAttributeOfTheSameName) {
  for (const bool isEmptyFirst : {true, false}) {
    serve([&](Peer& peer) {
      peer.serve([&](const Request& request) {
        const bool isByName = request.content.find("entryDN") != std::string::npos;
        if (isByName) return peer.write(found(request, {danasEntry()}));
        const bool isRest = request.content.find("member;range=1-*") != std::string::npos;
        std::vector<ber::Attribute> attributes{
            {"objectClass", {"posixGroup"}},
            {"cn", {"all"}},
            {"entryUUID", {"5f000000-0000-4000-8000-0000000000a1"}},
            {isRest ? "member;range=1-*" : "member;range=0-0", {isRest ? kMember : "uid=x"}}};
        attributes.insert(isEmptyFirst ? attributes.end() - 1 : attributes.end(), {"member", {}});
        return peer.write(found(request, {ber::entry("cn=all,dc=example,dc=org", attributes)}));
      });
    });
    LdapMachine other;
    other.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n"));
    EXPECT_THAT(values(other.networkGroup("all"), "GroupMembership"), ElementsAre("dana"));
    mServer.reset();
  }
}

}  // namespace gatehall
