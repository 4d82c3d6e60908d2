#include "ctl/doors/DoorFindings.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace gatehall::ctl {

namespace {

using pam::Guard;
using Severity = Finding::Severity;

const std::string kGuard(kGuardModule);

Finding finding(Severity severity, const pam::Place& place, std::string text, std::string remedy) {
  return {severity, place.file, place.line, std::move(text), std::move(remedy)};
}

/// "login", "login and sshd", "login, sddm and sshd".
std::string listed(const Strings& services) {
  std::string text;
  for (std::size_t index = 0; index < services.size(); ++index) {
    if (index > 0) text += index + 1 < services.size() ? ", " : " and ";
    text += services[index];
  }
  return text;
}

Finding notGuarded(const Strings& services, const DoorState& door) {
  const bool isOne = services.size() == 1;
  const auto text = listed(services) + (isOne ? " isn't" : " aren't") + " guarded: ";
  if (!door.idle.empty()) {
    const std::string them = isOne ? "it" : "them";
    return finding(
        Severity::Warning, door.idle.front().place, text + kGuard + " leaves " + them + " out",
        "Name " + them + " in services= there, if the login rules are to hold at " + them + ".");
  }
  return finding(
      Severity::Warning, {door.stack.file, 0},
      text + (isOne ? "its account stack has no " : "their account stacks have no ") + kGuard,
      "Run \"pam-auth-update --enable gatehall\" (package libpam-gatehall).");
}

Finding partlyGuarded(const Strings& services, const DoorState& door) {
  const auto& [entry, answer, isPassedBy] = *door.passage.gap;
  const bool isOne = services.size() == 1;
  auto text = listed(services) + (isOne ? " isn't" : " aren't") + " guarded for everybody: ";
  const std::string result(answer);
  if (isPassedBy) {
    return finding(Severity::Warning, entry.place,
                   text + entry.module + " (" + result + ") passes it by",
                   "Put " + kGuard + " in front of that line.");
  }
  if (entry.module == kGuardModule) {
    return finding(Severity::Warning, entry.place, text + "a refusal (" + result + ") is ignored",
                   "Make " + kGuard + " \"requisite\" there.");
  }
  return finding(Severity::Warning, entry.place,
                 text + entry.module + " (" + result + ") outdoes it",
                 "Make " + kGuard + " \"requisite\", in front of that line.");
}

/// The same for doors that one line, or the same lack of one, leaves unguarded.
std::string causeOf(const DoorState& door) {
  if (!door.unreadable.empty()) return door.service;
  if (door.passage.guard == Guard::NotGuarded) {
    return door.idle.empty() ? std::string() : textOf(door.idle.front().place);
  }
  if (door.passage.guard != Guard::Partly) return door.service;
  const auto& gap = *door.passage.gap;
  return textOf(gap.entry.place).append(" ").append(gap.answer);
}

std::optional<Finding> findingFor(const Strings& services, const DoorState& door) {
  if (!door.unreadable.empty()) {
    return finding(Severity::Error, {}, door.service + " can't be told of: " + door.unreadable,
                   "Mend what PAM's configuration says there.");
  }
  switch (door.passage.guard) {
    case Guard::NotGuarded:
      return notGuarded(services, door);
    case Guard::Partly:
      return partlyGuarded(services, door);
    case Guard::Shut:
      // Where modules shut it, somebody meant it.
      if (door.stack.fault.empty()) return std::nullopt;
      return finding(Severity::Error, {}, door.service + " lets nobody in: " + door.stack.fault,
                     "Mend what PAM's configuration says there.");
    case Guard::Guarded:
      break;
  }
  return std::nullopt;
}

}  // namespace

std::optional<Finding> findingAt(const DoorState& door) { return findingFor({door.service}, door); }

std::vector<Finding> findingsOfDoors(const HostOptions& options,
                                     const std::vector<DoorState>& doors) {
  std::vector<Finding> findings;
  std::map<std::string, Strings> services;
  for (const auto& door : doors) services[causeOf(door)].push_back(door.service);
  for (const auto& door : doors) {
    const auto& sharing = services[causeOf(door)];
    if (sharing.front() != door.service) continue;
    if (auto found = findingFor(sharing, door)) findings.push_back(std::move(*found));
  }
  std::set<std::string> told;
  for (const auto& door : doors) {
    for (const auto& file : door.stack.untrusted) {
      if (!told.insert(file.file).second) continue;
      findings.push_back(finding(Severity::Error, {file.file, 0},
                                 "the file " + file.reason + ", who so decide who gets in",
                                 "Run \"chown root:root\" and \"chmod 644\" on it."));
    }
    for (const auto* lines : {&door.guards, &door.idle}) {
      for (const auto& line : *lines) {
        const auto arguments = argumentsOf(line);
        if (arguments.fault == nullptr || !told.insert(textOf(line.place)).second) continue;
        findings.push_back(finding(Severity::Error, line.place,
                                   "\"" + std::string(arguments.faulty) + "\" " + arguments.fault,
                                   "Mend the line: until then only administrators get in, where "
                                   "they sit at the machine."));
      }
    }
  }
  for (const auto& [service, place] : servicesWithoutFile(options, doors)) {
    findings.push_back(finding(Severity::Warning, place,
                               "services= names " + service + ", which has no file",
                               "Correct the name, or leave it out."));
  }
  return findings;
}

}  // namespace gatehall::ctl
