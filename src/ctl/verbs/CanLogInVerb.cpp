#include <cstddef>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "accounts/Accounts.h"
#include "accounts/Verdict.h"
#include "ctl/doors/AtDoor.h"
#include "ctl/explain/ExplanationText.h"
#include "ctl/service/ServiceExplainer.h"
#include "ctl/verbs/Verbs.h"

namespace gatehall::ctl {

namespace {

/// What a narrow terminal holds behind the first column.
constexpr std::size_t kLongestLine = 66;

std::vector<Cell> rowOf(const Json& json) {
  const bool isAllowed = json.at("allowed").get<bool>();
  const Cell allowed = isAllowed ? Cell{"yes", Tone::Good} : Cell{"no", Tone::Bad};
  return {{cellText(json.at("uid"))},
          {cellText(json.at("name"))},
          allowed,
          {cellText(json.at("rule"))},
          {cellText(json.at("source"))}};
}

/// Whom the request asks about; why accounts are missing among all is added to missing.
std::vector<Meant> askedAbout(const Host& host, const Request& request, Strings& missing) {
  std::vector<Meant> asked;
  if (request.has("--all")) {
    if (!request.operands.empty()) throw UsageError("--all and names exclude each other");
    std::vector<MissingAccounts> notListed;
    for (auto& account : allAccounts(&notListed)) {
      const auto called = account.name.empty() ? account.guid : account.name;
      asked.push_back({.operand = called, .accounts = {std::move(account)}});
    }
    for (auto& each : notListed) missing.push_back(std::move(each.why));
    return asked;
  }
  if (request.operands.empty()) throw UsageError("NAME is missing");
  for (const auto& operand : request.operands)
    asked.push_back(accountMeant(host.accounts(), operand));
  return asked;
}

/// Who knows more than this run; nobody for root, of a machine that doesn't run, and of everybody
/// at once.
std::optional<ServiceExplainer> serviceToAsk(const Host& host, const Request& request,
                                             bool isExplained) {
  const bool isThisMachine = host.machine() != nullptr && host.options().isRunning;
  if (!isThisMachine || geteuid() == 0 || request.has("--all")) return std::nullopt;
  // Whether somebody may log in is everybody's to know: only what stands behind it takes a
  // password.
  const bool isAtTerminal =
      isExplained && !request.json && request.screen.size() && isatty(STDIN_FILENO) == 1;
  return std::optional<ServiceExplainer>(
      std::in_place, host.options(),
      isAtTerminal ? ServiceExplainer::Prompts::OnTerminal : ServiceExplainer::Prompts::No);
}

Answer run(const Host& host, const Request& request) {
  auto messages = host.filesHiddenFromUsers();
  Strings missing;
  const auto asked = askedAbout(host, request, missing);
  messages.insert(messages.end(), missing.begin(), missing.end());
  if (const auto service = request.option("--at")) {
    auto answer = answersAtDoor(host, doorNamed(host, *service), asked);
    answer.messages.insert(answer.messages.begin(), missing.begin(), missing.end());
    if (!missing.empty()) answer.status = ExitStatus::HostFailure;
    return answer;
  }

  Answer answer{.tables = {{.header = {"UID", "NAME", "ALLOWED", "RULE", "SOURCE"},
                            .fits = {Fit::Whole, Fit::Whole, Fit::Whole, Fit::Wrap, Fit::Wrap}}},
                .messages = std::move(messages)};
  auto& table = answer.tables.front();
  // Who leaves the legend out wants rows.
  const bool isOfOne = request.operands.size() == 1 && request.style.legend;
  const bool isExplained = isOfOne || request.has("--why");
  Explainer explainer(host.accounts());
  auto service = serviceToAsk(host, request, isExplained);
  auto users = Json::array();
  std::size_t allowed = 0;
  std::size_t unknown = 0;
  std::string firstUnknown;
  bool isUndecidable = false;
  for (const auto& meant : asked) {
    auto found = explained(host.accounts(), explainer, meant);
    auto json = jsonOf(propertiesOf(found));
    auto told = service ? service->explain(found, json) : std::nullopt;
    const bool isTold = told && told->isTold;
    if (told) {
      json = std::move(told->json);
      found = std::move(told->explained);
    }
    table.rows.push_back(rowOf(json));
    const auto add = [&table](Strings lines) {
      for (auto& line : lines) table.rows.push_back({{}, {std::move(line)}});
    };
    if (isExplained) add(linesAbout(found, host.world() == nullptr, kLongestLine));
    if (request.style.legend) add(linesAboutOthers(found.meant, kLongestLine));
    if (isTold && request.style.legend) add({"asked gatehalld"});
    if (!found.explanation.unknown.empty() && unknown++ == 0) {
      firstUnknown = found.explanation.unknown.front();
    }
    users.push_back(std::move(json));
    if (found.verdict.allowed) ++allowed;
    if (!found.verdict.isUndecidable()) continue;
    isUndecidable = true;
    answer.messages.push_back(meant.operand + " is " + std::string(kUndecidable) + ": " +
                              found.verdict.reason);
  }
  answer.json["users"] = std::move(users);
  table.count = std::to_string(allowed) + " of " + countText(asked.size(), "user") + " may log in";
  if (allowed < asked.size()) answer.status = ExitStatus::No;
  if (isUndecidable || !missing.empty()) answer.status = ExitStatus::HostFailure;
  // A document has them at each user.
  if (unknown != 0 && !isExplained && !request.json) {
    answer.messages.push_back("not all is known of " + countText(unknown, "user") +
                              " (--why tells what): " + firstUnknown);
  }
  return answer;
}

}  // namespace

Verb canLogInVerb() {
  return {
      .name = "can-log-in",
      .operands = Verb::Operands::Any,
      .operandName = "NAME",
      .options = {{"--all", "", "Every account that the directories list"},
                  {"--why", "", "What stands behind the answer, of several users as of one"},
                  {"--at", "SERVICE", "What the door of that PAM service answers"}},
      .summary = "Whether users may log in here, and the rule that decides",
      .description =
          R"(Says of each user, by login name, user id or GUID, whether that user may log in here, which rule
decides, and where the setting behind the rule comes from. Of one user, and with --why, it also
says in which file and line that stands, through which groups a list comes to the user, and
which login hours apply besides. Whom nobody can log in as gets the reason in place of a rule:
"no shell", "locked", "expired", "no password", "not in gatehall-access", "user id too low",
"hidden by a local account", "directory away", "no such account". Of several who are meant the
first that counts is answered, and the others are named; an unknown name gets those that come
near. Exit status 1 when anyone may not. Where a directory or a file that the answer needs can't
be read, it is undecidable: nobody is let in, the reason is told, and the exit status is 3, as
it is where --all lacks the accounts of a directory. Of users who are named, whoever isn't root
gets from gatehalld(8) what these rights don't suffice for; about others that is whether they may
log in, and the rest by an administrator's password, which may be asked for at a terminal. Root is also told which of the policy's files other
users' programs, such as gatehall-switch, can't read.

With --at it is what the door of a PAM service (pam.d(5): login, sshd, lightdm) answers to who has
passed the password there, with the arguments that the module pam_gatehall.so has in its stack,
and the sentence that the person is told. Root and local administrators pass local doors. Where
the module is not in the account stack, or its arguments leave the service out, the door is not
guarded: whoever the service lets in gets in, the rules have no say, and the exit status is 1.
A world has no PAM: there every door that the module guards by default is guarded by it, without
arguments.)",
      .example = "--world examples/school.world.json can-log-in ann pupil6",
      .run = run,
  };
}

}  // namespace gatehall::ctl
