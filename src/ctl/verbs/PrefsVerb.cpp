#include <cstddef>
#include <string>
#include <utility>

#include "accounts/Entries.h"
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

/// Puts the names of a list's users and groups behind it: null for who can't be found.
void addNames(Json& list) {
  const auto& value = list.at("value");
  if (!value.is_array()) return;
  Strings guids;
  for (const auto& entry : value)
    guids.push_back(entry.is_string() ? entry.get<std::string>() : "");
  auto names = Json::array();
  for (const auto& entry : entriesWithGUIDs(guids)) {
    names.push_back(entry.name.empty() ? Json() : Json(entry.name));
  }
  list["names"] = std::move(names);
}

/// "class-7 (GUID), dana (GUID)"; as cellText has it where there are no names.
std::string valueText(const Json& preference) {
  if (!preference.contains("names")) return cellText(preference.at("value"));
  auto shown = preference.at("value");
  for (std::size_t index = 0; index < shown.size(); ++index) {
    const auto& name = preference.at("names").at(index);
    if (!name.is_null()) {
      shown[index] = name.get<std::string>().append(" (").append(cellText(shown[index])) + ")";
    }
  }
  return cellText(shown);
}

Json prefsJson() {
  Json json;
  const auto flag = [](bool value) { return Json(value); };
  add(json, "allowedList", USPrefs::allowedList, listJson);
  add(json, "deniedList", USPrefs::deniedList, listJson);
  for (const auto* list : {"allowedList", "deniedList"}) addNames(json[list]);
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
  Answer answer{.json = prefsJson(),
                .tables = {{.header = {"PREFERENCE", "VALUE", "SOURCE"},
                            .fits = {Fit::Whole, Fit::Wrap, Fit::Whole}}}};
  for (const auto& [name, entry] : answer.json.items()) {
    answer.tables.front().rows.push_back(
        {{name}, {valueText(entry)}, {cellText(entry.at("source"))}});
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
"preferences" of the user and the system; otherwise the "default" holds. The allow and deny lists'
entries stand with the names of their users and groups.)",
      .example = "--world examples/managed.world.json prefs",
      .run = run,
  };
}

}  // namespace gatehall::ctl
