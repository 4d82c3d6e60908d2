#include "accounts/Entries.h"
#include "ctl/verbs/Verbs.h"

namespace gatehall::ctl {

namespace {

Json textOrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

Answer run(const Host& host, const Request& request) {
  Answer answer{.json = {{"entries", Json::array()}},
                .tables = {{.header = {"KIND", "NAME", "GUID", "NODE"},
                            .fits = {Fit::Whole, Fit::Whole, Fit::Whole, Fit::Cut}}}};
  auto& rows = answer.tables.front().rows;
  for (const auto& operand : request.operands) {
    const auto entries = entriesMeant(host.accounts(), operand);
    if (entries.empty()) {
      answer.status = ExitStatus::No;
      answer.messages.push_back(nobodyMeant(host.accounts(), operand));
    }
    for (const auto& entry : entries) {
      const Json json = {{"kind", kindOf(entry)},
                         {"name", textOrNull(entry.name)},
                         {"longName", textOrNull(entry.longName)},
                         {"guid", textOrNull(entry.guid)},
                         {"node", textOrNull(entry.node)}};
      rows.push_back({{kindOf(entry)},
                      {cellText(json.at("name"))},
                      {cellText(json.at("guid"))},
                      {cellText(json.at("node"))}});
      answer.json["entries"].push_back(json);
    }
  }
  return answer;
}

}  // namespace

Verb guidVerb() {
  return {
      .name = "guid",
      .operands = Verb::Operands::OneOrMore,
      .operandName = "NAME",
      .summary = "The GUIDs of users and groups, which allow and deny lists hold",
      .description =
          R"(Shows the users and groups of these names, with their GUIDs: the users first, of several the one
that counts before the others. A user id or a GUID will do as well. Exit status 1 when one of them
is nobody's; names that come near are told then.)",
      .example = "--world examples/school.world.json guid dana pupils",
      .run = run,
  };
}

}  // namespace gatehall::ctl
