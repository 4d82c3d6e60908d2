#include "people/Marks.h"

#include <chrono>
#include <ctime>
#include <string_view>

#include "people/Times.h"

namespace gatehall {

namespace {

std::tm localTime(Moment moment) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count();
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  localtime_r(&time, &parts);
  return parts;
}

bool isSameDay(const std::tm& one, const std::tm& other) {
  return one.tm_year == other.tm_year && one.tm_yday == other.tm_yday;
}

std::string_view fromDay(int day, const Words& words) {
  // TRANSLATORS: When somebody may log in again; %s is a time of the day, such as 9:00.
  switch (day) {
    case 0:
      return words.translated("from Sunday %s");
    case 1:
      return words.translated("from Monday %s");
    case 2:
      return words.translated("from Tuesday %s");
    case 3:
      return words.translated("from Wednesday %s");
    case 4:
      return words.translated("from Thursday %s");
    case 5:
      return words.translated("from Friday %s");
    default:
      return words.translated("from Saturday %s");
  }
}

std::string_view untilDay(int day, const Words& words) {
  // TRANSLATORS: How long somebody may be logged in; %s is a time of the day, such as 20:00.
  switch (day) {
    case 0:
      return words.translated("until Sunday %s");
    case 1:
      return words.translated("until Monday %s");
    case 2:
      return words.translated("until Tuesday %s");
    case 3:
      return words.translated("until Wednesday %s");
    case 4:
      return words.translated("until Thursday %s");
    case 5:
      return words.translated("until Friday %s");
    default:
      return words.translated("until Saturday %s");
  }
}

std::string hoursText(const Mark& mark, Date now, const Words& words) {
  const auto moment = mark.moment.value_or(momentOf(now));
  const auto time = localTime(moment);
  const auto hours = timeOfDay(Date(moment));
  const bool isFrom = mark.kind == Mark::Kind::From;
  if (isSameDay(time, localTime(momentOf(now)))) {
    return withPlace(isFrom ? words.translated("from %s") : words.translated("until %s"), hours);
  }
  // Of six days each has another name than today.
  const bool isSoon = Date(moment) - now < std::chrono::days(6);
  if (isSoon) {
    return withPlace(isFrom ? fromDay(time.tm_wday, words) : untilDay(time.tm_wday, words), hours);
  }
  // TRANSLATORS: how a date is written before a time of the day, as in "29 November 2026, 12:00",
  // by strftime(3).
  const auto date = timeText(Date(moment), std::string(words.translated("%-e %B %Y, ")));
  return withPlace(isFrom ? words.translated("from %s") : words.translated("until %s"),
                   date + hours);
}

}  // namespace

std::vector<Mark> marksOf(const ListedUser& user, Date now) {
  std::vector<Mark> marks;
  // Whoever is logged in is marked as suspended, the current user too.
  if (user.current) {
    marks.push_back({Mark::Kind::InFront});
  } else if (user.suspended) {
    marks.push_back({Mark::Kind::LoggedIn});
  }
  // Of the past is what the list is about to be told of.
  auto change = user.kinwatchNextCurfewTime;
  if (change && Date(*change) <= now) change.reset();
  if (!user.kinwatchAllowsLogin.value_or(true)) {
    marks.push_back({change ? Mark::Kind::From : Mark::Kind::NotNow, change});
  } else if (change) {
    marks.push_back({Mark::Kind::Until, change});
  }
  return marks;
}

std::vector<Mark> marksOf(const Person& person, Date now) {
  auto marks = marksOf(*person.user, now);
  if (person.admission.state != Admission::State::MayNotLogIn) return marks;
  // From when on they may says as much.
  for (const auto& mark : marks) {
    if (mark.kind == Mark::Kind::From || mark.kind == Mark::Kind::NotNow) return marks;
  }
  marks.push_back({Mark::Kind::MayNotLogIn});
  return marks;
}

std::string markText(const Mark& mark, Date now, const Words& words) {
  switch (mark.kind) {
    case Mark::Kind::InFront:
      return std::string(words.translated("in front"));
    case Mark::Kind::LoggedIn:
      return std::string(words.translated("logged in"));
    case Mark::Kind::NotNow:
      return std::string(words.translated("not now"));
    case Mark::Kind::MayNotLogIn:
      return std::string(words.translated("may not log in"));
    case Mark::Kind::Until:
    case Mark::Kind::From:
      break;
  }
  return hoursText(mark, now, words);
}

}  // namespace gatehall
