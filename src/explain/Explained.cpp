#include "explain/Explained.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace gatehall {

namespace {

using Content = Property::Content;

Content textOrNone(const std::string& text) { return text.empty() ? Content() : Content(text); }

Content numberOrNone(const std::optional<std::uint32_t>& number) {
  return number ? Content(std::int64_t{*number}) : Content();
}

Content hoursOrNone(const std::optional<Explanation::Hours>& hours) {
  if (!hours) return {};
  return Properties{{"allowedNow", hours->areNow},
                    {"until", hours->change ? Content(*hours->change) : Content()}};
}

Properties propertiesOf(const Account& other) {
  return {{"uid", numberOrNone(other.userID)},      {"name", textOrNone(other.name)},
          {"longName", textOrNone(other.longName)}, {"guid", textOrNone(other.guid)},
          {"node", textOrNone(other.node)},         {"reason", textOrNone(other.whyHidden)}};
}

}  // namespace

Explained explained(const AccountHost& host, Explainer& explainer, Meant meant) {
  Explained each{.meant = std::move(meant)};
  if (!each.meant.accounts.empty()) each.account = each.meant.accounts.front();
  each.verdict = verdictOn(host, each.meant);
  each.explanation = explainer.explain(each.account, each.verdict);
  return each;
}

Properties propertiesOf(const Explained& each) {
  const auto& [meant, account, verdict, explanation] = each;
  const bool isNobody = meant.accounts.empty();
  const auto line = static_cast<std::int64_t>(explanation.place.line);
  return {
      {"uid", numberOrNone(isNobody ? meant.userID : account.userID)},
      {"found", verdict.user != nullptr},
      {"allowed", verdict.allowed},
      {"rule", verdict.rule},
      {"source", verdict.source ? Content(std::string(description(*verdict.source))) : Content()},
      {"name", textOrNone(isNobody && !meant.userID ? meant.operand : account.name)},
      {"longName", textOrNone(account.longName)},
      {"guid", textOrNone(account.guid)},
      {"node", textOrNone(account.node)},
      {"reason", textOrNone(verdict.reason.empty() ? explanation.text : verdict.reason)},
      {"file", textOrNone(explanation.place.file)},
      {"line", line == 0 ? Content() : Content(line)},
      {"key", textOrNone(explanation.key)},
      {"entry", textOrNone(explanation.entry)},
      {"chain", explanation.chain},
      {"hours", hoursOrNone(explanation.hours)},
      {"unknown", explanation.unknown},
      {"others", othersOf(meant)},
      {"nearest", meant.nearest}};
}

std::vector<Properties> othersOf(const Meant& meant) {
  std::vector<Properties> others;
  for (std::size_t index = 1; index < meant.accounts.size(); ++index) {
    others.push_back(propertiesOf(meant.accounts[index]));
  }
  return others;
}

}  // namespace gatehall
