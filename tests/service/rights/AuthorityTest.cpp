#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

#include "service/rights/Authority.h"
#include "tests/linux/bus/fixture/PrivateBus.h"
#include "tests/service/rights/Peers.h"

namespace gatehall {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Answers = PolkitStandIn::Answers;

constexpr const char* kHours = "com.orvane.gatehall.read-login-hours";
constexpr const char* kExplain = "com.orvane.gatehall.explain";

/// For an answer that a test lets be late.
constexpr std::chrono::milliseconds kShort{100};

/// A service whose callers are checked, one of them, and polkit, all on one loop.
class AuthorityTest : public testing::Test {
 protected:
  AuthorityTest() {
    const std::filesystem::path socket(bus.address().substr(bus.address().find('/')));
    using std::filesystem::perms;
    std::filesystem::permissions(socket.parent_path(), perms::group_exec | perms::others_exec,
                                 std::filesystem::perm_options::add);
    start();
    polkit = std::make_unique<PolkitStandIn>(loop, bus.address());
    client = plainPeer(loop, bus.address());
  }
  ~AuthorityTest() override {
    for (auto* call : mCalls) sd_bus_message_unref(call);
  }

  void start(AuthorityLimits limits = {.answer = kPatience, .interaction = kPatience}) {
    authority.reset();
    service = std::make_unique<Peer>(loop, bus.address());
    require(sd_bus_add_object(&service->bus(), nullptr, "/", &onCall, this));
    authority = std::make_unique<Authority>(service->bus(), limits);
    authority->whenGone([this](const std::string& name) { gone.push_back(name); });
  }

  bool driveUntil(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + kPatience * 2;
    loop.wakeAt(limit);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      loop.step(EventLoop::Wait::Forever);
    }
    return true;
  }

  /// The call of a client, as the service has it.
  sd_bus_message* callOf(const Peer& peer, bool allowsInteraction = true) {
    sd_bus_message* call = nullptr;
    require(sd_bus_message_new_method_call(&peer.bus(), &call, service->name().c_str(), "/",
                                           "com.orvane.Test", "Ask"));
    require(sd_bus_message_set_allow_interactive_authorization(call, int{allowsInteraction}));
    require(sd_bus_message_set_expect_reply(call, 0));
    require(sd_bus_send(&peer.bus(), call, nullptr));
    sd_bus_message_unref(call);
    const auto before = mCalls.size();
    if (!driveUntil([&] { return mCalls.size() > before; })) throw std::runtime_error("no call");
    return mCalls.back();
  }

  void check(sd_bus_message* call, const char* action = kHours,
             Interaction interaction = Interaction::No) {
    authority->check(call, action, interaction,
                     [this](Permission permission) { told.push_back(permission); });
  }

  std::optional<Permission> answer(const char* action = kHours,
                                   Interaction interaction = Interaction::No) {
    told.clear();
    check(callOf(*client), action, interaction);
    if (!driveUntil([&] { return !told.empty(); })) return std::nullopt;
    return told.front();
  }

  std::string question(const char* action, int flags) const {
    return client->name() + ' ' + action + ' ' + std::to_string(flags);
  }

  PrivateBus bus;
  EventLoop loop;
  std::unique_ptr<Peer> service;
  std::unique_ptr<Authority> authority;
  std::unique_ptr<PolkitStandIn> polkit;
  std::unique_ptr<Peer> client;
  std::vector<Permission> told;
  std::vector<std::string> gone;

 private:
  static int onCall(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    static_cast<AuthorityTest*>(self)->mCalls.push_back(sd_bus_message_ref(message));
    return 1;
  }

  std::vector<sd_bus_message*> mCalls;
};

TEST_F(AuthorityTest, AsksPolkitAboutTheCallersNameOnTheBus) {
  EXPECT_EQ(answer(kHours), Permission::Allowed);
  EXPECT_THAT(polkit->asked, ElementsAre(question(kHours, 0)));
  polkit->answers = Answers::No;
  EXPECT_EQ(answer(kExplain), Permission::Denied);
  EXPECT_THAT(polkit->asked, ElementsAre(question(kHours, 0), question(kExplain, 0)));
}

TEST_F(AuthorityTest, TellsWhatAnAuthenticationWouldAllow) {
  polkit->answers = Answers::Challenge;
  EXPECT_EQ(answer(kExplain), Permission::NeedsInteraction);
}

TEST_F(AuthorityTest, HasSomebodyAuthenticateOnlyWhereTheCallerAllowsIt) {
  answer(kExplain, Interaction::Yes);
  check(callOf(*client, false), kHours, Interaction::Yes);
  ASSERT_TRUE(driveUntil([&] { return told.size() == 2; }));
  EXPECT_THAT(polkit->asked, ElementsAre(question(kExplain, 1), question(kHours, 0)));
}

TEST_F(AuthorityTest, HasSomebodyAuthenticateAfterItCameOutThatTheyNeedTo) {
  polkit->answers = Answers::Challenge;
  answer(kExplain);
  polkit->answers = Answers::Yes;
  EXPECT_EQ(answer(kExplain, Interaction::Yes), Permission::Allowed);
  EXPECT_EQ(answer(kExplain), Permission::NeedsInteraction) << "what is kept";
}

TEST_F(AuthorityTest, AllowsRootEverythingWithoutPolkit) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root calls as root.";
  polkit->answers = Answers::No;
  const Peer root(loop, bus.address());
  check(callOf(root), kExplain);
  ASSERT_TRUE(driveUntil([&] { return !told.empty(); }));
  EXPECT_THAT(told, ElementsAre(Permission::Allowed));
  EXPECT_THAT(polkit->asked, IsEmpty());
}

TEST_F(AuthorityTest, KnowsWhichOfItsClientsAreThere) {
  const auto name = client->name();
  EXPECT_FALSE(authority->isThere(name)) << "not identified";
  answer();
  EXPECT_TRUE(authority->isThere(name));
  client.reset();
  ASSERT_TRUE(driveUntil([&] { return !gone.empty(); }));
  EXPECT_FALSE(authority->isThere(name));
}

TEST_F(AuthorityTest, DeniesWhenPolkitIsAway) {
  polkit.reset();
  EXPECT_EQ(answer(), Permission::Denied);
}

TEST_F(AuthorityTest, DeniesWhenPolkitAnswersWhatItCantMean) {
  for (const auto answers : {Answers::Nonsense, Answers::Error}) {
    polkit->answers = answers;
    EXPECT_EQ(answer(), Permission::Denied);
  }
  EXPECT_THAT(polkit->asked, SizeIs(2)) << "not kept";
}

TEST_F(AuthorityTest, DeniesWhenPolkitDoesNotAnswerInTime) {
  start({.answer = std::chrono::milliseconds(1), .interaction = kPatience * 10});
  polkit->answers = Answers::Never;
  // With so little time the bus may be late, too, with who the client is.
  while (polkit->asked.empty()) ASSERT_EQ(answer(), Permission::Denied);
  polkit->answers = Answers::Yes;
  start();
  EXPECT_EQ(answer(), Permission::Allowed) << "not kept";
}

TEST_F(AuthorityTest, KeepsForAWhileThatPolkitDoesNotAnswer) {
  start({.answer = kShort, .interaction = kPatience, .rest = kPatience * 10});
  polkit->answers = Answers::Never;
  while (polkit->asked.empty()) ASSERT_EQ(answer(), Permission::Denied);
  polkit->answers = Answers::Yes;
  EXPECT_EQ(answer(), Permission::Denied);
  EXPECT_EQ(answer(kHours, Interaction::Yes), Permission::Denied);
  EXPECT_THAT(polkit->asked, SizeIs(1));
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  do {  // A busy machine may let it be late once more.
    polkit->change();
    ASSERT_LT(std::chrono::steady_clock::now(), limit);
  } while (answer() != Permission::Allowed);
}

TEST_F(AuthorityTest, AsksAPolkitThatDidNotAnswerAgainAfterAWhile) {
  start({.answer = kShort, .interaction = kPatience, .rest = std::chrono::milliseconds(1)});
  polkit->answers = Answers::Never;
  while (polkit->asked.empty()) ASSERT_EQ(answer(), Permission::Denied);
  polkit->answers = Answers::Yes;
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  while (answer() != Permission::Allowed) ASSERT_LT(std::chrono::steady_clock::now(), limit);
}

TEST_F(AuthorityTest, GivesAPersonMoreTimeThanAnAnswer) {
  polkit->answers = Answers::Never;
  start({.answer = kPatience * 10, .interaction = std::chrono::milliseconds(1)});
  EXPECT_EQ(answer(kExplain, Interaction::Yes), Permission::Denied);
  EXPECT_THAT(polkit->asked, SizeIs(1));
}

TEST_F(AuthorityTest, KeepsAnAnswerUntilPolkitSaysThatSomethingChanged) {
  polkit->answers = Answers::No;
  EXPECT_EQ(answer(), Permission::Denied);
  polkit->answers = Answers::Yes;
  EXPECT_EQ(answer(), Permission::Denied);
  EXPECT_THAT(polkit->asked, SizeIs(1));
  polkit->change();
  ASSERT_TRUE(driveUntil([&] { return answer() == Permission::Allowed; }));
  EXPECT_THAT(polkit->asked, SizeIs(2));
}

TEST_F(AuthorityTest, KeepsNoAnswerOfAPolkitThatWent) {
  EXPECT_EQ(answer(), Permission::Allowed);
  polkit.reset();
  EXPECT_TRUE(driveUntil([&] { return answer() == Permission::Denied; }));
}

TEST_F(AuthorityTest, KeepsNothingThatSomebodyAuthenticatedFor) {
  polkit->answers = Answers::Temporarily;
  EXPECT_EQ(answer(kExplain), Permission::Allowed);
  polkit->answers = Answers::Yes;
  EXPECT_EQ(answer(kExplain, Interaction::Yes), Permission::Allowed);
  polkit->answers = Answers::Challenge;
  EXPECT_EQ(answer(kExplain), Permission::NeedsInteraction);
}

TEST_F(AuthorityTest, KeepsNoAnswerDuringWhichSomethingChanged) {
  polkit->answers = Answers::Never;
  check(callOf(*client));
  ASSERT_TRUE(driveUntil([&] { return !polkit->asked.empty(); }));
  polkit->change();
  polkit->catchUp();
  ASSERT_TRUE(driveUntil([&] { return !told.empty(); }));
  polkit->answers = Answers::Yes;
  EXPECT_EQ(answer(), Permission::Allowed);
}

TEST_F(AuthorityTest, KeepsAnAnswerForNobodyElse) {
  EXPECT_EQ(answer(), Permission::Allowed);
  const auto other = plainPeer(loop, bus.address());
  polkit->answers = Answers::No;
  check(callOf(*other));
  ASSERT_TRUE(driveUntil([&] { return told.size() == 2; }));
  EXPECT_EQ(told.back(), Permission::Denied);
}

TEST_F(AuthorityTest, AsksOnceForCallsThatWaitForTheSame) {
  polkit->answers = Answers::Never;
  auto* call = callOf(*client);
  check(call);
  check(call);
  check(call, kExplain);
  ASSERT_TRUE(driveUntil([&] { return polkit->asked.size() == 2; }));
  polkit->answers = Answers::Yes;
  polkit->catchUp();
  ASSERT_TRUE(driveUntil([&] { return told.size() == 3; }));
  EXPECT_THAT(told, Each(Permission::Allowed));
  EXPECT_THAT(polkit->asked, SizeIs(2));
}

TEST_F(AuthorityTest, DeniesAtOnceWhenTooMuchOfOneClientWaits) {
  polkit->answers = Answers::Never;
  auto* call = callOf(*client);
  check(call);
  ASSERT_TRUE(driveUntil([&] { return !polkit->asked.empty(); }));
  for (int count = 0; count < 200; ++count) check(call);
  EXPECT_THAT(told, SizeIs(201 - 128));
  EXPECT_THAT(told, Each(Permission::Denied));
}

TEST_F(AuthorityTest, DeniesAtOnceWhenTooMuchOfOneClientWaitsWhileThingsChange) {
  polkit->answers = Answers::Never;
  auto* call = callOf(*client);
  while (told.empty()) {
    check(call);
    const auto asked = polkit->asked.size();
    ASSERT_LE(asked, 128U);
    ASSERT_TRUE(driveUntil([&] { return polkit->asked.size() > asked || !told.empty(); }));
    polkit->change();
    // What is sent to the service after the change.
    callOf(polkit->peer());
  }
  EXPECT_THAT(polkit->asked, SizeIs(128));
  EXPECT_THAT(told, ElementsAre(Permission::Denied));
}

TEST_F(AuthorityTest, ForgetsAClientThatGoes) {
  polkit->answers = Answers::Never;
  check(callOf(*client));
  ASSERT_TRUE(driveUntil([&] { return !polkit->asked.empty(); }));
  const auto name = client->name();
  client.reset();
  ASSERT_TRUE(driveUntil([&] { return !gone.empty(); }));
  EXPECT_THAT(told, ElementsAre(Permission::Denied));
  EXPECT_THAT(gone, testing::Contains(name));
}

TEST_F(AuthorityTest, DeniesAClientThatWentBeforeItWasIdentified) {
  auto* call = callOf(*client);
  client.reset();
  ASSERT_TRUE(driveUntil([&] { return !gone.empty(); }));
  check(call);
  ASSERT_TRUE(driveUntil([&] { return !told.empty(); }));
  EXPECT_THAT(told, ElementsAre(Permission::Denied));
  EXPECT_THAT(polkit->asked, IsEmpty());
}

TEST_F(AuthorityTest, TellsTheUserIDOfACaller) {
  const std::uint32_t expected = geteuid() == 0 ? Nobody::kUserID : geteuid();
  std::vector<std::optional<std::uint32_t>> ids;
  const auto keep = [&](std::optional<std::uint32_t> userID) { ids.push_back(userID); };
  auto* call = callOf(*client);
  authority->identify(call, keep);
  authority->identify(call, keep);
  ASSERT_TRUE(driveUntil([&] { return ids.size() == 2; }));
  authority->identify(call, keep);
  EXPECT_THAT(ids, ElementsAre(expected, expected, expected)) << "the last one at once";
}

TEST_F(AuthorityTest, SaysWhenTooManyCallsWaitForWhoTheirClientIs) {
  auto* call = callOf(*client);
  bus.freeze();
  std::size_t answers = 0;
  const auto count = [&](std::optional<std::uint32_t> /*userID*/) { ++answers; };
  for (int calls = 0; calls < 128; ++calls) EXPECT_TRUE(authority->identify(call, count));
  EXPECT_FALSE(authority->identify(call, count));
  bus.thaw();
  ASSERT_TRUE(driveUntil([&] { return answers > 0; }));
  EXPECT_EQ(answers, 128U);
}

TEST_F(AuthorityTest, TellsNoUserIDWhenTheBusIsMute) {
  start({.answer = std::chrono::milliseconds(1), .interaction = kPatience});
  auto* call = callOf(*client);
  bus.freeze();
  std::vector<std::optional<std::uint32_t>> ids;
  authority->identify(call, [&](std::optional<std::uint32_t> userID) { ids.push_back(userID); });
  EXPECT_TRUE(driveUntil([&] { return !ids.empty(); }));
  bus.thaw();
  EXPECT_THAT(ids, ElementsAre(std::nullopt));
}

}  // namespace
}  // namespace gatehall
