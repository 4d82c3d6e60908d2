#include "ctl/Help.h"

#include <array>
#include <string_view>

#include "ctl/print/Table.h"
#include "ctl/verbs/Verbs.h"

namespace gatehall::ctl {

namespace {

constexpr std::size_t kColumns = 80;

/// A paragraph in lines that fit; lines that begin with two blanks stand as they are.
std::string paragraphs(std::string_view text) {
  std::string result;
  std::string paragraph;
  const auto flush = [&] {
    if (paragraph.empty()) return;
    for (const auto& line : linesOf(paragraph, kColumns)) result += line + '\n';
    paragraph.clear();
  };
  while (!text.empty()) {
    const auto line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (line.empty() || line.starts_with("  ")) {
      flush();
      result.append(line) += '\n';
    } else {
      if (!paragraph.empty()) paragraph += ' ';
      paragraph += line;
    }
  }
  flush();
  return result;
}

/// "[--at SERVICE]", "GUID...".
Strings wordsAfter(const Verb& verb) {
  Strings words;
  const std::string operand(verb.operandName);
  switch (verb.operands) {
    case Verb::Operands::None:
      break;
    case Verb::Operands::One:
      words = {operand};
      break;
    case Verb::Operands::Any:
      words = {"[" + operand + "...]"};
      break;
    case Verb::Operands::OneOrMore:
      words = {operand + "..."};
      break;
    case Verb::Operands::AnyWords:
      words = {"[--]", "[" + operand + "...]"};
      break;
  }
  for (const auto& [option, value, help] : verb.options) {
    words.push_back("[" + option + (value.empty() ? "]" : " " + value + "]"));
  }
  return words;
}

std::string usage(const Verb& verb) {
  std::string text = "Usage: gatehallctl [OPTIONS] " + std::string(verb.name);
  const std::string indent(text.size(), ' ');
  std::size_t length = text.size();
  for (const auto& word : wordsAfter(verb)) {
    if (length + 1 + word.size() > kColumns) {
      text += '\n' + indent;
      length = indent.size();
    }
    text += ' ' + word;
    length += 1 + word.size();
  }
  return text + "\n";
}

std::string list(const std::string& title, const std::vector<std::array<std::string, 2>>& entries) {
  Table table{.fits = {Fit::Whole, Fit::Wrap}};
  for (const auto& [name, help] : entries) table.rows.push_back({{"  " + name}, {help}});
  return "\n" + title + ":\n" + tableText(table, {.columns = kColumns});
}

std::string list(const std::string& title, std::span<const Verb::Option> options) {
  std::vector<std::array<std::string, 2>> entries;
  for (const auto& option : options) {
    auto name = (option.name == "--help" ? "-h, " : "") + option.name;
    if (!option.valueName.empty()) name += " " + option.valueName;
    entries.push_back({std::move(name), option.help});
  }
  return list(title, entries);
}

}  // namespace

std::span<const Verb::Option> generalOptions() {
  static const std::array<Verb::Option, 7> options = {{
      {"--world", "FILE", "Look at the machine that this world file describes"},
      {"--root", "DIR", "Look at the machine whose files stand under this folder"},
      {"--json", "", "Answer with one JSON document"},
      {"--trace", "", "Also show every operation asked of the host"},
      {"--wide", "", "Print tables whole, with GUIDs, however wide they are"},
      {"--no-legend", "", "Print tables without headers and counts"},
      {"--help", "", "Show this help"},
  }};
  return options;
}

std::string helpText() {
  std::string text =
      "Shows who may log in and why, who is shown, and what a switch would do.\n\n"
      "Usage: gatehallctl [OPTIONS] VERB [WORD...]\n";
  std::vector<Verb::Option> options(generalOptions().begin(), generalOptions().end());
  options.push_back({"--version", "", "Show the version"});
  text += list("Options", options);
  std::vector<std::array<std::string, 2>> names;
  for (const auto& verb : verbs()) {
    names.push_back({std::string(verb.name), std::string(verb.summary)});
  }
  text += list("Verbs", names);
  return text + paragraphs(R"(
Each verb has its own help: gatehallctl VERB --help.

Exit status: 0 done; 1 the answer is no; 2 the command line or a file is wrong; 3 the host
failed to answer.
)");
}

std::string helpText(const Verb& verb) {
  auto text = paragraphs(verb.description) + "\n" + usage(verb);
  if (!verb.options.empty()) text += list("Options", verb.options);
  text += list("Options of every verb", generalOptions());
  return text + "\nExample:\n  gatehallctl " + std::string(verb.example) + "\n";
}

}  // namespace gatehall::ctl
