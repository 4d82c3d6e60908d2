#include <chrono>
#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

#include "people/Marks.h"

namespace gatehall {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using testing::ElementsAre;
using testing::IsEmpty;

/// Midday of a Monday in UTC, which is the machine's time.
class Marks : public ::testing::Test {
 protected:
  Marks() {
    const auto* zone = std::getenv("TZ");
    if (zone != nullptr) mZone = zone;
    setenv("TZ", "UTC0", 1);
    tzset();
  }
  ~Marks() override {
    if (mZone.empty()) {
      unsetenv("TZ");
    } else {
      setenv("TZ", mZone.c_str(), 1);
    }
    tzset();
  }

  std::string until(Moment moment) const {
    return markText({Mark::Kind::Until, moment}, Date(mNow), mWords);
  }
  std::string from(Moment moment) const {
    return markText({Mark::Kind::From, moment}, Date(mNow), mWords);
  }

  std::string mZone;
  const Moment mNow = std::chrono::sys_days(std::chrono::year(2026) / 11 / 23) + hours(12);
  const Moment mLater = mNow + hours(1);
  Words mWords{};
};

ListedUser userWithHours(std::optional<bool> allows, std::optional<Moment> change) {
  ListedUser user;
  user.kinwatchAllowsLogin = allows;
  user.kinwatchNextCurfewTime = change;
  return user;
}

TEST_F(Marks, AreNoneOfWhoIsNotLoggedInAndHasNoHours) {
  EXPECT_THAT(marksOf(ListedUser(), Date(mNow)), IsEmpty());
  EXPECT_THAT(marksOf(userWithHours(true, std::nullopt), Date(mNow)), IsEmpty());
}

TEST_F(Marks, TellTheSessionInFrontFromOthers) {
  ListedUser user;
  user.suspended = true;
  EXPECT_THAT(marksOf(user, Date(mNow)), ElementsAre(Mark{Mark::Kind::LoggedIn}));
  user.current = true;
  EXPECT_THAT(marksOf(user, Date(mNow)), ElementsAre(Mark{Mark::Kind::InFront}));
}

TEST_F(Marks, TellHoursBehindTheSession) {
  auto user = userWithHours(true, mLater);
  user.suspended = true;
  EXPECT_THAT(marksOf(user, Date(mNow)),
              ElementsAre(Mark{Mark::Kind::LoggedIn}, Mark{Mark::Kind::Until, mLater}));
  EXPECT_THAT(marksOf(userWithHours(false, mLater), Date(mNow)),
              ElementsAre(Mark{Mark::Kind::From, mLater}));
  EXPECT_THAT(marksOf(userWithHours(false, std::nullopt), Date(mNow)),
              ElementsAre(Mark{Mark::Kind::NotNow}));
  // What isn't known of hours is no refusal.
  EXPECT_THAT(marksOf(userWithHours(std::nullopt, mLater), Date(mNow)),
              ElementsAre(Mark{Mark::Kind::Until, mLater}));
}

TEST_F(Marks, SayOnceThatSomebodyMayNotLogIn) {
  Person person{std::make_shared<ListedUser>(), {Admission::State::MayNotLogIn, "Why."}};
  EXPECT_THAT(marksOf(person, Date(mNow)), ElementsAre(Mark{Mark::Kind::MayNotLogIn}));
  person.user = std::make_shared<ListedUser>(userWithHours(false, mLater));
  EXPECT_THAT(marksOf(person, Date(mNow)), ElementsAre(Mark{Mark::Kind::From, mLater}));
  person.user = std::make_shared<ListedUser>(userWithHours(false, std::nullopt));
  EXPECT_THAT(marksOf(person, Date(mNow)), ElementsAre(Mark{Mark::Kind::NotNow}));
  person.user = std::make_shared<ListedUser>(userWithHours(true, mLater));
  EXPECT_THAT(marksOf(person, Date(mNow)),
              ElementsAre(Mark{Mark::Kind::Until, mLater}, Mark{Mark::Kind::MayNotLogIn}));
}

TEST_F(Marks, AreNoneMoreOfWhoMayLogInOrIsNotKnownTo) {
  for (const auto state : {Admission::State::Unknown, Admission::State::MayLogIn}) {
    EXPECT_THAT(marksOf(Person{std::make_shared<ListedUser>(), {state, "Words."}}, Date(mNow)),
                IsEmpty());
  }
}

TEST_F(Marks, SayATimeOfTheSameDayAlone) {
  EXPECT_EQ(until(mNow + hours(8)), "until 20:00");
  EXPECT_EQ(from(mNow + minutes(5)), "from 12:05");
  EXPECT_EQ(until(mNow + minutes(719)), "until 23:59");
}

TEST_F(Marks, SayTheDayOfTheWeekUpToSixDays) {
  EXPECT_EQ(from(mNow + hours(12)), "from Tuesday 0:00");
  EXPECT_EQ(until(mNow + hours(45)), "until Wednesday 9:00");
  EXPECT_EQ(until(mNow + hours(69)), "until Thursday 9:00");
  EXPECT_EQ(until(mNow + hours(93)), "until Friday 9:00");
  EXPECT_EQ(until(mNow + hours(117)), "until Saturday 9:00");
  EXPECT_EQ(from(mNow + hours(141)), "from Sunday 9:00");
  EXPECT_EQ(until(mNow + hours(141)), "until Sunday 9:00");
}

TEST_F(Marks, SayTheDateBeyond) {
  EXPECT_EQ(from(mNow + hours(144)), "from 29 November 2026, 12:00");
  EXPECT_EQ(until(mNow + hours(31 * 24 - 3)), "until 24 December 2026, 9:00");
  EXPECT_EQ(from(mNow + hours(45 * 24)), "from 7 January 2027, 12:00");
}

TEST_F(Marks, AreNoneOfThePast) {
  EXPECT_THAT(marksOf(userWithHours(true, mNow - hours(27)), Date(mNow)), IsEmpty());
  EXPECT_THAT(marksOf(userWithHours(true, mNow), Date(mNow)), IsEmpty());
  EXPECT_THAT(marksOf(userWithHours(false, mNow), Date(mNow)),
              ElementsAre(Mark{Mark::Kind::NotNow}));
}

TEST_F(Marks, AreInTheMachinesTime) {
  setenv("TZ", "EAST-2", 1);
  tzset();
  EXPECT_EQ(until(mNow), "until 14:00");
  EXPECT_EQ(until(mNow + hours(11)), "until Tuesday 1:00");
}

TEST_F(Marks, AreInThePersonsLanguage) {
  mWords.catalogue = catalogueFor("de_DE.UTF-8", "gatehall", GATEHALL_CATALOGUES);
  EXPECT_EQ(until(mNow + hours(8)), "bis 20:00 Uhr");
  EXPECT_EQ(from(mNow + hours(141)), "ab Sonntag, 9:00 Uhr");
  EXPECT_EQ(markText({Mark::Kind::LoggedIn}, Date(mNow), mWords), "angemeldet");
}

TEST_F(Marks, HaveWordsOfTheirOwn) {
  const auto text = [&](Mark::Kind kind) { return markText({kind}, Date(mNow), mWords); };
  EXPECT_EQ(text(Mark::Kind::InFront), "in front");
  EXPECT_EQ(text(Mark::Kind::LoggedIn), "logged in");
  EXPECT_EQ(text(Mark::Kind::NotNow), "not now");
  EXPECT_EQ(text(Mark::Kind::MayNotLogIn), "may not log in");
}

}  // namespace
}  // namespace gatehall
