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

TEST_F(LdapMemberRanges, EndWhereTheServerGoesBack) {
  serve([this](Peer& peer) {
    peer.serve([&](const Request& request) {
      const bool isByName = request.content.find("entryDN") != std::string::npos;
      if (request.content.find(kRange) != std::string::npos) ++mRanges;
      return peer.write(found(request, {isByName ? danasEntry() : group("0-0", {kMember})}));
    });
  });
  EXPECT_THAT(values(machine.networkGroup("all"), "GroupMembership"), ElementsAre("dana"));
  EXPECT_EQ(mRanges, 1);
}

TEST_F(LdapMemberRanges, EndWhereNothingIsHandedOut) {
  serveRanges([] { return std::vector<std::string>(); });
  EXPECT_THAT(values(machine.networkGroup("all"), "GroupMembership"), ElementsAre("dana"));
  EXPECT_EQ(mRanges, 1);
}

}  // namespace gatehall
