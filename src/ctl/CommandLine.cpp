#include "ctl/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "ctl/print/LogEntries.h"
#include "ctl/print/TerminalText.h"
#include "ctl/request/HostFailure.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/world/json/WorldError.h"

namespace gatehall::ctl {

namespace {

constexpr const char* kProgram = "gatehallctl";

struct Options {
  std::optional<std::string> world;
  bool json = false;
  bool trace = false;
  bool noLegend = false;
  std::map<std::string, std::string, std::less<>> ofVerb;  ///< the verb's own options
};

/// CLI11's help with a usage line of our own.
class HelpFormatter : public CLI::Formatter {
 public:
  explicit HelpFormatter(std::string usage) : mUsage(std::move(usage)) {}
  std::string make_usage(const CLI::App*, std::string) const override {
    return "\nUsage: " + mUsage + "\n";
  }

 private:
  std::string mUsage;
};

void addOptions(CLI::App& parser, Options& options) {
  parser.set_help_flag("-h,--help", "Show this help");
  parser
      .add_option("--world", options.world,
                  "Look at the machine that this world file describes, not at this one")
      ->type_name("FILE");
  parser.add_flag("--json", options.json, "Answer with one JSON document");
  parser.add_flag("--trace", options.trace, "Also show every operation asked of the host");
  parser.add_flag("--no-legend", options.noLegend, "Print tables without headers and counts");
}

std::string usage(const Verb& verb) {
  std::string operands;
  switch (verb.operands) {
    case Verb::Operands::None:
      break;
    case Verb::Operands::One:
      operands = " " + std::string(verb.operandName);
      break;
    case Verb::Operands::OneOrMore:
      operands = " " + std::string(verb.operandName) + "...";
      break;
    case Verb::Operands::AnyWords:
      operands = " [--] [" + std::string(verb.operandName) + "...]";
      break;
  }
  for (const auto& [option, value, help] : verb.options) {
    operands.append(" [").append(option).append(" ").append(value).append("]");
  }
  return std::string(kProgram) + " [OPTIONS] " + std::string(verb.name) + operands;
}

std::string listOfVerbs() {
  Table table;
  for (const auto& verb : verbs()) {
    table.rows.push_back({{"  " + std::string(verb.name)}, {std::string(verb.summary)}});
  }
  return "Verbs:\n" + tableText(table, {}) + R"(
Each verb has its own help: gatehallctl --help VERB
Exit status: 0 done; 1 the answer is no; 2 the command line or a file is wrong; 3 the host failed
to answer.)";
}

std::unique_ptr<CLI::App> verbParser(const Verb& verb, Options& options) {
  auto parser = std::make_unique<CLI::App>(std::string(verb.description));
  addOptions(*parser, options);
  for (const auto& [option, value, help] : verb.options) {
    const auto keep = [&options, name = option](const std::string& text) {
      options.ofVerb[name] = text;
    };
    parser->add_option_function<std::string>(option, keep, help)->type_name(value);
  }
  parser->formatter(std::make_shared<HelpFormatter>(usage(verb)));
  parser->footer("Example:\n  gatehallctl " + std::string(verb.example));
  return parser;
}

std::string helpFor(const Verb& verb) {
  Options options;
  return verbParser(verb, options)->help();
}

const Verb& verbOf(const Strings& words) {
  if (words.empty()) throw UsageError("a verb is missing");
  const auto& name = words.front();
  const auto* verb = verbNamed(name);
  if (verb == nullptr) {
    throw UsageError((name.starts_with('-') ? "unknown option '" : "unknown verb '") + name + "'");
  }
  return *verb;
}

/// The words after the verb as its operands, without the options among them.
Strings operandsOf(const Verb& verb, Strings words, Options& options) {
  if (verb.operands == Verb::Operands::AnyWords) {
    if (!words.empty() && words.front() == "--") words.erase(words.begin());
    return words;
  }
  const auto parser = verbParser(verb, options);
  Strings operands;
  parser->add_option("operands", operands)->group("");
  std::reverse(words.begin(), words.end());
  parser->parse(std::move(words));
  const bool none = verb.operands == Verb::Operands::None;
  if (operands.empty() && !none) throw UsageError(std::string(verb.operandName) + " is missing");
  if (operands.size() > 1 && verb.operands == Verb::Operands::One) {
    throw UsageError("'" + operands[1] + "' is one word too many");
  }
  if (!operands.empty() && none) throw UsageError("'" + operands[0] + "' is one word too many");
  return operands;
}

std::string line(std::string_view text) {
  return std::string(kProgram) + ": " + forTerminal(text).text + "\n";
}

Outcome wrongUsage(std::string_view what) {
  return {ExitStatus::WrongUsage, {}, line(what) + "Try '" + kProgram + " --help'.\n"};
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
  Table table{.header = {"CALL", "ARGUMENTS"}, .count = countText(calls.size(), "call")};
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

/// The answer, if there is one, and the trace, if it was asked for, as one document.
std::string document(const Host& host, const Options& options, const Answer* answer) {
  const bool isPrinted = answer != nullptr && answer->isPrinted;
  if (!options.trace) {
    return answer != nullptr && !isPrinted ? documentText(answer->json) : std::string();
  }
  if (isPrinted) return lineText({{"calls", callsJson(host.trace())}});
  // An answer that has no room for the calls stands beside them.
  Json json = answer != nullptr ? answer->json : Json();
  if (!json.is_object()) json = {{"answer", std::move(json)}};
  json["calls"] = callsJson(host.trace());
  return documentText(json);
}

/// The same as tables.
std::string tablesText(const Host& host, const Options& options, TableStyle style,
                       const Answer* answer) {
  std::string text;
  const auto add = [&](const Table& table) {
    auto rows = tableText(table, style);
    if (text.empty()) {
      text = std::move(rows);
    } else if (!rows.empty()) {
      text += '\n' + rows;
    }
  };
  if (answer != nullptr) std::ranges::for_each(answer->tables, add);
  if (options.trace) add(callsTable(host.trace()));
  return text;
}

Outcome answerVerb(const Verb& verb, Strings operands, const Options& options,
                   const Screen& screen) {
  const TableStyle style{.legend = !options.noLegend, .colour = screen.colour};
  const Host host(options.world, options.trace ? Trace::Keeps::Calls : Trace::Keeps::LastOperation);
  Outcome outcome;
  std::shared_ptr<Answer> answer;
  try {
    answer = std::make_shared<Answer>(verb.run(host, {.operands = std::move(operands),
                                                      .options = options.ofVerb,
                                                      .json = options.json,
                                                      .style = style,
                                                      .screen = screen}));
    outcome.status = answer->status;
    for (const auto& message : answer->messages) outcome.errors += line(message);
  } catch (const UsageError&) {
    throw;
  } catch (const WorldError&) {
    throw;
  } catch (const std::exception& failure) {
    outcome.status = ExitStatus::HostFailure;
    outcome.errors += line(hostFailureText(host.trace(), failure));
  }
  if (!answer || !answer->tellsLog) {
    for (const auto& entry : host.log().entries()) {
      outcome.errors += line("logged, " + levelName(entry.level) + ": " + entry.text);
    }
  }
  outcome.output = options.json ? document(host, options, answer.get())
                                : tablesText(host, options, style, answer.get());
  outcome.answer = std::move(answer);
  outcome.platform = host.platform();
  return outcome;
}

}  // namespace

Outcome runCommandLine(const Strings& words, const Screen& screen) {
  // The verb and what follows it are taken apart from the options before it, since after some
  // verbs no word is an option of this program.
  Options options;
  CLI::App parser("Shows who may log in and why, who is shown, and what a switch would do.");
  parser.prefix_command();
  addOptions(parser, options);
  parser.set_version_flag("--version", std::string(kProgram) + " " + GATEHALL_VERSION);
  parser.formatter(std::make_shared<HelpFormatter>("gatehallctl [OPTIONS] VERB [WORD...]"));
  parser.footer(listOfVerbs());
  const Verb* verb = nullptr;
  try {
    parser.parse(Strings(words.rbegin(), words.rend()));
    auto rest = parser.remaining();
    verb = &verbOf(rest);
    rest.erase(rest.begin());
    return answerVerb(*verb, operandsOf(*verb, std::move(rest), options), options, screen);
  } catch (const CLI::CallForHelp&) {
    if (verb != nullptr) return {ExitStatus::Done, helpFor(*verb), {}};
    const auto rest = parser.remaining();
    if (rest.empty()) return {ExitStatus::Done, parser.help(), {}};
    verb = verbNamed(rest.front());
    if (verb == nullptr) return wrongUsage("unknown verb '" + rest.front() + "'");
    return {ExitStatus::Done, helpFor(*verb), {}};
  } catch (const CLI::CallForVersion& version) {
    return {ExitStatus::Done, std::string(version.what()) + "\n", {}};
  } catch (const CLI::ParseError& error) {
    return wrongUsage(error.what());
  } catch (const UsageError& error) {
    return wrongUsage(error.what());
  } catch (const WorldError& error) {
    return {ExitStatus::WrongUsage, {}, line(error.what())};
  }
}

}  // namespace gatehall::ctl
