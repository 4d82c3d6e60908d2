#include <algorithm>
#include <utility>

#include "ctl/compare/Changes.h"
#include "ctl/compare/Machines.h"
#include "ctl/verbs/Verbs.h"

namespace gatehall::ctl {

namespace {

std::vector<MachinePair> pairsOf(const Host& host, const Request& request, const Overlay& overlay) {
  auto operands = request.operands;
  std::vector<MachinePair> pairs;
  if (!overlay.isEmpty()) {
    if (operands.empty()) operands.emplace_back(".");
    for (const auto& operand : operands) {
      auto before = machineOf(host, operand);
      auto after = before;
      after.source.overlay = overlay;
      pairs.push_back({std::move(before), std::move(after)});
    }
    return pairs;
  }
  if (operands.empty()) throw UsageError("MACHINE is missing");
  if (operands.size() == 1) operands.insert(operands.begin(), ".");
  if (operands.size() > 2) {
    throw UsageError("'" + operands[2] +
                     "' is one word too many: two machines are compared, or any number with what "
                     "--with-managed and --with-group make of them");
  }
  pairs.push_back({machineOf(host, operands[0]), machineOf(host, operands[1])});
  return pairs;
}

Answer run(const Host& host, const Request& request) {
  auto changes = changesOf(request);
  auto answer = answerFrom(comparedPairs(pairsOf(host, request, changes.overlay), request.screen));
  std::ranges::move(changes.remarks, std::back_inserter(answer.messages));
  return answer;
}

}  // namespace

Verb compareVerb() {
  return {
      .name = "compare",
      .operands = Verb::Operands::Any,
      .operandName = "MACHINE",
      .options = {{"--with-managed", "FILE",
                   "Compare each machine with itself under this managed file"},
                  {"--with-group", "NAME=USER,...",
                   "Compare each machine with itself where the group has these members"}},
      .summary = "Who gains or loses login between machines, or by a policy",
      .description =
          R"(Compares two machines, each a world file, a folder with a machine's files, or "." for this one
(the one that --world or --root names); with one operand this machine with that one. Shows every
account of which not the same becomes: who may log in and may not on the other, whose rule or
whose setting's source is another, who appears on the login screen's list and who disappears from
it. Accounts are the same that have the same GUID, else the same node and name.

With --with-managed, the property list FILE stands in the place of the machine's managed file;
with --with-group, the group has those members and no others, by login names (none behind the "=":
nobody), and is made if there is none; it may be given several times. Each of any number of
machines, this one without operands, is then compared with itself so changed. Nothing of any
machine is written.

Exit status 1 when somebody differs; 2 when a file can't be used; 3 when a machine failed or there
is no telling what becomes of somebody.)",
      .example = "--world examples/kiosk.world.json compare --with-group gatehall-access=ann",
      .run = run,
  };
}

}  // namespace gatehall::ctl
