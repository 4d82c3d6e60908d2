#include "pam/Sentence.h"

#include <array>
#include <chrono>
#include <ctime>
#include <string_view>

namespace gatehall::pam {

namespace {

std::string_view sentenceFor(LoginRule rule, const MessageCatalogue& language) {
  switch (rule) {
    case LoginRule::NoServiceAccess:
      return language.translated(
          "You may not log in on this computer: only some people may, and you are not among them.");
    case LoginRule::LocalLoginDisabled:
      return language.translated(
          "You may not log in on this computer: its own accounts are closed to all but "
          "administrators.");
    case LoginRule::NetworkAway:
      return language.translated(
          "You may not log in on this computer: the network of your account can't be reached.");
    case LoginRule::EveryoneDenied:
      return language.translated(
          "You may not log in on this computer: it is closed to everybody from the network.");
    case LoginRule::DeniedByGUID:
      return language.translated("You may not log in on this computer: your account is excluded.");
    case LoginRule::NotInAllowList:
      return language.translated(
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

std::string hoursSentence(const std::optional<Date>& begin, Date now,
                          const MessageCatalogue& language) {
  if (!begin) {
    return std::string(
        language.translated("You may not log in on this computer: not at this time."));
  }
  const auto time = localTime(*begin);
  if (isSameDay(time, localTime(now))) {
    // TRANSLATORS: %s is a time of the day, such as 16:00.
    return withTime(language.translated("You may not log in on this computer: not before %s."),
                    time, "%H:%M");
  }
  if (isSameDay(time, dayAfter(localTime(now)))) {
    // TRANSLATORS: %s is a time of the day, such as 08:00.
    return withTime(
        language.translated("You may not log in on this computer: not before %s tomorrow."), time,
        "%H:%M");
  }
  // TRANSLATORS: %s is a day and a time, such as 2026-11-30 08:00.
  return withTime(language.translated("You may not log in on this computer: not until %s."), time,
                  "%Y-%m-%d %H:%M");
}

}  // namespace

std::string undecidableSentence(const MessageCatalogue& language) {
  return std::string(language.translated(
      "It can't be told now whether you may log in on this computer. Try again later, or ask "
      "whoever looks after it."));
}

std::string sentenceFor(const DoorDecision& decision, Date now, const MessageCatalogue& language) {
  switch (decision.answer) {
    case DecisionRecord::Answer::Admitted:
      return {};
    case DecisionRecord::Answer::Undecidable:
      return undecidableSentence(language);
    case DecisionRecord::Answer::NotFound:
    case DecisionRecord::Answer::Refused:
      break;
  }
  if (decision.isOutsideHours) return hoursSentence(decision.hoursBegin, now, language);
  if (decision.rule) return std::string(sentenceFor(*decision.rule, language));
  return std::string(
      language.translated("You may not log in on this computer: it doesn't know your account."));
}

MessageCatalogue languageOf(const std::string& localeName) {
  return catalogueFor(localeName, "gatehall");
}

}  // namespace gatehall::pam
