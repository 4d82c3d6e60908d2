#include "ctl/verbs/Verbs.h"
#include "gatehall/access/USPrefs.h"

namespace gatehall::ctl {

namespace {

Json listJson(const std::optional<Array>& list) { return list ? toJson(Value(*list)) : Json(); }

template <class Answer, class ToJson>
void add(Json& json, const char* name, Answer (*accessor)(PreferenceSource*), ToJson toJson) {
  PreferenceSource source{};
  const auto value = toJson(accessor(&source));
  json[name] = {{"value", value}, {"source", description(source)}};
}

Json prefsJson() {
  Json json;
  const auto flag = [](bool value) { return Json(value); };
  add(json, "allowedList", USPrefs::allowedList, listJson);
  add(json, "deniedList", USPrefs::deniedList, listJson);
  add(json, "hiddenUsersList", USPrefs::hiddenUsersList, listJson);
  add(json, "hide500Users", USPrefs::hide500Users, flag);
  add(json, "localUserLoginEnabled", USPrefs::localUserLoginEnabled, flag);
  add(json, "showAdminUsers", USPrefs::showAdminUsers, flag);
  add(json, "showLocalUsers", USPrefs::showLocalUsers, flag);
  add(json, "showMobileHomeUsers", USPrefs::showMobileHomeUsers, flag);
  add(json, "showNetworkUsers", USPrefs::showNetworkUsers, flag);
  return json;
}

Answer run(const Host&, const Request&) {
  Answer answer{.json = prefsJson(), .tables = {{.header = {"PREFERENCE", "VALUE", "SOURCE"}}}};
  for (const auto& [name, entry] : answer.json.items()) {
    answer.tables.front().rows.push_back(
        {{name}, {cellText(entry.at("value"))}, {cellText(entry.at("source"))}});
  }
  return answer;
}

}  // namespace

Verb prefsVerb() {
  return {
      .name = "prefs",
      .summary = "The login screen's preferences, and where each comes from",
      .description =
          R"(Shows each preference of the login screen with its source: "managed" settings override the
"preferences" of the user and the system; otherwise the "default" holds.)",
      .example = "--world examples/managed.world.json prefs",
      .run = run,
  };
}

}  // namespace gatehall::ctl
