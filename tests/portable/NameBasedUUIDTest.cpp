#include <gtest/gtest.h>

#include "portable/NameBasedUUID.h"

namespace gatehall {

TEST(NameBasedUUID, IsTheOneOfTheStandard) {
  // The DNS namespace and "www.example.com", as in the version 5 example of RFC 9562.
  const auto dns = parseUUID("6ba7b810-9dad-11d1-80b4-00c04fd430c8");
  ASSERT_TRUE(dns);
  const auto uuid = nameBasedUUID(*dns, "www.example.com");
  EXPECT_EQ(uuidText(uuid), "2ED6657D-E927-568B-95E1-2665A8AEA6A2");
  EXPECT_TRUE(isNameBased(uuid));
  EXPECT_FALSE(isNameBased(*dns));
}

TEST(NameBasedUUID, IsReadInEitherCaseAndNothingElse) {
  const auto upper = parseUUID("2ED6657D-E927-568B-95E1-2665A8AEA6A2");
  ASSERT_TRUE(upper);
  EXPECT_EQ(parseUUID("2ed6657d-e927-568b-95e1-2665a8aea6a2"), upper);
  EXPECT_EQ(parseHexadecimal("2ed6657de927568b95e12665a8aea6a2"), upper);
  for (const auto* text :
       {"", "2ED6657D-E927-568B-95E1-2665A8AEA6A", "2ED6657D-E927-568B-95E1-2665A8AEA6A22",
        "2ED6657D-E927-568B-95E12-665A8AEA6A2", "2ED6657G-E927-568B-95E1-2665A8AEA6A2",
        "2ED6657D E927-568B-95E1-2665A8AEA6A2", "-ED6657D-E927-568B-95E1-2665A8AEA6A2"}) {
    EXPECT_FALSE(parseUUID(text)) << text;
  }
  EXPECT_FALSE(parseHexadecimal("2ed6657d-e927-568b-95e1-2665a8aea6a2"));
}

}  // namespace gatehall
