#include "ctl/compare/Machines.h"

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "accounts/Verdict.h"
#include "ctl/compare/Differences.h"
#include "ctl/compare/Workers.h"
#include "ctl/compare/WrittenDown.h"
#include "ctl/request/HostFailure.h"
#include "gatehall/world/json/WorldError.h"

namespace gatehall::ctl {

namespace {

/// Why a machine's state can't be had.
struct NoState {
  std::string error;
  bool isFile = false;
};

/// In front of what is said of a machine; the one that the command line means needs no name.
std::string prefixOf(const std::string& name) { return name == "." ? "" : name + ": "; }

/// What is seen of the machine. Raises NoState, which names the machine, and nothing else.
template <typename Look>
auto seenOf(const Machine& machine, const Look& look) {
  try {
    return look();
  } catch (const WorldError& error) {
    throw NoState{error.what(), true};
  } catch (const UsageError& error) {
    throw NoState{error.what(), true};
  } catch (const std::exception& failure) {
    throw NoState{prefixOf(machine.name) + failure.what()};
  }
}

/// Installs the machine as this process's host for as long as it is looked at.
MachineState stateOf(const Machine& machine) {
  return seenOf(machine, [&machine] {
    const Host host(machine.source, Trace::Keeps::LastOperation);
    try {
      return machineState(host);
    } catch (const std::exception& failure) {
      throw NoState{prefixOf(machine.name) + hostFailureText(host.trace(), failure)};
    }
  });
}

Json namesOf(const MachinePair& pair) {
  return {{"before", pair.before.name}, {"after", pair.after.name}};
}

/// Of how many accounts there is no telling on the machine, those of the other one included that a
/// directory may have which is away here.
std::size_t undecidableIn(const MachineState& state, const Comparison& comparison,
                          std::optional<KnownAccount> Difference::*here) {
  const auto undecidable = std::ranges::count_if(state.accounts, [](const KnownAccount& account) {
    return account.standing.rule == kUndecidable;
  });
  const auto away = std::ranges::count_if(comparison.differences, [here](const Difference& each) {
    return each.isAway && !(each.*here);
  });
  return static_cast<std::size_t>(undecidable + away);
}

/// The members that groups are given and who are nobody's login names there.
Strings strangersIn(const MachineState& state, const Overlay& overlay) {
  Strings strangers;
  for (const auto& [group, members] : overlay.groups) {
    for (const auto& member : members) {
      const auto isMember = [&member](const KnownAccount& each) { return each.name == member; };
      if (std::ranges::none_of(state.accounts, isMember)) strangers.push_back(member);
    }
  }
  return strangers;
}

/// What becomes of everybody before and after.
struct States {
  MachineState before;
  MachineState after;
};

/// Groups have other members in a world only: another machine is written down as one.
States statesOf(const MachinePair& pair) {
  const auto& changed = pair.after.source;
  if (changed.overlay.groups.empty() || changed.world) {
    return {stateOf(pair.before), stateOf(pair.after)};
  }
  const auto written = seenOf(pair.before, [&] { return WrittenDown(pair.before.source); });
  for (const auto& [group, members] : changed.overlay.groups) {
    if (!written.makesAdministrators(group)) continue;
    throw NoState{prefixOf(pair.after.name) + "'" + group +
                      "' is one of the groups that make administrators: say all of them with the "
                      "group 'admin'",
                  true};
  }
  auto before = pair.before;
  auto after = pair.after;
  before.source = written.world();
  after.source = written.world();
  after.source.overlay = changed.overlay;
  States states{stateOf(before), stateOf(after)};
  for (const auto& each : written.unknown()) states.before.missing.push_back(each);
  return states;
}

Json comparisonJson(const MachinePair& pair) {
  auto json = namesOf(pair);
  try {
    const auto [before, after] = statesOf(pair);
    const auto comparison = compared(before, after);
    json["accounts"] = comparison.accounts;
    json["administrators"] = {{"before", before.administrators}, {"after", after.administrators}};
    json["differences"] = Json::array();
    for (const auto& each : comparison.differences) {
      json["differences"].push_back(differenceJson(each));
    }
    json["undecidable"] = std::max(undecidableIn(before, comparison, &Difference::before),
                                   undecidableIn(after, comparison, &Difference::after));
    json["strangers"] = strangersIn(after, pair.after.source.overlay);
    json["missing"] = before.missing;
    for (const auto& each : after.missing) {
      const auto said = std::ranges::find(before.missing, each) != before.missing.end();
      if (!said) json["missing"].push_back(each);
    }
  } catch (const NoState& none) {
    json["error"] = none.error;
    json["isFile"] = none.isFile;
  }
  return json;
}

Json failedJson(const MachinePair& pair, const std::string& why) {
  auto json = namesOf(pair);
  // There is no telling which of the two it was.
  const auto& [before, after] = pair;
  const bool isOne = before.name == after.name;
  json["error"] = prefixOf(isOne ? after.name : before.name + ", " + after.name) + why;
  json["isFile"] = false;
  return json;
}

/// What a worker sent, which may have been in trouble.
Json readJson(const MachinePair& pair, const TaskResult& result) {
  if (!result.failure.empty()) return failedJson(pair, result.failure);
  auto json = Json::parse(result.content, nullptr, false);
  return json.is_object() ? json : failedJson(pair, "its process sent what can't be read");
}

/// How a rule is told beside another one.
std::string ruleText(const Json& standing, const Json& other) {
  auto text = standing.at("rule").get<std::string>();
  const bool isSame = standing.at("rule") == other.at("rule");
  if (isSame && standing.at("source") != other.at("source")) {
    text.append(" (").append(cellText(standing.at("source"))).append(")");
  }
  return text;
}

std::vector<Cell> rowOf(const Json& difference, const std::string& indentation) {
  const auto& login = difference.at("login");
  const auto& before = difference.at("before");
  const auto& after = difference.at("after");
  const auto tone = login == "gains" ? Tone::Good : login == "loses" ? Tone::Bad : Tone::Plain;
  const auto name = difference.at("name").is_null() ? cellText(difference.at("guid"))
                                                    : cellText(difference.at("name"));
  return {{indentation + name},
          {cellText(login), tone},
          {cellText(difference.at("list"))},
          {ruleText(before, after)},
          {ruleText(after, before)}};
}

/// "2 of 500 accounts differ: 1 gains login, 1 disappears from the list".
std::string summary(const Json& differences, std::size_t accounts) {
  struct Kind {
    const char* key;
    const char* value;
    const char* text;
  };
  constexpr std::array kKinds{
      Kind{"login", "gains", "may log in now"}, Kind{"login", "loses", "may no longer"},
      Kind{"login", "rule", "by another rule"}, Kind{"list", "appears", "listed now"},
      Kind{"list", "disappears", "no longer listed"}};
  std::string text;
  for (const auto& kind : kKinds) {
    const auto count = std::ranges::count_if(
        differences, [&kind](const Json& each) { return each.at(kind.key) == kind.value; });
    if (count == 0) continue;
    text.append(text.empty() ? ": " : ", ");
    text.append(std::to_string(count)).append(" ").append(kind.text);
  }
  return std::to_string(differences.size()) + " of " + countText(accounts, "account") +
         (differences.size() == 1 ? " differs" : " differ") + text;
}

bool isCompared(const Json& pair) { return !pair.contains("error"); }

bool hasDifferences(const Json& pair) { return isCompared(pair) && !pair["differences"].empty(); }

ExitStatus statusOf(const Json& pairs) {
  const auto any = [&pairs](auto is) { return std::ranges::any_of(pairs, is); };
  if (any([](const Json& pair) {
        return isCompared(pair) ? pair["undecidable"] != 0 : pair["isFile"] == false;
      })) {
    return ExitStatus::HostFailure;
  }
  if (!std::ranges::all_of(pairs, isCompared)) return ExitStatus::WrongUsage;
  return any(hasDifferences) ? ExitStatus::No : ExitStatus::Done;
}

void addMessages(const Json& pair, Strings& messages) {
  if (!isCompared(pair)) {
    messages.push_back(pair["error"].get<std::string>());
    return;
  }
  const auto prefix = prefixOf(pair["after"].get<std::string>());
  for (const auto& each : pair["missing"]) {
    messages.push_back(prefix + each.get<std::string>());
  }
  const auto undecidable = pair["undecidable"].get<std::size_t>();
  if (undecidable > 0) {
    messages.push_back(prefix + "there is no telling of " + countText(undecidable, "account"));
  }
  const auto& administrators = pair["administrators"];
  if (administrators["before"] != 0 && administrators["after"] == 0) {
    messages.push_back(prefix + "nobody may log in as an administrator any more");
  }
}

/// Names given to groups that no machine knows may be slips; one that some know is none.
void addStrangers(const Json& pairs, Strings& messages) {
  std::optional<Strings> everywhere;
  for (const auto& pair : pairs) {
    if (!isCompared(pair)) continue;
    const auto here = pair["strangers"].get<Strings>();
    if (!everywhere) everywhere = here;
    std::erase_if(*everywhere, [&here](const std::string& each) {
      return std::ranges::find(here, each) == here.end();
    });
  }
  for (const auto& each : everywhere.value_or(Strings())) {
    messages.push_back("--with-group: nobody has the login name '" + each + "'");
  }
}

}  // namespace

Machine machineOf(const Host& host, const std::string& operand) {
  if (operand == ".") return {.name = operand, .source = host.source()};
  std::error_code problem;
  const auto status = std::filesystem::status(operand, problem);
  if (std::filesystem::is_directory(status)) {
    return {.name = operand, .source = {.root = operand}};
  }
  if (std::filesystem::is_regular_file(status)) {
    return {.name = operand, .source = {.world = operand}};
  }
  // A world may be read twice, which a pipe can't be.
  if (std::filesystem::exists(status)) throw UsageError(operand + ": it is no regular file");
  throw UsageError("'" + operand + "' is no world file and no folder: " +
                   (problem ? problem.message() : "there is no such file"));
}

Json comparedPairs(const std::vector<MachinePair>& pairs, const Screen& screen) {
  Workers workers{.task = [&pairs](std::size_t task) {
    return comparisonJson(pairs[task]).dump(-1, ' ', false, Json::error_handler_t::replace);
  }};
  const bool isShown = screen.progress && pairs.size() > 1;
  const auto step = std::max<std::size_t>(pairs.size() / 100, 1);
  if (isShown) {
    workers.progress = [&](std::size_t done) {
      if (done % step != 0) return;
      screen.progress(std::to_string(done) + " of " + countText(pairs.size(), "machine"));
    };
  }
  std::vector<Json> read(pairs.size());
  workers.carryOut(pairs.size(), [&](std::size_t task, const TaskResult& result) {
    read[task] = readJson(pairs[task], result);
  });
  if (isShown) screen.progress("");
  auto json = Json::array();
  for (auto& each : read) json.push_back(std::move(each));
  return json;
}

Answer answerFrom(Json pairs) {
  Answer answer{.status = statusOf(pairs)};
  const bool isOne = pairs.size() == 1;
  Table table{.header = {"USER", "LOGIN", "LIST", "BEFORE", "AFTER"},
              .fits = {Fit::Whole, Fit::Whole, Fit::Whole, Fit::Wrap, Fit::Wrap}};
  std::size_t differing = 0;
  for (const auto& pair : pairs) {
    addMessages(pair, answer.messages);
    if (!isCompared(pair)) continue;
    const auto& differences = pair["differences"];
    const auto said = summary(differences, pair["accounts"].get<std::size_t>());
    if (isOne) table.count = said;
    if (differences.empty()) continue;
    ++differing;
    if (!isOne) {
      table.rows.push_back({{pair["after"].get<std::string>().append(": ").append(said)}});
    }
    for (const auto& each : differences) table.rows.push_back(rowOf(each, isOne ? "" : "  "));
  }
  if (!isOne) {
    table.count = std::to_string(differing) + " of " + countText(pairs.size(), "machine") +
                  (differing == 1 ? " differs" : " differ");
  }
  addStrangers(pairs, answer.messages);
  answer.tables.push_back(std::move(table));
  answer.json = {{"machines", std::move(pairs)}, {"differing", differing}};
  return answer;
}

}  // namespace gatehall::ctl
