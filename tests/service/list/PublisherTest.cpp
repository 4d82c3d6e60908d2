#include <gtest/gtest.h>

#include "gatehall/platform/NotificationNames.h"
#include "service/list/Publisher.h"
#include "tests/InstalledWorld.h"
#include "tests/ctl/RunWorld.h"
#include "world/script/Script.h"

namespace gatehall {
namespace {

/// ann's and bob's household, of which is published.
class PublisherTest : public InstalledWorld {
 protected:
  PublisherTest() { install(household()); }
  ~PublisherTest() override {
    if (publisher) publisher->end();
  }

  void begin() {
    publisher = std::make_shared<service::Publisher>(service::Audience{
        .list =
            [this](service::Published state, std::optional<service::Published> withoutHours) {
              states.push_back(std::move(state));
              if (withoutHours) plainStates.push_back(std::move(*withoutHours));
            },
        .noList = [this](std::string reason) { reasons.push_back(std::move(reason)); },
        .network = [this](service::NetworkState state) { network.push_back(state); }});
    publisher->begin();
  }

  /// Lets the steps happen, and that much time pass.
  void play(std::string_view steps, double seconds) {
    for (const auto& event : readScript({"s.json", steps})) {
      mWorld->runLoop().run(event.after);
      if (event.happen) event.happen(*mWorld);
    }
    mWorld->runLoop().run(seconds);
  }

  std::shared_ptr<service::Publisher> publisher;
  std::vector<service::Published> states;
  std::vector<service::Published> plainStates;  ///< without hours
  Strings reasons;
  std::vector<service::NetworkState> network;
};

constexpr std::string_view kRename =
    R"([ { "changeUser": { "name": "bob", "attributes": { "FullName": "Robert" } } } ])";
constexpr std::string_view kRemove = R"([ { "removeUser": { "name": "bob" } } ])";

constexpr std::string_view kNewcomer =
    R"([ { "addUser": { "attributes": { "RecordName": "new", "UniqueID": 1009, "FullName": "New",
                                        "GUID": "0E3" } } } ])";

TEST_F(PublisherTest, BeginsWithTheList) {
  begin();
  ASSERT_EQ(states.size(), 1U);
  EXPECT_EQ(states[0].users->size(), 2U);
  EXPECT_TRUE(states[0].changes.empty());
  EXPECT_GT(states[0].serial, 0U);
  EXPECT_LT(states[0].serial, std::uint64_t{1} << 52U);
  ASSERT_EQ(network.size(), 1U);
  EXPECT_EQ(network[0].networkStatus, 2);
}

TEST_F(PublisherTest, HasOtherSerialsInEachRun) {
  begin();
  publisher->end();
  begin();
  ASSERT_EQ(states.size(), 2U);
  EXPECT_NE(states[0].serial, states[1].serial);
}

TEST_F(PublisherTest, PublishesAChangeAtOnceAndOnce) {
  begin();
  play(kRemove, 0);
  ASSERT_EQ(states.size(), 2U);
  EXPECT_EQ(states[1].serial, states[0].serial + 1);
  ASSERT_EQ(states[1].changes.size(), 1U);
  EXPECT_EQ(states[1].changes[0].kind, ListChange::Kind::Removed);
  mWorld->runLoop().run(5);
  EXPECT_EQ(states.size(), 2U);
}

TEST_F(PublisherTest, SharesWhoeverIsAsBefore) {
  begin();
  play(kRename, 0);
  ASSERT_EQ(states.size(), 2U);
  EXPECT_EQ((*states[1].users)[0], (*states[0].users)[0]);
  EXPECT_NE((*states[1].users)[1], (*states[0].users)[1]);
}

TEST_F(PublisherTest, PublishesWhatNewSettingsHideAtOnce) {
  play(R"([ { "addUser": { "attributes": { "RecordName": "old", "UniqueID": 500,
                                             "FullName": "Old", "GUID": "01D" } } } ])",
       0);
  begin();
  ASSERT_EQ(states[0].users->size(), 3U);
  play(R"([ { "preferences": { "com.orvane.gatehall": { "system": { "Hide500Users": true,
           "HiddenUsersList": ["bob"] } } } } ])",
       0);
  ASSERT_EQ(states.size(), 2U);
  EXPECT_EQ(states[1].users->size(), 1U);
}

TEST_F(PublisherTest, PublishesHoursAtOnce) {
  play(R"([ { "changeUser": { "name": "bob", "attributes": { "TavloSettings": "session limits" } }
       } ])",
       0);
  begin();
  play(R"([ { "parentalControls": { "1001": { "allowed": false, "result": 3 } } } ])", 0);
  ASSERT_EQ(states.size(), 2U);
  EXPECT_EQ((*states[1].users)[1]->kinwatchAllowsLogin, false);
  ASSERT_EQ(plainStates.size(), 1U);
  EXPECT_EQ((*plainStates[0].users)[1]->kinwatchAllowsLogin, true);
  EXPECT_EQ((*plainStates[0].users)[0], (*states[0].users)[0]);
  EXPECT_NE(plainStates[0].serial, states[0].serial);
}

TEST_F(PublisherTest, PublishesWhoLogsInAtOnce) {
  begin();
  play(
      R"([ { "openSession": { "id": 2, "userID": 1001, "userName": "bob", "loginDone": true } } ])",
      0);
  ASSERT_EQ(states.size(), 2U);
  EXPECT_TRUE((*states[1].users)[1]->suspended);
}

TEST_F(PublisherTest, KeepsTheListWhileNoneCanBeHad) {
  install(household(R"(, "faults": [
      { "operation": "copySessionList", "call": 2, "raise": "platform" },
      { "operation": "copySessionList", "call": 3, "raise": "platform" } ])"));
  begin();
  play(kRemove, 0.5);
  EXPECT_EQ(states.size(), 1U);
  EXPECT_TRUE(reasons.empty());
  mWorld->runLoop().run(1);
  ASSERT_EQ(states.size(), 2U);
  EXPECT_EQ(states[1].users->size(), 1U);
}

TEST_F(PublisherTest, TriesAgainUntilAListCanBeHadAnew) {
  std::string faults;
  for (int call = 2; call <= 6; ++call) {
    faults += faults.empty() ? R"(, "faults": [ )" : ", ";
    faults += R"({ "operation": "copySessionList", "raise": "platform", "call": )";
    faults += std::to_string(call) + " }";
  }
  install(household(faults + " ]"));
  begin();
  play(kRemove, 1.5);  // the layer's own attempts are over
  EXPECT_EQ(states.size(), 1U);
  mWorld->runLoop().run(10);
  ASSERT_EQ(states.size(), 2U);
  EXPECT_EQ(states[1].users->size(), 1U);
}

TEST_F(PublisherTest, RestsBetweenTwoLists) {
  begin();
  play(kRemove, 0);
  play(kNewcomer, 0.05);
  ASSERT_EQ(states.size(), 2U);
  mWorld->runLoop().run(0.1);
  ASSERT_EQ(states.size(), 3U);
  EXPECT_EQ(states[2].users->size(), 2U);
}

TEST_F(PublisherTest, TriesAgainUntilThereIsAFirstList) {
  install(household(R"(, "faults": [
      { "operation": "copySessionList", "call": 1, "raise": "platform" },
      { "operation": "copySessionList", "call": 2, "raise": "platform" } ])"));
  begin();
  EXPECT_TRUE(states.empty());
  EXPECT_EQ(reasons.size(), 1U);
  mWorld->runLoop().run(0.9);
  EXPECT_EQ(reasons.size(), 1U);
  mWorld->runLoop().run(0.2);
  EXPECT_EQ(reasons.size(), 2U);
  mWorld->runLoop().run(2);
  ASSERT_EQ(states.size(), 1U);
  EXPECT_EQ(states[0].users->size(), 2U);
  play(kRemove, 0);
  EXPECT_EQ(states.size(), 2U);
}

TEST_F(PublisherTest, ListensNoLongerInTheEnd) {
  begin();
  publisher->end();
  play(kRemove, 5);
  EXPECT_EQ(states.size(), 1U);
}

}  // namespace
}  // namespace gatehall
