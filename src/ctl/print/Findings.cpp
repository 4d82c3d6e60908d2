#include "ctl/print/Findings.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace gatehall::ctl {

namespace {

/// What a narrow terminal holds behind the severity.
constexpr std::size_t kLongestLine = 70;

std::string severityName(Finding::Severity severity) {
  return severity == Finding::Severity::Error ? "error" : "warning";
}

bool isError(const Finding& finding) { return finding.severity == Finding::Severity::Error; }

Json numberOrNull(std::uint64_t number) { return number == 0 ? Json() : Json(number); }

Json textOrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

}  // namespace

std::string placeText(const Finding& finding) {
  auto text = finding.file;
  if (finding.line != 0) text += ":" + std::to_string(finding.line);
  if (finding.column != 0) text += ":" + std::to_string(finding.column);
  return finding.path.empty() ? text : text + " " + finding.path;
}

Json findingsJson(const std::vector<Finding>& findings) {
  auto list = Json::array();
  for (const auto& finding : findings) {
    list.push_back({{"severity", severityName(finding.severity)},
                    {"file", textOrNull(finding.file)},
                    {"line", numberOrNull(finding.line)},
                    {"text", finding.text},
                    {"remedy", textOrNull(finding.remedy)},
                    {"column", numberOrNull(finding.column)},
                    {"path", textOrNull(finding.path)}});
  }
  return list;
}

Table findingsTable(const std::vector<Finding>& findings) {
  Table table;
  if (findings.empty()) {
    table.count = "nothing is wrong";
    return table;
  }
  table.header = {"SEVERITY", "FINDING"};
  table.fits = {Fit::Whole, Fit::Wrap};
  for (const auto& finding : findings) {
    Cell severity{severityName(finding.severity), Tone::Bad};
    for (auto& line : linesOf(finding.text, kLongestLine)) {
      table.rows.push_back({std::exchange(severity, {}), {std::move(line)}});
    }
    for (const auto& more : {placeText(finding), finding.remedy}) {
      if (more.empty()) continue;
      for (const auto& line : linesOf(more, kLongestLine - 2)) {
        table.rows.push_back({{}, {"  " + line}});
      }
    }
  }
  const auto errors = static_cast<std::size_t>(std::ranges::count_if(findings, isError));
  table.count = countText(errors, "error") + ", " + countText(findings.size() - errors, "warning");
  return table;
}

ExitStatus statusOf(const std::vector<Finding>& findings) {
  if (findings.empty()) return ExitStatus::Done;
  return std::ranges::any_of(findings, isError) ? ExitStatus::WrongUsage : ExitStatus::No;
}

}  // namespace gatehall::ctl
