#include "world/script/Script.h"

#include <algorithm>

#include "world/json/TextFile.h"
#include "world/script/Events.h"

namespace gatehall {

namespace {

using scriptEvents::Kind;

constexpr double kLongestPause = 1e9;

std::vector<Kind> allKinds() {
  std::vector<Kind> kinds;
  for (const auto some : {scriptEvents::ofRecords(), scriptEvents::ofSessions(),
                          scriptEvents::ofSettings(), scriptEvents::ofMachine()}) {
    kinds.insert(kinds.end(), some.begin(), some.end());
  }
  return kinds;
}

double readSeconds(const JsonCursor& at) {
  const auto seconds = at.isInteger() ? static_cast<double>(at.integer()) : at.real().value;
  const bool isPause = seconds >= 0 && seconds <= kLongestPause;
  if (!isPause) {
    at.fail("expected a number of seconds from 0 to 1000000000");
  }
  return seconds;
}

WorldEvent readStep(const JsonCursor& at, const std::vector<Kind>& kinds,
                    std::span<const std::string_view> keys) {
  at.object(keys);
  WorldEvent step;
  if (const auto after = at.find("after")) step.after = readSeconds(*after);
  at.forEachMember([&](const std::string& key, const JsonCursor& member) {
    const auto kind = std::ranges::find(kinds, key, &Kind::name);
    if (kind == kinds.end()) return;
    if (!step.name.empty()) member.fail("a step has one event; this is its second");
    auto event = kind->read(member);
    step.name = key;
    if (!event.subject.empty()) step.name += " " + event.subject;
    step.happen = std::move(event.happen);
  });
  return step;
}

}  // namespace

std::vector<WorldEvent> readScript(const JsonSource& source) {
  const auto kinds = allKinds();
  std::vector<std::string_view> keys = {"after"};
  for (const auto& kind : kinds) keys.push_back(kind.name);
  const auto tree = parseJson(source);
  std::vector<WorldEvent> steps;
  JsonCursor(source, tree).forEachElement([&](const JsonCursor& step) {
    steps.push_back(readStep(step, kinds, keys));
  });
  return steps;
}

std::vector<WorldEvent> scriptFromFile(const std::filesystem::path& path) {
  const auto text = readTextFile(path);
  return readScript({path.string(), text});
}

}  // namespace gatehall
