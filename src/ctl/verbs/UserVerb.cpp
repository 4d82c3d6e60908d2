#include <cstddef>
#include <limits>

#include "accounts/Accounts.h"
#include "accounts/Verdict.h"
#include "ctl/explain/ExplanationText.h"
#include "ctl/print/UserProperties.h"
#include "ctl/verbs/Verbs.h"

namespace gatehall::ctl {

namespace {

/// Messages are lines of their own, of any length.
constexpr auto kNoLimit = std::numeric_limits<std::size_t>::max();

Answer run(const Host& host, const Request& request) {
  const auto meant = accountMeant(host.accounts(), request.operands.front());
  const auto verdict = verdictOn(host.accounts(), meant);
  Answer answer;
  // A document has them among its keys.
  if (!request.json || !verdict.user) answer.messages = linesAboutOthers(meant, kNoLimit);
  if (!verdict.user) {
    answer.status = verdict.isUndecidable() ? ExitStatus::HostFailure : ExitStatus::No;
    answer.messages.insert(answer.messages.begin(),
                           meant.operand + ": " + verdict.rule + ": " + verdict.reason);
    return answer;
  }
  answer.json = userPropertiesJson(*verdict.user);
  answer.tables = {userPropertiesTable(answer.json, request.style.legend)};
  answer.json["others"] = jsonOf(othersOf(meant));
  return answer;
}

}  // namespace

Verb userVerb() {
  return {
      .name = "user",
      .operands = Verb::Operands::One,
      .operandName = "NAME",
      .summary = "Everything that is derived about one user",
      .description =
          R"(Shows what the login screen's layer makes of one account, by login name, user id or GUID, each
property by the name of its method, under what it is about; what each says is told where there is
room, or with --wide. Exit status 1 when nobody is meant or the account is nobody's to log in with;
the reason is told.)",
      .example = "--world examples/family.world.json user bob",
      .run = run,
  };
}

}  // namespace gatehall::ctl
