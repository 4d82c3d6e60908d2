#include <gtest/gtest.h>
#include <set>
#include <string>

#include "people/Reasons.h"

namespace gatehall {
namespace {

TEST(Reasons, AreOthersForEachFaultInEachLanguage) {
  std::set<std::string> texts;
  for (const char* locale : {"C", "de_DE", "fr_FR", "es_ES", "ar_EG", "hi_IN", "zh_CN"}) {
    const auto words =
        wordsFor([&](const char* name) { return std::string(name) == "LC_ALL" ? locale : nullptr; },
                 GATEHALL_CATALOGUES);
    for (const auto fault : {ListFault::BusAway, ListFault::ServiceAway, ListFault::NoAnswer,
                             ListFault::NotUnderstood}) {
      EXPECT_TRUE(texts.insert(reasonText(fault, words)).second) << locale;
    }
  }
}

}  // namespace
}  // namespace gatehall
