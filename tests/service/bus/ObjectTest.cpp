#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

#include "linux/loop/MainLoop.h"
#include "tests/service/ListModel.h"
#include "tests/service/RunningFront.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

Strings namesOf(const Value& users) {
  Strings names;
  for (const auto& user : *users.array()) {
    names.push_back(user.dictionary()->at("shortName").description());
  }
  return names;
}

/// Changes in short: "removed a1", "changed b2 (longName position)".
Strings textsOf(const Value& changes) {
  Strings texts;
  for (const auto& each : *changes.array()) {
    const auto& change = *each.array();
    auto text = change[0].description() + " " +
                change[2].dictionary()->at("shortName").description() + change[1].description();
    if (const auto* was = change[3].dictionary()) {
      std::string keys;
      for (const auto& [key, value] : *was) keys += keys.empty() ? key : " " + key;
      if (!keys.empty()) text += " (" + keys + ")";
    }
    texts.push_back(text);
  }
  return texts;
}

template <class... Arguments>
std::string refusal(Client& client, const char* member, const char* types, Arguments... arguments) {
  try {
    client.call(member, types, arguments...);
  } catch (const Refusal& refusal) {
    return refusal.what();
  }
  return "";
}

class ServiceObject : public testing::Test {
 protected:
  RunningFront front;
  std::unique_ptr<Client> client = front.client();
  States states{front.audience()};
};

TEST_F(ServiceObject, TellsTheListPageByPage) {
  states.publish(*client, people("abcde"));
  auto answer = client->call("ListUsers", "uu", 1U, 2U);
  EXPECT_EQ(answer[0], Value(100));
  EXPECT_EQ(answer[1], Value(5));
  EXPECT_THAT(namesOf(answer[2]), ElementsAre("b", "c"));
  EXPECT_THAT(namesOf(client->call("ListUsers", "uu", 4U, 2U)[2]), ElementsAre("e"));
  EXPECT_THAT(namesOf(client->call("ListUsers", "uu", 0U, 0U)[2]),
              ElementsAre("a", "b", "c", "d", "e"));
  EXPECT_THAT(namesOf(client->call("ListUsers", "uu", 5U, 1U)[2]), IsEmpty());
  EXPECT_THAT(namesOf(client->call("ListUsers", "uu", 0xFFFFFFFFU, 0xFFFFFFFFU)[2]), IsEmpty());
}

TEST_F(ServiceObject, HasAThousandUsersOnAPageAtMost) {
  std::vector<ListedUser> users;
  for (std::uint32_t number = 0; number < 1001; ++number) {
    users.push_back(person("user" + std::to_string(number), number));
  }
  states.publish(*client, users);
  EXPECT_EQ(client->call("ListUsers", "uu", 0U, 0U)[2].array()->size(), 1000U);
  EXPECT_EQ(client->call("ListUsers", "uu", 0U, 5000U)[2].array()->size(), 1000U);
  ListModel model;
  model.read(*client);
  EXPECT_EQ(model.users.size(), 1001U);
}

TEST_F(ServiceObject, TellsWhatThereIsToKnowOfAUser) {
  auto ann = person("ann", 1000);
  ann.node = "local";
  ann.picture = "/faces/ann";
  ann.local = ann.current = ann.suspended = true;
  ann.kinwatchNextCurfewTime = Moment(std::chrono::microseconds(1'700'000'000'000'001));
  ListedUser nobody;
  nobody.uid = 0xFFFFFFFE;
  ann.kinwatchAllowsLogin = nobody.kinwatchAllowsLogin = true;
  nobody.kinwatchNextCurfewTime = Moment(std::chrono::microseconds(-1));
  states.publish(*client, {ann, nobody});
  const auto users = *client->call("ListUsers", "uu", 0U, 0U)[2].array();
  Dictionary expected{{"shortName", "ann"},     {"longName", "ann Park"}, {"uid", 1000},
                      {"guid", "GUID ann"},     {"node", "local"},        {"local", true},
                      {"current", true},        {"suspended", true},      {"mobile", false},
                      {"picture", "/faces/ann"}};
  Dictionary least{{"uid", std::int64_t{0xFFFFFFFE}},
                   {"local", false},
                   {"current", false},
                   {"suspended", false},
                   {"mobile", false}};
  if (geteuid() == 0) {
    expected.emplace("kinwatchAllowsLogin", true);
    expected.emplace("kinwatchNextCurfewTime", std::int64_t{1'700'000'000'000'001});
    least.emplace("kinwatchAllowsLogin", true);
    least.emplace("kinwatchNextCurfewTime", 0);
  }
  EXPECT_EQ(users[0], Value(expected));
  EXPECT_EQ(users[1], Value(least));
}

TEST_F(ServiceObject, TellsTextsThatAreNoneAsFarAsTheyAre) {
  auto odd = person(
      "a\xFF z\xC3\xA4h\xEF\xBF\xBEl\xED\xA0\x80"
      "e");
  odd.longName = std::string("nul\0 and \xF0\x9F\x98\x80 \xF0\x9F\xBF\xBF \xEF\xB7\x90", 22);
  states.publish(*client, {odd});
  const auto user = *client->call("ListUsers", "uu", 0U, 0U)[2].array()->front().dictionary();
  const std::string kR = "\xEF\xBF\xBD";
  EXPECT_EQ(user.at("shortName"), Value("a" + kR + " z\xC3\xA4h" + kR + "l" + kR + kR + kR + "e"));
  EXPECT_EQ(user.at("longName"), Value("nul" + kR + " and \xF0\x9F\x98\x80 " + kR + " " + kR));
}

TEST_F(ServiceObject, TellsWhatChangedSinceAState) {
  states.publish(*client, people("abcd"));
  states.publish(*client, people("acd"));
  auto changed = people("xdca");
  changed[3].longName = "Ann";
  states.publish(*client, changed);
  auto answer = client->call("ListChanges", "t", std::uint64_t{100});
  EXPECT_EQ(answer[0], Value(102));
  EXPECT_EQ(answer[1], Value(true));
  EXPECT_THAT(textsOf(answer[2]), ElementsAre("removed b2", "added x1", "moved d2 (position)",
                                              "moved c3 (position)", "changed a4 (longName)"));
  answer = client->call("ListChanges", "t", std::uint64_t{101});
  EXPECT_THAT(textsOf(answer[2]), ElementsAre("added x1", "moved d2 (position)",
                                              "moved c3 (position)", "changed a4 (longName)"));
  answer = client->call("ListChanges", "t", std::uint64_t{102});
  EXPECT_EQ(answer[1], Value(true));
  EXPECT_THAT(textsOf(answer[2]), IsEmpty());
}

TEST_F(ServiceObject, KnowsNothingOfOtherStates) {
  states.publish(*client, people("abcd"));
  states.publish(*client, people("acd"));
  for (const std::uint64_t serial : {0UL, 99UL, 102UL, 0xFFFFFFFFFFFFFFFFUL}) {
    const auto answer = client->call("ListChanges", "t", serial);
    EXPECT_EQ(answer[0], Value(101));
    EXPECT_EQ(answer[1], Value(false));
    EXPECT_THAT(textsOf(answer[2]), IsEmpty());
  }
}

TEST_F(ServiceObject, SaysWhyThereIsNoList) {
  front.audience().noList("the sessions can't be had");
  const std::string reason = "com.orvane.Gatehall1.Error.NoList: the sessions can't be had";
  EXPECT_EQ(refusal(*client, "ListUsers", "uu", 0U, 0U), reason);
  EXPECT_EQ(refusal(*client, "ListChanges", "t", std::uint64_t{0}), reason);
  EXPECT_EQ(client->property("Serial"), Value(0));
  EXPECT_EQ(client->call("Watch", ""), Array{0});
  states.tell(people("a"));
  ASSERT_TRUE(client->readUntil([&] { return !client->signals.empty(); }));
  EXPECT_THAT(client->signals[0], ElementsAre(Value(0), Value(100), Value(false), testing::_));
  EXPECT_EQ(refusal(*client, "ListUsers", "uu", 0U, 0U), "");
}

TEST_F(ServiceObject, LetsCallsWaitForTheFirstList) {
  Strings answers;
  client->send(
      "ListUsers", [&](const std::string& error) { answers.push_back("1" + error); }, "uu", 0U, 0U);
  client->send(
      "ListChanges", [&](const std::string& error) { answers.push_back("2" + error); }, "t",
      std::uint64_t{0});
  EXPECT_EQ(client->property("Serial"), Value(0));
  EXPECT_THAT(answers, IsEmpty());
  states.tell(people("a"));
  ASSERT_TRUE(client->readUntil([&] { return answers.size() == 2; }));
  EXPECT_THAT(answers, UnorderedElementsAre("1", "2"));
}

TEST_F(ServiceObject, SendsWhatChangesToThoseWhoWatch) {
  const auto other = front.client();
  states.publish(*client, people("ab"));
  EXPECT_EQ(client->call("Watch", ""), Array{100});
  EXPECT_EQ(client->call("Watch", ""), Array{100});
  states.publish(*client, people("abc"));
  ASSERT_TRUE(client->readUntil([&] { return client->signals.size() == 1; }));
  EXPECT_EQ(client->signals[0][0], Value(100));
  EXPECT_EQ(client->signals[0][1], Value(101));
  EXPECT_EQ(client->signals[0][2], Value(true));
  EXPECT_THAT(textsOf(client->signals[0][3]), ElementsAre("added c3"));
  client->call("Unwatch", "");
  states.publish(*client, people("abcd"));
  EXPECT_EQ(client->call("Watch", ""), Array{102});
  states.publish(*client, people("a"));
  ASSERT_TRUE(client->readUntil([&] { return client->signals.size() == 2; }));
  EXPECT_EQ(client->signals[1][0], Value(102));
  other->property("Serial");
  other->read();
  EXPECT_THAT(other->signals, IsEmpty());
}

/// ann and bob, who may log in or not.
std::vector<ListedUser> household(bool mayBob) {
  auto users = people("ab");
  users[1].kinwatchAllowsLogin = mayBob;
  users[1].kinwatchNextCurfewTime = Moment(std::chrono::seconds(1000));
  return users;
}

TEST_F(ServiceObject, TellsNobodyOfHoursThatTheyMayNotKnow) {
  const auto plain = front.plainClient();
  States own(front.audience(), 100, 5000);
  own.publish(*plain, household(true));
  EXPECT_EQ(plain->call("Watch", ""), Array{5000});
  own.tell(household(false));
  own.tell(household(true));
  auto users = household(false);
  users[0].longName = "Ann";
  own.publish(*plain, users);
  ASSERT_TRUE(plain->readUntil([&] { return !plain->signals.empty(); }));
  EXPECT_THAT(plain->signals[0], ElementsAre(Value(5000), Value(5001), Value(true), testing::_));
  EXPECT_THAT(textsOf(plain->signals[0][3]), ElementsAre("changed a1 (longName)"));
  const auto answer = plain->call("ListChanges", "t", std::uint64_t{5000});
  EXPECT_EQ(answer[0], Value(5001));
  EXPECT_THAT(textsOf(answer[2]), ElementsAre("changed a1 (longName)"));
  const auto list = plain->call("ListUsers", "uu", 0U, 0U);
  EXPECT_EQ(list[0], Value(5001));
  for (const auto& user : *list[2].array()) {
    EXPECT_FALSE(user.dictionary()->contains("kinwatchAllowsLogin"));
    EXPECT_FALSE(user.dictionary()->contains("kinwatchNextCurfewTime"));
  }
}

TEST_F(ServiceObject, TellsNobodyTheirOwnHoursInTheList) {
  const auto plain = front.plainClient();
  auto me = person("me", geteuid() == 0 ? Nobody::kUserID : geteuid());
  me.kinwatchAllowsLogin = false;
  states.publish(*plain, {me});
  const auto list = plain->call("ListUsers", "uu", 0U, 0U);
  EXPECT_FALSE(list[2].array()->front().dictionary()->contains("kinwatchAllowsLogin"));
}

TEST_F(ServiceObject, TellsRootOfHours) {
  if (geteuid() != 0) GTEST_SKIP() << "This is about root.";
  States own(front.audience(), 100, 5000);
  own.publish(*client, household(true));
  EXPECT_EQ(client->call("Watch", ""), Array{100});
  own.tell(household(false));
  ASSERT_TRUE(client->readUntil([&] { return !client->signals.empty(); }));
  EXPECT_THAT(client->signals[0], ElementsAre(Value(100), Value(101), Value(true), testing::_));
  EXPECT_THAT(textsOf(client->signals[0][3]), ElementsAre("changed b2 (kinwatchAllowsLogin)"));
  EXPECT_EQ(client->property("Serial"), Value(5000));
}

/// polkit, on a thread of its own, which admits everybody or nobody.
class Polkit {
 public:
  explicit Polkit(const std::string& address)
      : mLoop(std::thread::id(),
              [this, address](EventLoop& events) { mStandIn.emplace(events, address); }) {
    mLoop.detachNewThread([this] {
      mLoop.run();
      mStandIn.reset();
    });
  }
  ~Polkit() {
    mLoop.stop();
    mLoop.endThreads();
  }
  Polkit(const Polkit&) = delete;
  Polkit& operator=(const Polkit&) = delete;

  void admitsAll(bool does) {
    mLoop.post([this, does] {
      mStandIn->answers = does ? PolkitStandIn::Answers::Yes : PolkitStandIn::Answers::No;
      mStandIn->change();
    });
  }

 private:
  MainLoop mLoop;
  std::optional<PolkitStandIn> mStandIn;
};

TEST_F(ServiceObject, HasNobodyWaitBehindThoseOfWhomNothingIsSent) {
  service::Limits limits;
  limits.pings = limits.pingsInAll = 1;
  RunningFront narrow(limits);
  const auto first = narrow.plainClient();
  const auto second = narrow.plainClient();
  States own(narrow.audience(), 100, 5000);
  own.publish(*first, household(true));
  first->call("Watch", "");
  second->call("Watch", "");
  own.tell(household(false));
  auto users = household(true);
  users[0].longName = "Ann";
  own.tell(users);
  for (auto* each : {first.get(), second.get()}) {
    ASSERT_TRUE(first->readUntil([&] {
      second->read();
      first->property("Serial");
      return !each->signals.empty();
    }));
  }
}

TEST_F(ServiceObject, HasAClientReadAnewWhoseRightsAreOthers) {
  const auto plain = front.plainClient();
  States own(front.audience(), 5000, 100);
  own.publish(*plain, household(true));
  Polkit polkit(front.bus.address());
  ListModel model;
  const auto readsUntil = [&](std::uint64_t serial) {
    return plain->readUntil([&] {
      model.catchUp(*plain);
      return model.serial == serial;
    });
  };
  polkit.admitsAll(true);
  ASSERT_TRUE(readsUntil(5000));
  EXPECT_TRUE(model.users[1].contains("kinwatchAllowsLogin"));
  EXPECT_EQ(plain->call("Watch", ""), Array{5000});
  polkit.admitsAll(false);
  ASSERT_TRUE(readsUntil(100));
  model.serial = 5000;  // as if it hadn't asked
  auto users = household(true);
  users[0].longName = "Ann";
  own.publish(*plain, users);
  ASSERT_TRUE(plain->readUntil([&] { return !plain->signals.empty(); }));
  EXPECT_THAT(plain->signals[0], ElementsAre(Value(5000), Value(101), Value(false), testing::_));
  model.take(*plain);
  EXPECT_EQ(model.serial, 101U);
  EXPECT_FALSE(model.users[1].contains("kinwatchAllowsLogin"));
}

TEST_F(ServiceObject, TellsHowTheNetworkAnswers) {
  EXPECT_EQ(client->property("HasParentNetwork"), Value(false));
  EXPECT_EQ(client->property("Version"), Value(GATEHALL_VERSION));
  bool isTold = false;
  sd_bus_match_signal(
      client->bus(), nullptr, service::kServiceName, service::kObjectPath,
      "org.freedesktop.DBus.Properties", "PropertiesChanged",
      [](sd_bus_message*, void* told, sd_bus_error*) {
        *static_cast<bool*>(told) = true;
        return 0;
      },
      &isTold);
  front.audience().network({true, true, 2});
  ASSERT_TRUE(client->readUntil([&] { return isTold; }));
  EXPECT_EQ(client->property("HasParentNetwork"), Value(true));
  EXPECT_EQ(client->property("ParentNetworkExists"), Value(true));
  EXPECT_EQ(client->property("NetworkStatus"), Value(2));
}

TEST_F(ServiceObject, RefusesWhatItDoesNotHave) {
  EXPECT_THAT(refusal(*client, "ListUsers", "s", "x"),
              testing::StartsWith("org.freedesktop.DBus.Error.InvalidArgs"));
  EXPECT_THAT(refusal(*client, "Frob", ""),
              testing::StartsWith("org.freedesktop.DBus.Error.UnknownMethod"));
}

}  // namespace
}  // namespace gatehall
