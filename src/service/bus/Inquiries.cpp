#include "service/bus/Inquiries.h"

#include <optional>
#include <utility>
#include <variant>

#include "service/bus/Dictionary.h"
#include "service/bus/Names.h"

namespace gatehall::service {

namespace {

void reply(Call& call, const Answer& answer) {
  if (const auto* failure = std::get_if<Failure>(&answer)) {
    call.refuse(failure->name, failure->text);
    return;
  }
  call.answer(
      [entries = std::get<Dictionary>(answer)](MessageWriter& writer) { append(writer, entries); });
}

bool isDenied(const Answer& answer) {
  const auto* failure = std::get_if<Failure>(&answer);
  return failure != nullptr && failure->name == kAccessDenied;
}

}  // namespace

void Inquiries::answer(const std::shared_ptr<Call>& call, Question question) {
  mAuthority.check(call->message(), kReadLoginHours, Interaction::No,
                   [this, call, question = std::move(question)](Permission permission) mutable {
                     question.mayKnowHours = permission == Permission::Allowed;
                     ask(call, question, [call](const Answer& answer) { reply(*call, answer); });
                   });
}

void Inquiries::explain(const std::shared_ptr<Call>& call, Question question) {
  mAuthority.check(call->message(), kExplain, Interaction::No,
                   [this, call, question = std::move(question)](Permission permission) {
                     if (permission == Permission::Allowed) return explainAll(call, question);
                     const auto* userID = std::get_if<std::uint32_t>(&question.whom);
                     if (userID != nullptr && *userID != call->userID()) {
                       return explainOthers(call, question);
                     }
                     ask(call, question, [this, call, question](const Answer& answer) {
                       isDenied(answer) ? explainOthers(call, question) : reply(*call, answer);
                     });
                   });
}

/// Whoever may have an account explained may know its hours.
void Inquiries::explainAll(const std::shared_ptr<Call>& call, Question question) {
  question.mayKnowHours = true;
  ask(call, question, [call](const Answer& answer) { reply(*call, answer); });
}

void Inquiries::explainOthers(const std::shared_ptr<Call>& call, const Question& question) {
  mAuthority.check(
      call->message(), kExplain, Interaction::Yes, [this, call, question](Permission permission) {
        if (permission == Permission::Allowed) return explainAll(call, question);
        if (permission == Permission::Denied) {
          return call->refuse(SD_BUS_ERROR_ACCESS_DENIED,
                              "What stands behind an answer about others is for administrators");
        }
        call->refuse(SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED,
                     "Whoever wants to know this has to authenticate");
      });
}

void Inquiries::ask(const std::shared_ptr<Call>& call, const Question& question, Told told) {
  const auto number = ++mLast;
  mAsked.emplace(number, Asked{call, std::move(told)});
  // The answer may come when this is gone, as the loop's tasks are then.
  mQuestions.ask(call->userID(), call->client(), question,
                 [this, &loop = mLoop, number](Answer answer) {
                   loop.post([this, number, answer = std::move(answer)] { tell(number, answer); });
                 });
}

void Inquiries::tell(std::uint64_t number, const Answer& answer) {
  const auto asked = mAsked.extract(number);
  if (!asked.empty()) asked.mapped().told(answer);
}

void Inquiries::forget(const std::string& client) {
  mQuestions.forget(client);
  std::erase_if(mAsked, [&](const auto& each) { return each.second.call->client() == client; });
}

}  // namespace gatehall::service
