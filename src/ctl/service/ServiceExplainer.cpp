#include "ctl/service/ServiceExplainer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "accounts/Whom.h"
#include "ctl/explain/ExplanationText.h"
#include "gatehall/access/PreferenceSource.h"
#include "gatehall/base/PlatformException.h"
#include "linux/bus/SystemBus.h"
#include "listing/Gatehalld.h"
#include "listing/ListedUser.h"

namespace gatehall::ctl {

namespace {

/// The service may have to be started first, and to wait for a directory.
constexpr std::chrono::seconds kLongestAnswer{60};
/// So long may somebody take for a password.
constexpr std::chrono::seconds kLongestPrompt{150};

/// An answer that can't be right, as an error of its own.
constexpr const char* kUnbelievable = "unbelievable";

constexpr std::string_view kDenied = "org.freedesktop.DBus.Error.AccessDenied";
constexpr std::string_view kNeedsPassword =
    "org.freedesktop.DBus.Error.InteractiveAuthorizationRequired";

bool isRefusal(const BusError& failure) {
  return failure.name() == kDenied || failure.name() == kNeedsPassword;
}

/// Whether a service that is there says so of this question, and may answer the next one.
bool isOfQuestion(const BusError& failure) {
  constexpr std::array<std::string_view, 4> names = {
      "org.freedesktop.DBus.Error.Timeout", "org.freedesktop.DBus.Error.LimitsExceeded",
      "org.freedesktop.DBus.Error.InvalidArgs", "org.freedesktop.DBus.Error.Failed"};
  return isRefusal(failure) || std::ranges::find(names, failure.name()) != names.end();
}

/// Whether somebody with more rights may know more.
bool isMoreToKnow(const Explained& found) {
  return !found.explanation.unknown.empty() || found.verdict.isUndecidable() ||
         !found.meant.away.empty();
}

/// How the one is asked about; absent where the service can't be told who is meant.
std::optional<ServiceExplainer::Question> question(const Explained& found) {
  constexpr const char* kLocale = "";
  const auto whom = whomMeant(found.meant.operand);
  if (const auto* name = std::get_if<std::string>(&whom)) {
    return {{"Explain", "CanLogIn", {*name, kLocale}}};
  }
  const auto* uid = std::get_if<std::uint32_t>(&whom);
  if (uid == nullptr && !found.account.userID) return std::nullopt;
  return {
      {"ExplainByID", "CanLogInByID", {uid != nullptr ? *uid : *found.account.userID, kLocale}}};
}

template <class T>
const T* get(const Dictionary& entries, std::string_view key) {
  const auto found = entries.find(key);
  return found != entries.end() ? std::get_if<T>(&found->second.storage()) : nullptr;
}

std::string text(const Dictionary& entries, std::string_view key) {
  const auto* value = get<std::string>(entries, key);
  return value != nullptr ? *value : std::string();
}

bool flag(const Dictionary& entries, std::string_view key) {
  const auto* value = get<bool>(entries, key);
  return value != nullptr && *value;
}

Strings texts(const Dictionary& entries, std::string_view key) {
  Strings list;
  const auto* values = get<Array>(entries, key);
  if (values == nullptr) return list;
  for (const auto& value : *values) {
    if (const auto* each = value.string()) list.push_back(*each);
  }
  return list;
}

/// Whether the answer is about the account that was found here, if one was.
bool isAbout(const Dictionary& answer, const Account& account) {
  const auto guid = text(answer, "guid");
  if (!account.guid.empty() && !guid.empty()) return guid == account.guid;
  const auto name = text(answer, "name");
  if (!account.name.empty() && !name.empty() && name != account.name) return false;
  const auto* uid = get<std::int64_t>(answer, "uid");
  return !account.userID || (uid != nullptr && *uid == *account.userID);
}

std::optional<Date> until(const Dictionary& hours) {
  const auto* moment = get<std::int64_t>(hours, "until");
  if (moment == nullptr) return std::nullopt;
  return Date(Moment(std::chrono::microseconds(*moment)));
}

/// The keys of found's document with what the service says of each.
Json jsonOf(const Json& found, const Dictionary& answer) {
  auto json = found;
  for (const auto& [key, value] : found.items()) {
    const auto told = answer.find(key);
    if (told != answer.end()) {
      json[key] = toJson(told->second);
    } else if (value.is_array()) {
      json[key] = Json::array();
    } else {
      json[key] = nullptr;
    }
  }
  if (const auto* hours = get<Dictionary>(answer, "hours")) {
    const auto end = until(*hours);
    json["hours"] = {{"allowedNow", flag(*hours, "allowedNow")},
                     {"until", end ? Json(isoText(*end)) : Json()}};
  }
  for (auto& other : json["others"]) {
    auto whole = Json::object();
    for (const auto* key : {"uid", "name", "longName", "guid", "node", "reason"}) {
      whole[key] = other.contains(key) ? other.at(key) : Json();
    }
    other = std::move(whole);
  }
  json["askedService"] = true;
  return json;
}

/// What was found with what the service says in its place.
Explained explainedBy(const Dictionary& answer, Explained found) {
  auto& [meant, account, verdict, explanation] = found;
  verdict = {.allowed = flag(answer, "allowed"), .rule = text(answer, "rule")};
  verdict.reason = text(answer, "reason");
  explanation = {.place = {.file = text(answer, "file")},
                 .key = text(answer, "key"),
                 .entry = text(answer, "entry"),
                 .chain = texts(answer, "chain")};
  if (const auto* line = get<std::int64_t>(answer, "line"); line != nullptr && *line > 0) {
    explanation.place.line = static_cast<std::size_t>(*line);
  }
  if (const auto* hours = get<Dictionary>(answer, "hours")) {
    explanation.hours = {flag(*hours, "allowedNow"), until(*hours)};
  }
  explanation.unknown = texts(answer, "unknown");
  meant.nearest = texts(answer, "nearest");
  return found;
}

std::optional<PreferenceSource> sourceNamed(const std::string& name) {
  for (const auto source :
       {PreferenceSource::Managed, PreferenceSource::Preferences, PreferenceSource::Default}) {
    if (name == description(source)) return source;
  }
  return std::nullopt;
}

/// What was found with the service's verdict, behind which nothing is told.
Explained decidedBy(const Dictionary& answer, Explained found) {
  auto& [meant, account, verdict, explanation] = found;
  const auto source = sourceNamed(text(answer, "source"));
  const bool isAsFound = verdict.allowed == flag(answer, "allowed") &&
                         verdict.rule == text(answer, "rule") && verdict.source == source;
  if (!isAsFound) {
    verdict = {.allowed = flag(answer, "allowed"),
               .rule = text(answer, "rule"),
               .source = source,
               .user = verdict.user};
    if (verdict.isUndecidable()) verdict.reason = "gatehalld can't decide it";
    explanation = {.hours = explanation.hours, .unknown = explanation.unknown};
  }
  return found;
}

Explained withUnknown(Explained found, const std::string& why) {
  found.explanation.unknown.push_back("what gatehalld knows: " + why);
  return found;
}

/// The keys of found's document with a verdict, and what isn't known behind it.
Json jsonOf(const Json& found, const Explained& explained) {
  auto json = found;
  const auto known = ctl::jsonOf(propertiesOf(explained));
  for (const auto& [key, value] : known.items()) {
    if (json.contains(key)) json[key] = value;
  }
  return json;
}

[[noreturn]] void disbelieve(const char* why) { throw BusError(why, kUnbelievable); }

}  // namespace

ServiceExplainer::ServiceExplainer(HostOptions options, Prompts prompts)
    : mOptions(std::move(options)), mMayPrompt(prompts == Prompts::OnTerminal) {}

std::optional<ServiceExplainer::Answer> ServiceExplainer::explain(const Explained& found,
                                                                  const Json& json) {
  const auto asked = isMoreToKnow(found) ? question(found) : std::nullopt;
  if (!asked) return std::nullopt;
  auto why = mWhyAway;
  if (why.empty()) {
    try {
      return told(*asked, found, json);
    } catch (const BusError& failure) {
      why = failure.what();
      if (!isOfQuestion(failure) && failure.name() != kUnbelievable) mWhyAway = why;
    } catch (const PlatformException& failure) {
      why = failure.what();
      mWhyAway = why;
    }
  }
  auto untold = withUnknown(found, why);
  return Answer{jsonOf(json, untold), untold, false};
}

/// Without a password first; else the verdict, which everybody is told, and then the rest with a
/// password if that is what it takes.
ServiceExplainer::Answer ServiceExplainer::told(const Question& question, const Explained& found,
                                                const Json& json) {
  bool needsPassword = false;
  try {
    const auto answer = call(question.explain, question.arguments, found);
    return {jsonOf(json, answer), explainedBy(answer, found), true};
  } catch (const BusError& failure) {
    if (!isRefusal(failure)) throw;
    needsPassword = failure.name() == kNeedsPassword;
  }
  const auto verdict = call(question.canLogIn, question.arguments, found);
  if (needsPassword && mMayPrompt) {
    if (!mAgent) mAgent = std::make_unique<TerminalAgent>();
    try {
      const auto answer = call(question.explain, question.arguments, found, true);
      return {jsonOf(json, answer), explainedBy(answer, found), true};
    } catch (const BusError&) {
      mMayPrompt = false;  // whoever gave no password isn't asked for the next one
    }
  }
  const auto decided = withUnknown(decidedBy(verdict, found), "it tells administrators the rest");
  auto document = jsonOf(json, decided);
  if (document.contains("found")) document["found"] = flag(verdict, "found");
  document["askedService"] = true;
  return {std::move(document), decided, true};
}

/// An answer about the account that was found. Raises BusError.
Dictionary ServiceExplainer::call(const char* method, const BusArguments& arguments,
                                  const Explained& found, bool allowsPasswords) const {
  const std::chrono::seconds limit = allowsPasswords ? kLongestPrompt : kLongestAnswer;
  auto options = mOptions;
  options.callTimeout = limit;
  const auto values = SystemBus(options, std::chrono::steady_clock::now() + limit)
                          .call({gatehalld::kName, gatehalld::kPath, gatehalld::kInterface, method},
                                arguments, allowsPasswords);
  const auto* answer = values.size() == 1 ? values.front().dictionary() : nullptr;
  if (answer == nullptr || get<bool>(*answer, "allowed") == nullptr ||
      get<std::string>(*answer, "rule") == nullptr) {
    disbelieve("its answer is of a type that was not expected");
  }
  if (!isAbout(*answer, found.account)) disbelieve("its answer is about another account");
  return *answer;
}

}  // namespace gatehall::ctl
