#include "ctl/explain/ExplanationText.h"

#include <array>
#include <chrono>
#include <ctime>
#include <iterator>
#include <string_view>
#include <utility>

#include "ctl/print/Table.h"

namespace gatehall::ctl {

namespace {

constexpr std::string_view kArrow = " \u2192 ";

struct ToJson {
  Json operator()(std::monostate) const { return nullptr; }
  Json operator()(const Date& date) const { return isoText(date); }
  Json operator()(const Properties& properties) const { return jsonOf(properties); }
  Json operator()(const std::vector<Properties>& list) const { return jsonOf(list); }
  template <class Plain>
  Json operator()(const Plain& plain) const {
    return plain;
  }
};

std::string joined(const Strings& texts, std::string_view between) {
  std::string text;
  for (const auto& each : texts) {
    if (!text.empty()) text += between;
    text += each;
  }
  return text;
}

/// "2026-11-23 20:00".
std::string momentText(Date moment, bool inLocalTime) {
  const auto seconds =
      std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(moment));
  std::tm parts{};
  const auto* known = inLocalTime ? localtime_r(&seconds, &parts) : gmtime_r(&seconds, &parts);
  std::array<char, 64> text{};
  if (known == nullptr || std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", known) == 0) {
    return isoText(moment);
  }
  return text.data();
}

std::string hoursText(const Explanation::Hours& hours, bool inLocalTime) {
  std::string text = hours.areNow ? "login hours: now" : "login hours: not now";
  if (!hours.change) return text;
  text += (hours.areNow ? ", until " : ", from ") + momentText(*hours.change, inLocalTime);
  return inLocalTime ? text : text + " UTC";
}

std::string otherText(const Account& other) {
  auto text = "also meant: " + other.name + " of " + other.node;
  if (other.userID) text += ", user id " + std::to_string(*other.userID);
  return other.hidden.empty() ? text : text + ": " + other.hidden;
}

Strings inLines(const Strings& sentences, std::size_t longest) {
  Strings lines;
  for (const auto& sentence : sentences) {
    auto some = linesOf(sentence, longest);
    lines.insert(lines.end(), std::move_iterator(some.begin()), std::move_iterator(some.end()));
  }
  return lines;
}

}  // namespace

Json jsonOf(const Properties& properties) {
  auto json = Json::object();
  for (const auto& [key, content] : properties) {
    json[std::string(key)] = std::visit(ToJson(), content);
  }
  return json;
}

Json jsonOf(const std::vector<Properties>& list) {
  auto json = Json::array();
  for (const auto& each : list) json.push_back(jsonOf(each));
  return json;
}

Strings linesAbout(const Explained& each, bool inLocalTime, std::size_t longest) {
  const auto& [meant, account, verdict, explanation] = each;
  Strings sentences;
  const auto& text = explanation.text.empty() ? verdict.reason : explanation.text;
  if (!text.empty()) sentences.push_back(text);
  if (!explanation.chain.empty()) sentences.push_back(joined(explanation.chain, kArrow));
  const auto place = textOf(explanation.place);
  if (!place.empty()) {
    sentences.push_back(explanation.key.empty() ? place : explanation.key + " in " + place);
  }
  if (!account.hidden.empty() && verdict.rule != account.hidden) {
    sentences.push_back(account.hidden + ": " + account.whyHidden);
  }
  if (explanation.hours) sentences.push_back(hoursText(*explanation.hours, inLocalTime));
  for (const auto& unknown : explanation.unknown) sentences.push_back("unknown: " + unknown);
  return inLines(sentences, longest);
}

Strings linesAboutOthers(const Meant& meant, std::size_t longest) {
  Strings sentences;
  for (std::size_t index = 1; index < meant.accounts.size(); ++index) {
    sentences.push_back(otherText(meant.accounts[index]));
  }
  if (!meant.nearest.empty()) sentences.push_back("near: " + joined(meant.nearest, ", "));
  return inLines(sentences, longest);
}

}  // namespace gatehall::ctl
