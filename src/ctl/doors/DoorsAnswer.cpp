#include "ctl/doors/DoorsAnswer.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "ctl/doors/DoorFindings.h"
#include "ctl/print/Findings.h"
#include "ctl/print/Table.h"

namespace gatehall::ctl {

namespace {

Tone toneOf(const DoorState& door) {
  if (!door.unreadable.empty()) return Tone::Bad;
  if (door.passage.guard == pam::Guard::Shut) return Tone::Plain;
  return door.passage.guard == pam::Guard::Guarded ? Tone::Good : Tone::Bad;
}

bool isGuarded(const DoorState& door) {
  return door.unreadable.empty() && door.passage.guard == pam::Guard::Guarded;
}

Table doorsTable(const std::vector<DoorState>& doors) {
  Table table{.header = {"DOOR", "GUARDED", "BY"}};
  for (const auto& door : doors) {
    std::string lines;
    for (const auto& line : door.guards) {
      if (!lines.empty()) lines += ", ";
      lines += textOf(line.place);
      for (const auto& word : line.words) lines.append(" ").append(word);
    }
    table.rows.push_back({{door.service},
                          {std::string(guardInWords(door)), toneOf(door)},
                          {lines.empty() ? "-" : lines}});
  }
  const auto guarded = static_cast<std::size_t>(std::ranges::count_if(doors, isGuarded));
  table.count = std::to_string(guarded) + " of " + countText(doors.size(), "door") + " guarded";
  return table;
}

}  // namespace

Json doorJson(const DoorState& door) {
  auto modules = Json::array();
  for (const auto& line : door.guards) {
    modules.push_back({{"file", line.place.file.empty() ? Json() : Json(line.place.file)},
                       {"line", line.place.line == 0 ? Json() : Json(line.place.line)},
                       {"arguments", line.words}});
  }
  return {{"service", door.service},
          {"guarded", guardInWords(door)},
          {"file", door.stack.file.empty() ? Json() : Json(door.stack.file)},
          {"modules", std::move(modules)}};
}

Answer answerAbout(const std::vector<DoorState>& doors, const std::vector<Finding>& findings) {
  auto list = Json::array();
  for (const auto& door : doors) list.push_back(doorJson(door));
  return {.json = {{"doors", std::move(list)}, {"findings", findingsJson(findings)}},
          .tables = {doorsTable(doors), findingsTable(findings)},
          .status = statusOf(findings)};
}

Answer answerAboutDoors(const HostOptions& options) {
  const auto doors = doorsOfMachine(options);
  return answerAbout(doors, findingsOfDoors(options, doors));
}

}  // namespace gatehall::ctl
