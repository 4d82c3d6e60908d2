#include "ctl/policy/PolicyWriting.h"

#include <algorithm>
#include <map>
#include <optional>
#include <unistd.h>
#include <utility>

#include "ctl/compare/Machines.h"
#include "ctl/policy/Callers.h"
#include "ctl/policy/ListedNames.h"
#include "ctl/print/TerminalText.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/Platform.h"
#include "linux/files/OwnedFile.h"
#include "linux/files/PolicyFile.h"
#include "linux/preferences/SettingsFiles.h"
#include "portable/formats/PropertyList.h"
#include "portable/formats/PropertyListWriter.h"
#include "world/WorldPreferences.h"

namespace gatehall::ctl {

namespace {

/// The file to be written, and what it goes on from.
struct Target {
  std::string path;
  std::optional<std::string> content{};  ///< that stands there; absent: there is none
  std::string beginning{};               ///< what the change is made of
  Strings remarks{};
};

/// The content of a file without a fault; absent when there is none. Raises PlatformException.
std::optional<std::string> usableContent(const Host& host, const std::string& path) {
  FaultLog faults(host.log());
  if (!readPolicySettings(host.options(), path, faults)) return std::nullopt;
  return readPolicyFile(host.options(), path, kLargestPropertyList);
}

Target targetInWorld(const Target& target) {
  auto result = target;
  const auto managed = platform().propertyLists().readPropertyList(
      WorldPropertyLists::managedPath(kLoginScreenDomain));
  if (managed && managed->dictionary() != nullptr) result.beginning = propertyListText(*managed);
  return result;
}

Target targetOf(const Host& host, const PolicyWriting& writing) {
  const auto places = managedPlaces(kLoginScreenDomain);
  Target target{.path = writing.ofPreferences ? machinePreferencesFile(kLoginScreenDomain)
                                              : places.front()};
  if (host.world() != nullptr) return targetInWorld(target);
  if (writing.startsAnew) return target;
  target.content = usableContent(host, target.path);
  target.beginning = target.content.value_or("");
  if (writing.ofPreferences || target.content) return target;
  if (auto old = usableContent(host, places.back())) {
    target.beginning = std::move(*old);
    target.remarks.push_back(target.path + " takes over what " + places.back() +
                             " says, which counts no longer then");
  }
  return target;
}

/// Tells the change of the lists that hold now and that a list in the managed file would hide.
void inherit(const Host& host, SettingsChange& change) {
  for (const auto* key : {"AllowList", "DenyList"}) {
    const auto value = platform().preferences().copyApplicationValue(key, kLoginScreenDomain);
    const auto* list = value ? value->array() : nullptr;
    if (list == nullptr) continue;
    std::vector<CommentedText> entries;
    for (const auto& each : *list) {
      const auto entry = each.description();
      entries.push_back({.text = entry, .comment = nameOfEntry(host, entry).value_or("")});
    }
    change.inherit(key, entries, "the preferences");
  }
}

void requireRights(const Host& host, const std::string& path) {
  if (host.world() != nullptr) {
    throw UsageError("a world's file is never written: try --dry-run");
  }
  const auto owner = systemOwner(host.options());
  if (geteuid() == 0 || geteuid() == owner) return;
  throw UsageError(owner == 0 ? "only root may write " + path + ": try sudo, or --dry-run"
                              : "only user " + std::to_string(owner) + " and root may write " +
                                    path + ": try --dry-run");
}

/// What the managed file hides of the one that is written, a sentence each.
Strings hiddenBy(const Host& host, const PolicyWriting& writing, const Json& changes) {
  Strings remarks;
  if (host.world() != nullptr) return remarks;
  const auto files = settingsFiles(host.options(), kLoginScreenDomain, platform().directory(),
                                   platform().process().effectiveUserID());
  for (const auto& change : changes) {
    const auto key = change.at("key").get<std::string>();
    const auto* file = fileOfSetting(files, key);
    if (file == nullptr || change.at("after").is_null()) continue;
    const bool isManaged = file->kind == SettingsFile::Kind::Managed;
    if (writing.ofPreferences && isManaged) {
      remarks.push_back(key + " has no effect: " + file->path + " sets it, too, and wins");
    } else if (!writing.ofPreferences && !isManaged) {
      remarks.push_back(key + " of " + file->path + " counts no longer then");
    }
  }
  return remarks;
}

std::map<std::string, std::string> namesIn(const Host& host, const Json& changes) {
  std::map<std::string, std::string> names;
  for (const auto& change : changes) {
    if (kindOfSetting(change.at("key").get<std::string>()) != SettingKind::GUIDs) continue;
    for (const auto* when : {"before", "after"}) {
      if (!change.at(when).is_array()) continue;
      for (const auto& each : change.at(when)) {
        if (!each.is_string()) continue;
        const auto& entry = each.get_ref<const std::string&>();
        const auto name = nameOfEntry(host, entry);
        if (name) names.emplace(entry, *name + (entry == "*" ? "" : ", " + entry));
      }
    }
  }
  return names;
}

/// Shows what there is to be seen before something is written; false when that isn't possible.
bool show(const std::vector<Table>& tables, const Strings& messages, const Request& request) {
  std::string text;
  for (const auto& table : tables) {
    const auto rows = tableText(table, request.style);
    if (!rows.empty()) text.append(rows).append("\n");
  }
  for (const auto& message : messages) text.append(forTerminal(message).text).append("\n");
  return request.screen.write(text);
}

Answer unusable(const std::string& why) {
  return {.json = {{"refused", why}, {"written", false}},
          .status = ExitStatus::WrongUsage,
          .messages = {
              why,
              "nothing is written: set that right first; a file that is itself at fault can be "
              "replaced by an empty one: policy reset --force"}};
}

}  // namespace

Answer policyWritten(const Host& host, const Request& request, const PolicyWriting& writing) {
  if (host.world() != nullptr && writing.ofPreferences) {
    throw UsageError("of a world only the managed file can be tried");
  }
  Target target;
  std::optional<SettingsChange> change;
  try {
    target = targetOf(host, writing);
    if (!writing.isDryRun) requireRights(host, target.path);
    change.emplace(target.beginning);
    if (!writing.ofPreferences && !writing.startsAnew) inherit(host, *change);
  } catch (const PlatformException& unusableFile) {
    return unusable(unusableFile.what());
  }
  try {
    writing.change(*change);
  } catch (const MalformedPropertyList& unusableValue) {
    return unusable(target.path + ": " + unusableValue.what());
  }

  Machine after{.name = ".", .source = host.source()};
  after.source.overlay.files.insert_or_assign(target.path, change->content());
  auto answer = answerFrom(comparedPairs(
      {{.before = {.name = ".", .source = host.source()}, .after = after}}, request.screen));
  const auto changes = change->json();
  const auto refusal = answer.json["machines"][0].contains("error")
                           ? Refusal{"there is no telling whom it shuts out", true}
                           : whyShutOut(callers(host), host.source(), after.source);
  const bool isSettled = refusal.why.empty() || writing.isForced;

  Json json{{"file", target.path}, {"changes", changes}, {"remarks", target.remarks}};
  for (const auto& remarks : {change->remarks(), hiddenBy(host, writing, changes)}) {
    for (const auto& each : remarks) json["remarks"].push_back(each);
  }
  for (const auto& each : json["remarks"]) answer.messages.push_back(each.get<std::string>());
  json.update(answer.json);
  json["refused"] = isSettled ? Json() : Json(refusal.why);
  json["written"] = false;
  answer.json = std::move(json);
  answer.tables.insert(answer.tables.begin(), change->table(namesIn(host, changes)));
  answer.status = ExitStatus::Done;

  const bool isSame = target.content == change->content();
  if (!isSettled) {
    answer.status = refusal.isUnknown ? ExitStatus::HostFailure : ExitStatus::No;
    answer.messages.push_back("nothing is written: " + refusal.why +
                              "; --force writes it all the same");
  } else if (isSame) {
    answer.messages.push_back(target.path + " says so already");
  } else if (!writing.isDryRun) {
    if (!request.json &&
        !show(std::exchange(answer.tables, {}), std::exchange(answer.messages, {}), request)) {
      throw PlatformException("nothing is written: what it changes can't be shown");
    }
    replacePolicyFile(host.options(), target.path, change->content(),
                      writing.startsAnew ? nullptr : &target.content);
    answer.json["written"] = true;
    answer.tables = {{.rows = {{{target.path + " is written"}}}}};
  }
  return answer;
}

}  // namespace gatehall::ctl
