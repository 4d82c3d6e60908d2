#include <gtest/gtest.h>

#include "linux/nss/GUIDs.h"

namespace gatehall::nss {
namespace {

using Known = GUIDs::Known;

constexpr const char* kNode = "nss/site";

}  // namespace

TEST(NssGUIDs, ForgetNamesThatAreTooManyButNoneOfTheSettings) {
  GUIDs guids({kNode}, 3);
  const auto set = guids.of(kNode, Type::Group, "staff", Known::Set);
  guids.of(kNode, Type::Group, "staff", Known::Met);
  const auto met = guids.of(kNode, Type::User, "dana", Known::Met);
  guids.of(kNode, Type::User, "ed", Known::Met);
  EXPECT_TRUE(guids.named(met));
  const auto last = guids.of(kNode, Type::User, "fay", Known::Met);
  EXPECT_FALSE(guids.named(met));
  EXPECT_TRUE(guids.named(last));
  ASSERT_TRUE(guids.named(set));
  EXPECT_EQ(guids.named(set)->name, "staff");
}

TEST(NssGUIDs, AreOfNamesThatWereMetOnceTheyWere) {
  GUIDs guids({kNode});
  const auto dana = guids.of(kNode, Type::User, "dana", Known::Listed);
  EXPECT_EQ(guids.named(dana)->known, Known::Listed);
  guids.of(kNode, Type::User, "dana", Known::Met);
  guids.of(kNode, Type::User, "dana", Known::Listed);
  EXPECT_EQ(guids.named(dana)->known, Known::Met);
}

}  // namespace gatehall::nss
