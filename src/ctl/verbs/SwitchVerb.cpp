#include <exception>
#include <string_view>
#include <vector>

#include "ctl/print/LogEntries.h"
#include "ctl/verbs/Verbs.h"
#include "switcher/SwitchFlow.h"

namespace gatehall::ctl {

namespace {

Json requestsJson(const RecordingLoginService& service) {
  auto list = Json::array();
  for (const auto& request : service.requests()) {
    Json entry;
    entry["operation"] = request.operation;
    if (request.operation == "switchToUser") entry["attributes"] = toJson(request.attributes);
    list.push_back(std::move(entry));
  }
  return list;
}

/// One block: how it ends, what is logged, what the login service is asked.
Table screen(const Json& json) {
  Table table{.fits = {Fit::Whole, Fit::Wrap}};
  const auto add = [&table](std::string label, std::string text) {
    table.rows.push_back({{std::move(label)}, {std::move(text)}});
  };
  if (json.contains("exception")) {
    add("ends by an exception", cellText(json.at("exception")));
  } else {
    add("exit status", cellText(json.at("exitStatus")));
  }
  for (const auto& entry : json.at("log")) {
    add("logs, " + cellText(entry.at("level")), cellText(entry.at("text")));
  }
  for (const auto& request : json.at("loginService")) {
    add("asks the login service", cellText(request.at("operation")));
    if (!request.contains("attributes")) continue;
    for (const auto& [kind, values] : request.at("attributes").items()) {
      add("  " + kind, cellText(values));
    }
  }
  if (json.at("loginService").empty()) add("asks the login service", "nothing");
  return table;
}

Answer run(const Host& host, const Request& request) {
  Answer answer{.tellsLog = true};
  try {
    runSwitch(std::vector<std::string_view>(request.operands.begin(), request.operands.end()));
    answer.json["exitStatus"] = 0;
  } catch (const std::exception& failure) {
    answer.json["exitStatus"] = nullptr;
    answer.json["exception"] = failure.what();
  }
  answer.json["log"] = logJson(host.log());
  answer.json["loginService"] = requestsJson(host.loginService());
  answer.tables = {screen(answer.json)};
  return answer;
}

}  // namespace

Verb switchVerb() {
  return {
      .name = "switch",
      .operands = Verb::Operands::AnyWords,
      .operandName = "WORD",
      .summary = "What gatehall-switch would do with these words",
      .description =
          R"(Runs what gatehall-switch runs for these words and shows how it ends, what it logs and what
it asks of the login service. In a world the switch is carried out there; on this machine it
is a rehearsal: everything is real but the switch itself, which is not made. The tool may
read password hashes; run the rehearsal as root for it to see empty passwords as well.

Every word after the verb is the tool's own, this program's options too, but for --help alone; a
first -- is left out.)",
      .example = "--world examples/family.world.json switch -switchToUserID 1001",
      .run = run,
  };
}

}  // namespace gatehall::ctl
