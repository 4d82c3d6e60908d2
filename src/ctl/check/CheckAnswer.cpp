#include "ctl/check/CheckAnswer.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "accounts/Accounts.h"
#include "ctl/check/AccessFindings.h"
#include "ctl/check/AccountFindings.h"
#include "ctl/check/AdminFindings.h"
#include "ctl/check/DirectoryFindings.h"
#include "ctl/check/FileFindings.h"
#include "ctl/check/ListFindings.h"
#include "ctl/check/SettingsFindings.h"
#include "ctl/check/WorldFindings.h"
#include "ctl/doors/DoorFindings.h"
#include "ctl/doors/DoorsAnswer.h"
#include "ctl/print/Findings.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/world/json/WorldError.h"
#include "world/file/WorldFile.h"
#include "world/json/TextFile.h"

namespace gatehall::ctl {

namespace {

/// Runs one subject's check. One that fails is a finding itself.
template <class Check>
void add(std::vector<Finding>& findings, Check check) {
  try {
    std::ranges::move(check(), std::back_inserter(findings));
  } catch (const PlatformException& failure) {
    findings.push_back(
        {Finding::Severity::Error, "", 0, failure.what(), "Mend what it names, and check again."});
  }
}

/// What the host logged and no finding says.
Strings loggedBesides(const Host& host, const std::vector<Finding>& findings) {
  Strings texts;
  for (const auto& entry : host.log().entries()) {
    const bool isTold = std::ranges::any_of(findings, [&](const Finding& finding) {
      return entry.text.find(finding.text) != std::string::npos;
    });
    const auto text = "logged: " + entry.text;
    if (!isTold && std::ranges::find(texts, text) == texts.end()) texts.push_back(text);
  }
  return texts;
}

/// What the world's policy makes of its people. Where a fault is asked for, it is what was to be
/// tried.
std::vector<Finding> findingsOfPeople(const std::string& file, const Policy& policy,
                                      Strings& messages) {
  const Host host({.world = file}, Trace::Keeps::LastOperation);
  if (!host.world()->faults().empty()) return {};
  auto findings = findingsOfLists(policy, messages);
  const auto accounts = allAccounts();
  if (!accounts.empty()) {
    add(findings, [&] { return findingsOfAdministrators(host, accounts); });
  }
  return findings;
}

std::vector<Finding> findingsOfFile(const std::string& file, Strings& messages) {
  std::vector<Finding> findings;
  try {
    const auto text = readTextFile(file);
    std::vector<JsonFault> faults;
    const JsonSource source{file, text, &faults};
    std::vector<Finding> surprises;
    Policy policy;
    source.attempt([&] {
      const auto tree = parseJson(source);
      const JsonCursor root(source, tree);
      worldFromJson(root);
      surprises = findingsOfWorld(source, root, policy);
    });
    findings = findingsOfFaults(source);
    std::ranges::move(surprises, std::back_inserter(findings));
    if (faults.empty()) {
      add(findings, [&] { return findingsOfPeople(file, policy, messages); });
    }
  } catch (const WorldError& error) {
    std::string text(error.what());
    const auto name = file + ": ";
    if (text.starts_with(name)) text.erase(0, name.size());
    findings.push_back({Finding::Severity::Error, file, 0, std::move(text), "Name a world file."});
  }
  std::ranges::stable_sort(
      findings, {}, [](const Finding& finding) { return std::pair(finding.line, finding.column); });
  return findings;
}

}  // namespace

Answer answerAboutWorlds(const Strings& files) {
  Answer answer;
  std::vector<Finding> findings;
  for (const auto& file : files) {
    std::ranges::move(findingsOfFile(file, answer.messages), std::back_inserter(findings));
  }
  answer.json = {{"doors", Json::array()}, {"findings", findingsJson(findings)}};
  answer.tables = {findingsTable(findings)};
  answer.status = statusOf(findings);
  return answer;
}

Answer answerAboutMachine(const Host& host) {
  const auto& options = host.options();
  Strings messages;
  Policy policy;
  std::vector<Finding> findings;
  add(findings, [&] { return findingsOfSettings(options, policy); });
  add(findings, [&] { return findingsOfLists(policy, messages); });
  add(findings, [&] { return findingsOfAccounts(options, messages); });
  add(findings, [&] { return findingsOfFiles(options); });
  add(findings, [&] { return findingsOfSettingsFiles(options); });
  add(findings, [&] { return findingsOfDirectories(options, host.networkNodes()); });
  add(findings, [&] { return findingsOfAccessGroup(options, messages); });
  std::vector<MissingAccounts> missing;
  const auto accounts = allAccounts(&missing);
  add(findings, [&] { return findingsOfHiddenAccounts(accounts); });
  if (missing.empty()) {
    add(findings, [&] { return findingsOfAdministrators(host, accounts); });
  } else {
    messages.push_back("which administrators may log in was not looked at: " + missing.front().why);
  }
  const auto doors = doorsOfMachine(options);
  add(findings, [&] { return findingsOfDoors(options, doors); });
  // Errors first; else by subject, as looked at.
  std::ranges::stable_partition(findings, [](const Finding& finding) {
    return finding.severity == Finding::Severity::Error;
  });
  auto answer = answerAbout(doors, findings);
  answer.messages = std::move(messages);
  std::ranges::move(loggedBesides(host, findings), std::back_inserter(answer.messages));
  answer.tellsLog = true;
  return answer;
}

}  // namespace gatehall::ctl
