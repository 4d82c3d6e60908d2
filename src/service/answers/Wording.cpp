#include "service/answers/Wording.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "pam/DoorDecision.h"
#include "pam/Sentence.h"

namespace gatehall::service {

namespace {

using Answer = DecisionRecord::Answer;

/// Marks a message for the catalogues.
constexpr std::string_view translated(std::string_view message) { return message; }

/// Those of LoginRule, and those of Verdict where no login rule decides.
constexpr std::array kRules{
    translated("no service access"),
    translated("administrator"),
    translated("local login enabled"),
    translated("local login disabled"),
    translated("network away"),
    translated("everyone denied"),
    translated("denied by GUID"),
    translated("no allow list"),
    translated("everyone allowed"),
    translated("allowed by GUID"),
    translated("not in the allow list"),
    translated("no shell"),
    translated("expired"),
    translated("locked"),
    translated("no password"),
    translated("no name"),
    translated("no user id"),
    translated("not in gatehall-access"),
    translated("user id too low"),
    translated("user id too high"),
    translated("hidden by a local account"),
    translated("hidden by another account"),
    translated("no such account"),
    translated("directory away"),
    translated("undecidable"),
};

/// Of an account that no login rule decides about.
std::string_view sentenceForNobody(std::string_view rule, const MessageCatalogue& language) {
  if (rule == "locked") {
    return language.translated("You may not log in on this computer: your account is locked.");
  }
  if (rule == "expired") {
    return language.translated("You may not log in on this computer: your account has expired.");
  }
  return language.translated(
      "You may not log in on this computer: nobody can log in with your account.");
}

/// The same at a door, as far as the rules go.
pam::DoorDecision decisionOf(const Verdict& verdict) {
  if (verdict.isUndecidable() || verdict.rule == "directory away") {
    return {.answer = Answer::Undecidable};
  }
  if (verdict.rule == "not in gatehall-access") {
    return {.answer = Answer::Refused, .rule = LoginRule::NoServiceAccess};
  }
  if (!verdict.decided) return {.answer = Answer::NotFound};
  return {.answer = verdict.allowed ? Answer::Admitted : Answer::Refused, .rule = verdict.decided};
}

}  // namespace

std::string ruleText(const std::string& rule, const MessageCatalogue& language) {
  if (std::ranges::find(kRules, rule) == kRules.end()) return rule;
  return std::string(language.translated(rule));
}

std::string sentenceFor(const Verdict& verdict, const std::optional<Explanation::Hours>& hours,
                        Date now, const MessageCatalogue& language) {
  auto decision = decisionOf(verdict);
  if (decision.answer == Answer::NotFound && verdict.rule != "no such account") {
    return std::string(sentenceForNobody(verdict.rule, language));
  }
  if (decision.isAdmitted() && hours && !hours->areNow) {
    decision.answer = Answer::Refused;
    decision.isOutsideHours = true;
    decision.hoursBegin = hours->change;
  }
  return pam::sentenceFor(decision, now, language);
}

}  // namespace gatehall::service
