#include "ctl/print/LogEntries.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/users/GroupMembership.h"

namespace gatehall::ctl {

namespace {

Table guidsTable(const Json& guids) {
  if (guids.is_null()) return {.rows = {{{"these GUIDs name nobody"}}}};
  Table table{.header = {"GUID"}, .count = countText(guids.size(), "GUID")};
  for (const auto& guid : guids) table.rows.push_back({{cellText(guid)}});
  return table;
}

Answer run(const Host& host, const Request& request) {
  Answer answer{.tellsLog = true};
  answer.json["guids"] = orNull(expandGUIDList(request.operands));
  answer.json["log"] = logJson(host.log());
  answer.tables = {guidsTable(answer.json["guids"]), logTable(host.log())};
  return answer;
}

}  // namespace

Verb expandVerb() {
  return {
      .name = "expand",
      .operands = Verb::Operands::OneOrMore,
      .operandName = "GUID",
      .summary = "Users and groups as an allow or deny list expands them",
      .description =
          R"(Turns GUIDs of users and groups into GUIDs of users, as is done with the allow and deny lists:
nested groups included, GUIDs that name nothing left out. Somebody who is in two groups is there
twice.)",
      .example =
          "--world examples/school.world.json expand "
          "5C400100-8D1F-4E7A-9B36-0000000020A0",
      .run = run,
  };
}

}  // namespace gatehall::ctl
