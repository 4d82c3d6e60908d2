#include <algorithm>
#include <utility>

#include "ctl/policy/ListedNames.h"
#include "ctl/policy/PolicyShown.h"
#include "ctl/policy/PolicyWriting.h"
#include "ctl/verbs/Verbs.h"
#include "linux/preferences/PolicyFileContent.h"

namespace gatehall::ctl {

namespace {

std::vector<CommentedText> entriesOf(const Host& host, const Strings& names) {
  std::vector<CommentedText> entries;
  for (const auto& name : names) entries.push_back(listEntryOf(host, name));
  return entries;
}

/// As they stand on a list already, even if nobody goes by them any more.
std::vector<CommentedText> entriesToTakeOff(const Host& host, const Strings& names) {
  constexpr std::size_t kGUIDLength = 36;
  std::vector<CommentedText> entries;
  for (const auto& name : names) {
    const bool isGUID = name.size() == kGUIDLength && std::ranges::count(name, '-') == 4;
    entries.push_back(isGUID ? CommentedText{.text = name} : listEntryOf(host, name));
  }
  return entries;
}

void set(const Host& host, const Strings& words, SettingsChange& change) {
  const auto key = settingNamed(words.front());
  const Strings values(words.begin() + 1, words.end());
  switch (kindOfSetting(key)) {
    case SettingKind::Boolean:
      change.setBoolean(key, values);
      break;
    case SettingKind::GUIDs:
      change.setList(key, entriesOf(host, values));
      break;
    case SettingKind::Names: {
      std::vector<CommentedText> entries;
      for (const auto& value : values) entries.push_back({.text = value});
      change.setList(key, entries);
      break;
    }
  }
}

/// How an action's words change a file.
std::function<void(SettingsChange&)> changeOf(const Host& host, const std::string& action,
                                              const Strings& words) {
  const auto need = [&](std::string_view what) {
    if (words.empty())
      throw UsageError("policy " + action + ": " + std::string(what) + " is missing");
  };
  if (action == "allow" || action == "deny" || action == "remove") need("NAME");
  if (action == "allow") {
    return [&host, words](SettingsChange& change) { change.allow(entriesOf(host, words)); };
  }
  if (action == "deny") {
    return [&host, words](SettingsChange& change) { change.deny(entriesOf(host, words)); };
  }
  if (action == "remove") {
    return
        [&host, words](SettingsChange& change) { change.takeOff(entriesToTakeOff(host, words)); };
  }
  if (action == "set") {
    need("KEY");
    return [&host, words](SettingsChange& change) { set(host, words, change); };
  }
  if (action == "reset") return [words](SettingsChange& change) { change.reset(words); };
  throw UsageError("policy " + action + ": there are show, allow, deny, remove, set and reset");
}

Answer run(const Host& host, const Request& request) {
  const auto& action = request.operands.front();
  const Strings words(request.operands.begin() + 1, request.operands.end());
  if (action == "show") {
    if (!words.empty()) throw UsageError("'" + words.front() + "' is one word too many");
    return policyShown(host);
  }
  auto change = changeOf(host, action, words);
  const bool isForced = request.has("--force");
  return policyWritten(host, request,
                       {.ofPreferences = request.has("--preferences"),
                        .isDryRun = request.has("--dry-run"),
                        .isForced = isForced,
                        .startsAnew = action == "reset" && words.empty() && isForced,
                        .change = std::move(change)});
}

}  // namespace

Verb policyVerb() {
  return {
      .name = "policy",
      .operands = Verb::Operands::OneOrMore,
      .operandName = "WORD",
      .options = {{"--preferences", "",
                   "Change the machine's preferences, which users' own override"},
                  {"--dry-run", "", "Show what would change for whom, and write nothing"},
                  {"--force", "", "Write it whoever it shuts out"}},
      .summary = "Shows and changes the files that hold the policy",
      .description =
          R"(policy show: the files that hold settings, in the order in which they decide, and what each
says; GUIDs have names beside them.

policy allow NAME..., policy deny NAME...: puts users and groups on the AllowList or the DenyList,
as GUIDs with the name as a comment, and takes them off the other one. A NAME is a login name, a
user id, a GUID, a group's name, or "*" for everybody. policy remove NAME... takes them off both.
policy set KEY VALUE...: sets a setting, to yes or no or to a list. policy reset [KEY...]: takes
these settings out of the file, or all.

What is changed is the managed file, /etc/gatehall/managed/com.orvane.gatehall.plist, which binds
everybody; with --preferences that of the machine's preferences, /etc/gatehall/
com.orvane.gatehall.plist. Comments and what else stands in it are kept; a comment on the line of
an entry goes with it, one on a line of its own stays. A binary list becomes XML. A managed file at
the old place, /Library/Managed Preferences, is taken over by the first change. Before anything is
written it is shown for whom it changes what, as compare does. What would shut you out, or what
can't be known not to, is refused without --force, and so is a file that can't be used: reset
--force replaces it by an empty one. A world is never written: try --dry-run. Only root may write,
and under --root the folder's owner.

Exit status 1 when a change is refused, and of show when a file that counts can't be used.)",
      .example = "--world examples/managed.world.json policy show",
      .run = run,
  };
}

}  // namespace gatehall::ctl
