#include <gtest/gtest.h>

#include "linux/nss/GUIDs.h"

namespace gatehall::nss {
namespace {

constexpr int kMany = 130000;

Strings manyNames() {
  Strings names;
  for (int number = 0; number < kMany; ++number) names.push_back("user" + std::to_string(number));
  return names;
}

}  // namespace

TEST(NssListedNames, AreKnownByTheirGUIDsHoweverMany) {
  GUIDs guids({"nss/site"});
  const auto first = GUIDs::ofMember("nss/site", "user0");
  const auto last = GUIDs::ofMember("nss/site", "dana");
  EXPECT_FALSE(guids.named(first));
  guids.list(manyNames());
  guids.list({"dana"});
  for (const auto& [guid, name] : {std::pair(first, "user0"), std::pair(last, "dana")}) {
    const auto named = guids.named(guid);
    ASSERT_TRUE(named);
    EXPECT_EQ(named->name, name);
    EXPECT_EQ(named->type, Type::User);
    EXPECT_EQ(named->nodeName, "nss/site");
    EXPECT_EQ(named->known, GUIDs::Known::Listed);
  }
}

TEST(NssListedNames, StayMetWhenTheyWereOrAreLater) {
  for (const bool isMetFirst : {true, false}) {
    GUIDs guids({"nss/site"});
    const auto meet = [&] { return guids.of("nss/site", Type::User, "dana", GUIDs::Known::Met); };
    if (isMetFirst) meet();
    guids.list({"dana"});
    const auto dana = isMetFirst ? GUIDs::ofMember("nss/site", "dana") : meet();
    ASSERT_TRUE(guids.named(dana));
    EXPECT_EQ(guids.named(dana)->known, GUIDs::Known::Met) << isMetFirst;
  }
}

TEST(NssListedNames, AreThoseOfAllNodes) {
  GUIDs guids({"nss/low", "nss/high"});
  guids.list({"dana"});
  for (const auto* node : {"nss/low", "nss/high"}) {
    const auto named = guids.named(GUIDs::ofMember(node, "dana"));
    ASSERT_TRUE(named);
    EXPECT_EQ(named->nodeName, node);
  }
  EXPECT_FALSE(guids.named(GUIDs::ofMember("nss/other", "dana")));
}

}  // namespace gatehall::nss
