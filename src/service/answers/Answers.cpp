#include "service/answers/Answers.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "accounts/Verdict.h"
#include "explain/Explained.h"
#include "gatehall/access/USPrefs.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/Platform.h"
#include "linux/MachineLocale.h"
#include "linux/directory/LinuxDirectory.h"
#include "pam/Sentence.h"
#include "service/answers/Dictionaries.h"
#include "service/answers/Wording.h"

namespace gatehall::service {

namespace {

constexpr std::array<std::string_view, 7> kShort{"uid",    "found", "allowed", "rule",
                                                 "source", "name",  "hours"};

std::shared_ptr<UserAccess> freshAccess() {
  try {
    USPrefs::synchronize();
  } catch (const PlatformException& failure) {
    // A rule that asks for a setting raises it again; administrators are admitted without one.
    platform().log().diagnostic(std::string("Unable to read the settings: ") + failure.what());
  }
  return std::make_shared<UserAccess>();
}

/// The words for people. They are made of what the caller may know.
void addWords(Dictionary& answer, const Explained& found, const MessageCatalogue& language) {
  // Another zone may have been chosen for the machine.
  tzset();
  answer.emplace("ruleText", ruleText(found.verdict.rule, language));
  answer.emplace("sentence", sentenceFor(found.verdict, found.explanation.hours,
                                         platform().clock().now(), language));
}

/// Whether the account is of who asks. A hidden one is nobody's, whatever its user id is.
bool isOwn(const Question& question, const Meant& meant) {
  if (!question.ownUserID) return false;
  if (meant.userID) return meant.userID == question.ownUserID;
  if (meant.accounts.empty()) return false;
  const auto& account = meant.accounts.front();
  return meant.undecidable.empty() && account.hidden.empty() &&
         account.userID == question.ownUserID;
}

bool mayKnowAll(const Question& question, const Meant& meant) {
  return question.mayKnowHours || isOwn(question, meant);
}

/// The account that counts; an empty one of nobody.
Account accountOf(const Meant& meant) {
  return meant.accounts.empty() ? Account() : meant.accounts.front();
}

/// Marks who is logged in, as UserAccess does in a list.
void markIfLoggedIn(CachedUser& user) {
  auto& service = platform().sessions();
  const auto current = service.copyCurrentSession();
  const auto sessions = current ? service.copySessionList() : std::nullopt;
  if (!sessions) return;
  const auto number = [](const Dictionary& session, std::string_view key) {
    const auto entry = session.find(key);
    return entry == session.end() ? 0 : entry->second.integerValue().value_or(0);
  };
  for (const auto& session : *sessions) {
    if (!session || number(*session, session::LoginDoneKey) == 0) continue;
    const auto name = session->find(session::UserNameKey);
    const auto* text = name == session->end() ? nullptr : name->second.string();
    const bool isTheirs =
        text != nullptr && *text == user.shortName() &&
        static_cast<std::uint32_t>(number(*session, session::UserIDKey)) == user.getUid();
    if (!isTheirs) continue;
    user.setSuspended(1);
    user.setCurrentUser(number(*session, session::IDKey) == number(*current, session::IDKey) ? 1
                                                                                             : 0);
  }
}

}  // namespace

AccountHost hostOf(LinuxPlatform& machine, const HostOptions& options) {
  return {
      .machine = &options,
      .networkNodes =
          [&machine] { return static_cast<LinuxDirectory&>(machine.directory()).networkNodes(); },
      .seesLoginHours = true};
}

Answers::Answers(AccountHost host) : mHost(std::move(host)) { mHost.access = freshAccess; }

Answer Answers::operator()(const Question& question) const {
  try {
    const bool isExplained = question.kind == Question::Kind::Explain;
    auto meant = accountMeantBy(mHost, question.whom, isExplained ? Twins::Sought : Twins::Ignored);
    switch (question.kind) {
      case Question::Kind::CanLogIn:
        return canLogIn(question, std::move(meant));
      case Question::Kind::Explain:
        return explain(question, std::move(meant));
      case Question::Kind::User:
        break;
    }
    return user(question, meant);
  } catch (const std::exception& failure) {
    return Failure{"org.freedesktop.DBus.Error.Failed", failure.what()};
  }
}

Dictionary Answers::canLogIn(const Question& question, Meant meant) const {
  Explained found{.meant = std::move(meant)};
  found.account = accountOf(found.meant);
  found.verdict = verdictOn(mHost, found.meant);
  if (mayKnowAll(question, found.meant)) found.explanation.hours = hoursOf(found.verdict);
  auto properties = propertiesOf(found);
  std::erase_if(properties, [](const Property& property) {
    return std::ranges::find(kShort, property.key) == kShort.end();
  });
  auto answer = dictionaryOf(properties);
  addWords(answer, found, languageOf(question));
  return answer;
}

Answer Answers::explain(const Question& question, Meant meant) const {
  if (!mayKnowAll(question, meant)) {
    return Failure{std::string(kAccessDenied), "It is not about who asks"};
  }
  addNearest(mHost, meant);
  Explainer explainer(mHost);
  auto found = explained(mHost, explainer, std::move(meant));
  auto answer = dictionaryOf(propertiesOf(found));
  addWords(answer, found, languageOf(question));
  return answer;
}

Answer Answers::user(const Question& question, const Meant& meant) const {
  const auto verdict = verdictOn(mHost, meant);
  if (verdict.user) {
    markIfLoggedIn(*verdict.user);
    return dictionaryOf(listed(*verdict.user), mayKnowAll(question, meant));
  }
  const bool isUndecidable = verdict.isUndecidable() || verdict.rule == "directory away";
  return Failure{isUndecidable ? "com.orvane.Gatehall1.Error.Undecidable"
                               : "com.orvane.Gatehall1.Error.NoSuchUser",
                 verdict.reason};
}

MessageCatalogue Answers::languageOf(const Question& question) const {
  if (!question.locale.empty() || mHost.machine == nullptr) return pam::languageOf(question.locale);
  return pam::languageOf(machineLocale(*mHost.machine, "LC_MESSAGES"));
}

}  // namespace gatehall::service
