#include "accounts/Entries.h"
#include "ctl/print/LogEntries.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/users/GroupMembership.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::ctl {

namespace {

Json textOrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

/// The operands as GUIDs. What is no GUID is a name, of a user before a group.
Strings guidsOf(const Host& host, const Strings& operands, Answer& answer) {
  Strings guids;
  for (const auto& operand : operands) {
    if (parseUUID(operand)) {
      guids.push_back(operand);
      continue;
    }
    const auto entries = entriesMeant(host.accounts(), operand);
    if (entries.empty()) {
      answer.status = ExitStatus::No;
      answer.messages.push_back(nobodyMeant(host.accounts(), operand));
      continue;
    }
    guids.push_back(entries.front().guid);
    for (std::size_t index = 1; index < entries.size(); ++index) {
      const auto& other = entries[index];
      answer.messages.push_back(operand + " is taken for the " + kindOf(entries.front()) + " of " +
                                entries.front().node + "; also the " + kindOf(other) + " " +
                                other.guid + " of " + other.node);
    }
  }
  return guids;
}

/// The users in the order of their GUIDs; null for none.
Json usersJson(const std::optional<Strings>& guids) {
  if (!guids) return nullptr;
  auto users = Json::array();
  for (const auto& user : entriesWithGUIDs(*guids)) {
    users.push_back({{"guid", user.guid},
                     {"name", textOrNull(user.name)},
                     {"longName", textOrNull(user.longName)},
                     {"node", textOrNull(user.node)}});
  }
  return users;
}

Table tableOf(const Json& users) {
  if (users.is_null()) return {.rows = {{{"these name nobody"}}}};
  Table table{.header = {"NAME", "LONG NAME", "GUID", "NODE"},
              .fits = {Fit::Whole, Fit::Cut, Fit::Whole, Fit::Cut},
              .count = countText(users.size(), "GUID")};
  for (const auto& user : users) {
    table.rows.push_back({{cellText(user.at("name"))},
                          {cellText(user.at("longName"))},
                          {cellText(user.at("guid"))},
                          {cellText(user.at("node"))}});
  }
  return table;
}

Answer run(const Host& host, const Request& request) {
  Answer answer{.tellsLog = true};
  const auto guids = expandGUIDList(guidsOf(host, request.operands, answer));
  answer.json["guids"] = orNull(guids);
  answer.json["log"] = logJson(host.log());
  answer.json["users"] = usersJson(guids);
  answer.tables = {tableOf(answer.json["users"]), logTable(host.log())};
  return answer;
}

}  // namespace

Verb expandVerb() {
  return {
      .name = "expand",
      .operands = Verb::Operands::OneOrMore,
      .operandName = "NAME",
      .summary = "Users and groups as an allow or deny list expands them",
      .description =
          R"(Turns users and groups, by name or GUID, into users, as is done with the GUIDs of the allow and
deny lists: nested groups included, GUIDs that name nothing left out. Somebody who is in two groups
is there twice. A name is a user's before it is a group's; where it is both, that is said. Exit
status 1 when a name is nobody's; names that come near are told then.)",
      .example = "--world examples/school.world.json expand pupils",
      .run = run,
  };
}

}  // namespace gatehall::ctl
