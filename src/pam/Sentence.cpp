#include "pam/Sentence.h"

#include <array>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <ctime>
#include <libintl.h>
#include <string_view>

namespace gatehall::pam {

namespace {

constexpr const char* kDomain = "gatehall";

const char* translated(const char* text) { return dgettext(kDomain, text); }

const char* sentenceFor(LoginRule rule) {
  switch (rule) {
    case LoginRule::NoServiceAccess:
      return translated(
          "You may not log in on this computer: only some people may, and you are not among them.");
    case LoginRule::LocalLoginDisabled:
      return translated(
          "You may not log in on this computer: its own accounts are closed to all but "
          "administrators.");
    case LoginRule::NetworkAway:
      return translated(
          "You may not log in on this computer: the network of your account can't be reached.");
    case LoginRule::EveryoneDenied:
      return translated(
          "You may not log in on this computer: it is closed to everybody from the network.");
    case LoginRule::DeniedByGUID:
      return translated("You may not log in on this computer: your account is excluded.");
    case LoginRule::NotInAllowList:
      return translated(
          "You may not log in on this computer: your account is not among those that may.");
    case LoginRule::Administrator:
    case LoginRule::LocalLoginEnabled:
    case LoginRule::NoAllowList:
    case LoginRule::EveryoneAllowed:
    case LoginRule::AllowedByGUID:
      break;
  }
  return "";
}

std::tm localTime(Date date) {
  const auto seconds = std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::system_clock::duration>(date));
  std::tm time{};
  localtime_r(&seconds, &time);
  return time;
}

/// Of days that are longer or shorter, too.
std::tm dayAfter(std::tm time) {
  ++time.tm_mday;
  time.tm_hour = 12;
  time.tm_isdst = -1;
  mktime(&time);
  return time;
}

bool isSameDay(const std::tm& one, const std::tm& other) {
  return one.tm_year == other.tm_year && one.tm_yday == other.tm_yday;
}

std::string withTime(std::string_view sentence, const std::tm& time, const char* format) {
  std::array<char, 32> text{};
  const auto length = std::strftime(text.data(), text.size(), format, &time);
  constexpr std::string_view kPlace = "%s";
  std::string result(sentence);
  const auto place = result.find(kPlace);
  if (place != std::string::npos) result.replace(place, kPlace.size(), text.data(), length);
  return result;
}

std::string hoursSentence(const std::optional<Date>& begin, Date now) {
  if (!begin) return translated("You may not log in on this computer: not at this time.");
  const auto time = localTime(*begin);
  if (isSameDay(time, localTime(now))) {
    // TRANSLATORS: %s is a time of the day, such as 16:00.
    return withTime(translated("You may not log in on this computer: not before %s."), time,
                    "%H:%M");
  }
  if (isSameDay(time, dayAfter(localTime(now)))) {
    // TRANSLATORS: %s is a time of the day, such as 08:00.
    return withTime(translated("You may not log in on this computer: not before %s tomorrow."),
                    time, "%H:%M");
  }
  // TRANSLATORS: %s is a day and a time, such as 2026-11-30 08:00.
  return withTime(translated("You may not log in on this computer: not until %s."), time,
                  "%Y-%m-%d %H:%M");
}

}  // namespace

std::string undecidableSentence() {
  return translated(
      "It can't be told now whether you may log in on this computer. Try again later, or ask "
      "whoever looks after it.");
}

std::string sentenceFor(const DoorDecision& decision, Date now) {
  switch (decision.answer) {
    case DecisionRecord::Answer::Admitted:
      return {};
    case DecisionRecord::Answer::Undecidable:
      return undecidableSentence();
    case DecisionRecord::Answer::NotFound:
    case DecisionRecord::Answer::Refused:
      break;
  }
  if (decision.isOutsideHours) return hoursSentence(decision.hoursBegin, now);
  if (decision.rule) return sentenceFor(*decision.rule);
  return translated("You may not log in on this computer: it doesn't know your account.");
}

void speak(const std::string& localeName) {
  // Of the machine's locales one is always there; LANGUAGE (gettext(3)) chooses the catalogue.
  if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) return;
  const auto language = localeName.substr(0, localeName.find('.'));
  const bool isNone = language.empty() || language == "C" || language == "POSIX";
  setenv("LANGUAGE", isNone ? "en" : language.c_str(), 1);
}

}  // namespace gatehall::pam
