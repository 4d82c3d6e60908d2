#pragma once

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/ctl/RunWorld.h"

namespace gatehall {

/// Whom a comparison of a machine with its world asks about.
struct Asked {
  Strings users{};               ///< operands of verbs that take a user
  Strings guids{};               ///< of expand
  bool hasAllAccounts = true;    ///< the world has every account of the machine's directories
  bool hasLogs = true;           ///< the world logs what the machine does
  std::set<std::string> skip{};  ///< verbs, each with its reason where it is named
};

/// What differs for good reasons is taken out: a round trip takes another time each time and a
/// world asks no server; what decides stands in the machine's files there, in the world's here;
/// what a run could not know stands as a comment in the world's file, which nobody reads; and which
/// groups make up that of the administrators a world doesn't know.
inline nlohmann::ordered_json comparable(nlohmann::ordered_json document, const Asked& asked) {
  if (document.is_object()) {
    for (const auto* key : {"roundTripMilliseconds", "file", "line", "unknown"}) {
      document.erase(key);
    }
    if (!asked.hasLogs) document.erase("log");
    if (document.contains("rule") && document["rule"] == "administrator") document.erase("chain");
  }
  if (document.is_structured()) {
    for (auto& part : document) part = comparable(std::move(part), asked);
  }
  return document;
}

inline std::string answerOf(Strings words, const Asked& asked) {
  words.insert(words.begin(), "--json");
  const auto outcome = run(words);
  const auto status = "status " + std::to_string(static_cast<int>(outcome.status)) + "\n";
  if (outcome.output.empty()) return status;
  // Of a failure a machine says besides that it is a moment old.
  auto text = comparable(documentOf(outcome), asked).dump(1);
  constexpr std::string_view kAge = "a moment ago, ";
  for (auto at = text.find(kAge); at != std::string::npos; at = text.find(kAge)) {
    text.erase(at, kAge.size());
  }
  return status + text;
}

/// Every verb answers in the world as it does in the place that the words lead to ("--root", DIR).
inline void expectSameAnswers(const Strings& place, const std::string& world, const Asked& asked) {
  std::vector<Strings> runs{{"users"}, {"network-users"}, {"admins"},
                            {"prefs"}, {"network"},       {"directories"}};
  if (asked.hasAllAccounts) runs.push_back({"can-log-in", "--all"});
  for (const auto& user : asked.users) {
    runs.push_back({"can-log-in", user});
    runs.push_back({"user", user});
  }
  for (const auto& guid : asked.guids) {
    runs.push_back({"expand", guid});
    runs.push_back({"guid", guid});
  }
  for (const auto& words : runs) {
    if (asked.skip.contains(words.front())) continue;
    auto there = place;
    there.insert(there.end(), words.begin(), words.end());
    Strings here{"--world", world};
    here.insert(here.end(), words.begin(), words.end());
    std::string text;
    for (const auto& word : words) text += word + " ";
    EXPECT_EQ(answerOf(there, asked), answerOf(here, asked)) << text;
  }
}

}  // namespace gatehall
