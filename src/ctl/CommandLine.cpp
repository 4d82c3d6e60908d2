#include "ctl/CommandLine.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "accounts/Whom.h"
#include "ctl/Help.h"
#include "ctl/print/LogEntries.h"
#include "ctl/print/TerminalText.h"
#include "ctl/request/HostFailure.h"
#include "ctl/request/OptionWords.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/world/json/WorldError.h"

namespace gatehall::ctl {

namespace {

constexpr const char* kProgram = "gatehallctl";

struct Options {
  std::optional<std::string> world;
  std::optional<std::string> root;
  bool json = false;
  bool trace = false;
  bool wide = false;
  bool noLegend = false;
  GivenOptions ofVerb;  ///< the verb's own options
};

/// Tables take what the terminal has; elsewhere, what one has at least.
TableStyle tableStyle(const Options& options, const Screen& screen) {
  constexpr std::size_t kColumns = 80;
  TableStyle style{.legend = !options.noLegend, .colour = screen.colour};
  if (options.wide) return style;
  const auto size = screen.size();
  const bool isTerminal = size && size->columns > 0;
  style.columns = isTerminal ? size->columns : kColumns;
  style.extras = isTerminal;
  return style;
}

/// The value of an option that is one thing.
std::optional<std::string> onlyValue(const GivenOptions& given, const std::string& name) {
  const auto entry = given.find(name);
  if (entry == given.end()) return std::nullopt;
  if (entry->second.size() > 1) throw UsageError("'" + name + "' is given twice");
  return entry->second.front();
}

Options optionsOf(const GivenOptions& given) {
  return {.world = onlyValue(given, "--world"),
          .root = onlyValue(given, "--root"),
          .json = given.contains("--json"),
          .trace = given.contains("--trace"),
          .wide = given.contains("--wide"),
          .noLegend = given.contains("--no-legend"),
          .ofVerb = given};
}

const Verb& verbOf(const Strings& words) {
  if (words.empty()) throw UsageError("a verb is missing");
  const auto& name = words.front();
  const auto* verb = verbNamed(name);
  if (verb != nullptr) return *verb;
  std::vector<std::string_view> names;
  for (const auto& known : verbs()) names.push_back(known.name);
  throw UsageError("unknown verb '" + name + "'" + whatWasMeant(name, names));
}

/// The words after the verb as its operands, without the options among them.
Strings operandsOf(const Verb& verb, Strings words, GivenOptions& given) {
  if (verb.operands == Verb::Operands::AnyWords) {
    if (words == Strings{"--help"} || words == Strings{"-h"}) given["--help"];
    if (!words.empty() && words.front() == "--") words.erase(words.begin());
    return words;
  }
  std::vector<Verb::Option> known(verb.options);
  known.insert(known.end(), generalOptions().begin(), generalOptions().end());
  return readOptions(words, known, false, given);
}

void checkNumber(const Strings& operands, const Verb& verb) {
  const bool none = verb.operands == Verb::Operands::None;
  const bool mayBeNone =
      none || verb.operands == Verb::Operands::Any || verb.operands == Verb::Operands::AnyWords;
  if (operands.empty() && !mayBeNone)
    throw UsageError(std::string(verb.operandName) + " is missing");
  if (operands.size() > 1 && verb.operands == Verb::Operands::One) {
    throw UsageError("'" + operands[1] + "' is one word too many");
  }
  if (!operands.empty() && none) throw UsageError("'" + operands[0] + "' is one word too many");
}

std::string line(std::string_view text) {
  return std::string(kProgram) + ": " + forTerminal(text).text + "\n";
}

Json callsJson(const Trace& trace) {
  auto list = Json::array();
  for (const auto& call : trace.calls()) {
    list.push_back({{"operation", call.operation}, {"arguments", toJson(call.arguments)}});
  }
  return list;
}

Table callsTable(const Trace& trace) {
  const auto calls = trace.calls();
  Table table{.header = {"CALL", "ARGUMENTS"},
              .fits = {Fit::Whole, Fit::Wrap},
              .count = countText(calls.size(), "call")};
  for (const auto& call : calls) {
    std::string arguments;
    for (const auto& [name, value] : call.arguments) {
      if (!arguments.empty()) arguments += "; ";
      arguments += name + ": " + cellText(toJson(value));
    }
    table.rows.push_back({{call.operation}, {arguments}});
  }
  return table;
}

/// What stands behind an answer: the trace, if it was asked for, what went wrong, and what was
/// logged.
Json keysBehind(const Host& host, const Options& options, const Answer* answer,
                const Strings& errors) {
  auto json = Json::object();
  if (options.trace) json["calls"] = callsJson(host.trace());
  if (!errors.empty()) json["errors"] = errors;
  const bool isLogTold = answer != nullptr && answer->tellsLog;
  if (!isLogTold && !host.log().entries().empty()) json["log"] = logJson(host.log());
  return json;
}

/// The answer, if there is one, and what stands behind it, as one document.
std::string document(const Verb& verb, const Answer* answer, const Json& behind) {
  if (verb.goesOn) return behind.empty() ? "" : lineText(behind);
  if (answer == nullptr || answer->json.is_null()) return documentText(behind);
  if (behind.empty()) return documentText(answer->json);
  auto json = answer->json;
  json.update(behind);
  return documentText(json);
}

std::string tablesText(const std::vector<Table>& tables, TableStyle style) {
  std::string text;
  for (const auto& table : tables) {
    auto rows = tableText(table, style);
    if (text.empty()) {
      text = std::move(rows);
    } else if (!rows.empty()) {
      text += '\n' + rows;
    }
  }
  return text;
}

/// The same as tables.
std::string tablesText(const Host& host, const Options& options, TableStyle style,
                       const Answer* answer) {
  auto tables = answer != nullptr ? answer->tables : std::vector<Table>();
  if (options.trace) tables.push_back(callsTable(host.trace()));
  const auto text = tablesText(tables, style);
  return answer != nullptr ? answer->text + text : text;
}

/// What a verb answers that needs no host.
Outcome outcomeWithoutHost(const Verb& verb, const Answer& answer, const Options& options,
                           TableStyle style) {
  Outcome outcome;
  outcome.status = answer.status;
  auto behind = Json::object();
  if (!answer.messages.empty()) behind["errors"] = answer.messages;
  for (const auto& message : answer.messages) outcome.errors += line(message);
  outcome.output =
      options.json ? document(verb, &answer, behind) : tablesText(answer.tables, style);
  return outcome;
}

Outcome answerVerb(const Verb& verb, Strings operands, const Options& options,
                   const Screen& screen) {
  const auto style = tableStyle(options, screen);
  const Host::Source source{.world = options.world, .root = options.root};
  const Request request{.operands = std::move(operands),
                        .options = options.ofVerb,
                        .json = options.json,
                        .style = style,
                        .screen = screen};
  if (verb.runBefore != nullptr) {
    if (const auto answer = verb.runBefore(source, request)) {
      return outcomeWithoutHost(verb, *answer, options, style);
    }
  }
  const Host host(source, options.trace ? Trace::Keeps::Calls : Trace::Keeps::LastOperation);
  Outcome outcome;
  Strings errors;
  std::shared_ptr<Answer> answer;
  try {
    answer = std::make_shared<Answer>(verb.run(host, request));
    outcome.status = answer->status;
    errors = answer->messages;
  } catch (const UsageError&) {
    throw;
  } catch (const MeansNobody& operand) {
    throw UsageError(operand.what());
  } catch (const WorldError&) {
    throw;
  } catch (const std::exception& failure) {
    outcome.status = ExitStatus::HostFailure;
    errors.push_back(hostFailureText(host.trace(), failure));
  }
  for (const auto& error : errors) outcome.errors += line(error);
  if (!answer || !answer->tellsLog) {
    // Of many users the same may be logged of each, and more than once.
    std::set<std::string> told;
    for (const auto& entry : host.log().entries()) {
      auto text = line("logged, " + levelName(entry.level) + ": " + entry.text);
      if (const auto [added, isNew] = told.insert(std::move(text)); isNew) outcome.errors += *added;
    }
  }
  outcome.output =
      options.json ? document(verb, answer.get(), keysBehind(host, options, answer.get(), errors))
                   : tablesText(host, options, style, answer.get());
  outcome.answer = std::move(answer);
  outcome.platform = host.platform();
  return outcome;
}

}  // namespace

namespace {

Outcome run(const Strings& words, const Screen& screen, GivenOptions& given) {
  // After some verbs no word is an option of this program.
  std::vector<Verb::Option> known(generalOptions().begin(), generalOptions().end());
  known.push_back({"--version", "", ""});
  auto rest = readOptions(words, known, true, given);
  if (given.contains("--version")) {
    return {ExitStatus::Done, std::string(kProgram) + " " + GATEHALL_VERSION + "\n", {}};
  }
  if (rest.empty() && given.contains("--help")) return {ExitStatus::Done, helpText(), {}};
  const auto& verb = verbOf(rest);
  rest.erase(rest.begin());
  auto operands = operandsOf(verb, std::move(rest), given);
  if (given.contains("--help")) return {ExitStatus::Done, helpText(verb), {}};
  checkNumber(operands, verb);
  return answerVerb(verb, std::move(operands), optionsOf(given), screen);
}

Outcome failed(ExitStatus status, const std::string& what, const GivenOptions& given) {
  return {status, given.contains("--json") ? lineText({{"errors", Strings{what}}}) : std::string(),
          line(what)};
}

}  // namespace

Outcome runCommandLine(const Strings& words, const Screen& screen) {
  GivenOptions given;
  try {
    return run(words, screen, given);
  } catch (const UsageError& error) {
    auto outcome = failed(ExitStatus::WrongUsage, error.what(), given);
    outcome.errors.append("Try '").append(kProgram).append(" --help'.\n");
    return outcome;
  } catch (const WorldError& error) {
    return failed(ExitStatus::WrongUsage, error.what(), given);
  } catch (const std::exception& failure) {
    // There was no host yet to answer for it.
    return failed(ExitStatus::HostFailure,
                  std::string("the host failed to answer: ") + failure.what(), given);
  }
}

}  // namespace gatehall::ctl
