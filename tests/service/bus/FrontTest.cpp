#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <latch>

#include "tests/service/ListModel.h"
#include "tests/service/RunningFront.h"

namespace gatehall {
namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::HasSubstr;

/// Long enough for a client to come, however busy the machine is.
constexpr milliseconds kIdle{3000};

/// Whether the front ends by itself.
bool ends(const RunningFront& front) {
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  while (!front.hasEnded && std::chrono::steady_clock::now() < limit) usleep(1000);
  return front.hasEnded;
}

TEST(Front, EndsWithTheBus) {
  RunningFront front;
  const auto client = front.client();
  front.bus.end();
  EXPECT_TRUE(ends(front));
  EXPECT_TRUE(front.hasFailed());
  EXPECT_THAT(front.log.lines(), Contains(HasSubstr("it ended the connection")));
}

TEST(Front, EndsWithTheBusWhileAnAnswerIsWorkedOn) {
  std::latch isAsked(1);
  std::latch isAnswered(1);
  RunningFront front({}, [&](const service::Question& /*question*/) {
    isAsked.count_down();
    isAnswered.wait();
    return Dictionary();
  });
  const auto client = front.client();
  client->send(
      "CanLogIn", [](const std::string&) {}, "ss", "ann", "");
  isAsked.wait();
  front.bus.end();
  EXPECT_TRUE(ends(front));
  isAnswered.count_down();
  front.end();
}

TEST(Front, EndsWhereThereIsNoBus) {
  KeptLog log;
  std::atomic<bool> hasEnded = false;
  HostOptions options;
  options.systemBusAddress = "unix:path=/nonexistent/bus";
  service::Front front(options, {}, log, {}, [&] {
    hasEnded = true;
    hasEnded.notify_all();
  });
  front.begin();
  hasEnded.wait(false);
  EXPECT_THAT(log.lines(), Contains(HasSubstr("Unable to serve on the system bus")));
}

TEST(Front, EndsWhenSomebodyElseHasTheName) {
  RunningFront front;
  const auto client = front.client();
  std::atomic<bool> hasEnded = false;
  HostOptions options;
  options.systemBusAddress = front.bus.address();
  service::Front second(options, {}, front.log, {}, [&] {
    hasEnded = true;
    hasEnded.notify_all();
  });
  second.begin();
  hasEnded.wait(false);
  EXPECT_THAT(front.log.lines(),
              Contains("Unable to serve on the system bus: somebody else has the name "
                       "com.orvane.Gatehall1"));
  EXPECT_FALSE(front.hasEnded);
}

TEST(Front, EndsWhenNobodyAsksForAWhile) {
  RunningFront front({.idle = milliseconds(50)});
  EXPECT_TRUE(ends(front));
  EXPECT_FALSE(front.hasFailed());
}

TEST(Front, StaysWhileSomebodyWatches) {
  RunningFront front({.idle = kIdle});
  const auto client = front.client();
  States states(front.audience());
  client->call("Watch", "");
  // The time passes that it would have ended in.
  const auto end = std::chrono::steady_clock::now() + kIdle + milliseconds(500);
  client->readUntil([&] { return std::chrono::steady_clock::now() > end; });
  EXPECT_FALSE(front.hasEnded);
  EXPECT_TRUE(client->isOwned());
  client->call("Unwatch", "");
  EXPECT_TRUE(ends(front));
  EXPECT_FALSE(client->isOwned());
}

TEST(Front, StaysWhileACallWaits) {
  RunningFront front({.idle = kIdle});
  const auto client = front.client();
  std::optional<std::string> answer;
  client->send(
      "ListUsers", [&](std::string error) { answer = std::move(error); }, "uu", 0U, 0U);
  const auto end = std::chrono::steady_clock::now() + kIdle + milliseconds(500);
  client->readUntil([&] { return std::chrono::steady_clock::now() > end; });
  EXPECT_FALSE(front.hasEnded);
  States(front.audience()).tell(people("a"));
  ASSERT_TRUE(client->readUntil([&] { return answer.has_value(); }));
  EXPECT_EQ(*answer, "");
  EXPECT_TRUE(ends(front));
}

TEST(Front, RefusesCallsBeyondTheLimit) {
  RunningFront front({.calls = 3});
  const auto client = front.client();
  Strings errors;
  const auto keep = [&](std::string error) { errors.push_back(std::move(error)); };
  for (int count = 0; count < 4; ++count) client->send("ListUsers", keep, "uu", 0U, 0U);
  ASSERT_TRUE(client->readUntil([&] { return !errors.empty(); }));
  EXPECT_EQ(errors, Strings{SD_BUS_ERROR_LIMITS_EXCEEDED});
  States(front.audience()).tell(people("a"));
  ASSERT_TRUE(client->readUntil([&] { return errors.size() == 4; }));
  EXPECT_EQ(errors, (Strings{SD_BUS_ERROR_LIMITS_EXCEEDED, "", "", ""}));
}

/// What the bus keeps of what somebody hasn't read, in bytes.
std::int64_t unreadOf(Client& asker, const Client& reader) {
  sd_bus_message* raw = nullptr;
  const auto name = reader.name();
  if (sd_bus_call_method(asker.bus(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                         "org.freedesktop.DBus.Debug.Stats", "GetConnectionStats", nullptr, &raw,
                         "s", name.c_str()) < 0) {
    throw std::runtime_error("The bus doesn't tell.");
  }
  const SdBusMessage reply(raw);
  return messageValues(raw)[0].dictionary()->at("OutgoingBytes").integerValue().value();
}

std::vector<ListedUser> crowd(std::uint32_t count) {
  std::vector<ListedUser> users;
  for (std::uint32_t number = 0; number < count; ++number) {
    users.push_back(person("user" + std::to_string(number), number));
  }
  return users;
}

constexpr std::size_t kMiB = std::size_t{1} << 20U;

TEST(Front, HasAClientThatDoesNotReadWaitForItsAnswers) {
  RunningFront front({.unread = kMiB / 2, .reading = kPatience});
  const auto slow = front.client();
  const auto other = front.client();
  States states(front.audience());
  states.publish(*other, crowd(1000));
  int answered = 0;
  const auto count = [&](const std::string& error) { answered += error.empty() ? 1 : 0; };
  for (int calls = 0; calls < 40; ++calls) slow->send("ListUsers", count, "uu", 0U, 0U);
  // A user id's calls are answered in their order: those before this one had their turns.
  EXPECT_EQ(other->call("ListUsers", "uu", 0U, 1U)[1], Value(1000));
  EXPECT_LT(unreadOf(*other, *slow), std::int64_t{2 * kMiB});
  EXPECT_TRUE(slow->readUntil([&] { return answered == 40; }));
}

TEST(Front, DropsCallsOfAClientThatDoesNotReadInTime) {
  RunningFront front({.calls = 4, .unread = kMiB / 4, .reading = milliseconds(300)});
  const auto slow = front.client();
  const auto other = front.client();
  States states(front.audience());
  states.publish(*other, crowd(1000));
  const auto isRefused = [&] {
    try {
      other->call("ListUsers", "uu", 0U, 1U);
      return false;
    } catch (const Refusal& refusal) {
      EXPECT_EQ(refusal.name, SD_BUS_ERROR_LIMITS_EXCEEDED);
      return true;
    }
  };
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  do {
    slow->send(
        "ListUsers", [](const std::string&) {}, "uu", 0U, 0U);
  } while (!isRefused() && std::chrono::steady_clock::now() < limit);
  while (isRefused() && std::chrono::steady_clock::now() < limit) usleep(1000);
  EXPECT_FALSE(isRefused());
}

TEST(Front, AnswersNoPropertiesToAClientThatDoesNotRead) {
  RunningFront front({.unread = kMiB / 2});
  const auto slow = front.client();
  const auto other = front.client();
  for (int calls = 0; calls < 2000; ++calls) {
    sd_bus_message* raw = nullptr;
    sd_bus_message_new_method_call(slow->bus(), &raw, service::kServiceName, service::kObjectPath,
                                   "org.freedesktop.DBus.Introspectable", "Introspect");
    sd_bus_send(slow->bus(), SdBusMessage(raw).get(), nullptr);
    sd_bus_flush(slow->bus());
  }
  EXPECT_EQ(other->property("Version"), Value(GATEHALL_VERSION));
  EXPECT_LT(unreadOf(*other, *slow), std::int64_t{2 * kMiB});
}

TEST(Front, AnswersAClientThatReadsHoweverMuchThatIs) {
  RunningFront front({.unread = kMiB / 2});
  const auto client = front.client();
  States states(front.audience());
  states.publish(*client, crowd(1000));
  for (int calls = 0; calls < 10; ++calls) client->call("ListUsers", "uu", 0U, 0U);
  for (int calls = 0; calls < 1500; ++calls) client->property("Version");
}

TEST(Front, HasNoPlaceOfACallTakenByAWatcher) {
  RunningFront front({.calls = 1});
  const auto client = front.client();
  States(front.audience()).tell(people("a"));
  client->call("Watch", "");
  EXPECT_NO_THROW(client->call("ListUsers", "uu", 0U, 0U));
}

TEST(Front, GivesThePlacesOfAClientThatGoesToOthers) {
  RunningFront front({.calls = 1, .watchers = 1});
  auto first = front.client();
  const auto second = front.client();
  first->call("Watch", "");
  bool isRefused = false;
  first->send(
      "ListUsers", [](const std::string&) {}, "uu", 0U, 0U);
  EXPECT_THROW(second->call("Watch", ""), Refusal);
  EXPECT_THROW(second->call("ListUsers", "uu", 0U, 0U), Refusal);
  first.reset();
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  do {
    try {
      isRefused = false;
      second->call("Watch", "");
    } catch (const Refusal&) {
      isRefused = true;
    }
  } while (isRefused && std::chrono::steady_clock::now() < limit);
  EXPECT_FALSE(isRefused);
}

TEST(Front, RefusesWatchersBeyondTheLimit) {
  RunningFront front({.watchers = 8, .watchersInAll = 2});
  const auto first = front.client();
  const auto second = front.client();
  const auto third = front.client();
  first->call("Watch", "");
  second->call("Watch", "");
  try {
    third->call("Watch", "");
    FAIL();
  } catch (const Refusal& refusal) {
    EXPECT_EQ(refusal.name, SD_BUS_ERROR_LIMITS_EXCEEDED);
  }
  first->call("Unwatch", "");
  third->call("Watch", "");
}

TEST(Front, TellsThoseWhoWatchInTurnWhenPingsAreFew) {
  RunningFront front({.pings = 1, .pingsInAll = 1, .reading = kPatience * 4});
  const auto other = front.client();
  States states(front.audience());
  states.publish(*other, people("a"));
  std::vector<std::unique_ptr<Client>> watchers;
  for (int count = 0; count < 3; ++count) {
    watchers.push_back(front.client());
    watchers.back()->call("Watch", "");
  }
  states.publish(*other, people("ab"));
  other->call("ListUsers", "uu", 0U, 0U);
  // Nobody has answered as yet: all but the first one wait.
  watchers.back()->property("Version");
  watchers.back()->read();
  EXPECT_TRUE(watchers.back()->signals.empty());
  for (const auto& each : watchers) {
    ASSERT_TRUE(each->readUntil([&] { return each->signals.size() == 1; }));
    each->call("Watch", "");
    each->read();
  }
}

TEST(Front, SendsAWatcherThatDoesNotReadNoMoreThanOneSignal) {
  RunningFront front;
  const auto slow = front.client();
  const auto other = front.client();
  States states(front.audience());
  states.publish(*other, people("a"));
  ListModel model;
  model.read(*slow);
  slow->call("Watch", "");
  for (const auto* names : {"ab", "abc", "abcd", "bcd", "bcde"}) {
    states.publish(*other, people(names));
  }
  const auto told = slow->call("Watch", "")[0];
  ASSERT_TRUE(slow->readUntil([&] { return slow->signals.size() == 2; }));
  EXPECT_EQ(slow->signals[0][0], Value(100));
  EXPECT_EQ(slow->signals[0][1], told);
  EXPECT_NE(told, Value(105));
  EXPECT_EQ(slow->signals[1][0], told);
  EXPECT_EQ(slow->signals[1][1], Value(105));
  model.take(*slow);
  ListModel fresh;
  fresh.read(*other);
  EXPECT_EQ(model.users, fresh.users);
}

TEST(Front, DropsAWatcherThatDoesNotReadInTime) {
  RunningFront front({.watchers = 1, .reading = milliseconds(100), .idle = kIdle});
  const auto slow = front.client();
  States states(front.audience());
  states.publish(*slow, people("a"));
  slow->call("Watch", "");
  states.tell(people("ab"));
  EXPECT_TRUE(ends(front));
}

TEST(Front, KeepsAWatcherThatReads) {
  RunningFront front({.reading = milliseconds(kPatience)});
  const auto client = front.client();
  States states(front.audience());
  states.publish(*client, people("a"));
  client->call("Watch", "");
  std::string names = "a";
  ListModel model;
  model.read(*client);
  for (char name = 'b'; name <= 'z'; ++name) {
    names += name;
    states.tell(people(names));
    ASSERT_TRUE(client->readUntil([&] {
      model.take(*client);
      return model.users.size() == names.size();
    }));
  }
}

}  // namespace
}  // namespace gatehall
