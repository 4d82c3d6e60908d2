#include <gtest/gtest.h>

#include "linux/ldap/client/SecurityID.h"

namespace gatehall::ldap {

// The ids are those of SSSD 2.8's own library (sss_idmap_sid_to_unix).
TEST(LdapSecurityID, IsMappedToTheIDThatSSSDMapsItTo) {
  EXPECT_EQ(securityID::mappedID("S-1-5-21-163220938-3328269174-2240322703-1105"), 141001105U);
  EXPECT_EQ(securityID::mappedID("S-1-5-21-4294967295-4294967295-4294967295-0"), 1246200000U);
  EXPECT_EQ(securityID::mappedID("S-1-5-21-2153326666-2176343378-3404031434-500"), 770800500U);
  // Texts of each length that is left over behind groups of four.
  EXPECT_EQ(securityID::mappedID("S-1-5-21-1-2-3-199999"), 686399999U);
  EXPECT_EQ(securityID::mappedID("S-1-5-21-993908-404-1-500"), 375200500U);
  EXPECT_EQ(securityID::mappedID("S-1-5-21-105-6101-70-500"), 819400500U);
  EXPECT_EQ(securityID::mappedID("S-1-5-21-614-55-1171979-500"), 815200500U);
}

TEST(LdapSecurityID, IsMappedToNoIDBeyondThoseOfItsDomain) {
  EXPECT_EQ(securityID::mappedID("S-1-5-21-1-2-3-200000"), std::nullopt);
  EXPECT_EQ(securityID::mappedID("S-1-5-21-1-2-3-4294967294"), std::nullopt);
}

TEST(LdapSecurityID, IsMappedToNoIDWhereItIsOfNoDomain) {
  for (const auto* text : {"S-1-5-32-544", "S-1-5-18", "S-1-1-0", "S-1-5-21-1-2-3",
                           "S-1-5-21-1-2-3-500-1", "S-1-5-22-1-2-3-500", ""}) {
    EXPECT_EQ(securityID::mappedID(text), std::nullopt) << text;
    EXPECT_EQ(securityID::domain(text), "") << text;
  }
  EXPECT_EQ(securityID::domain("S-1-5-21-1-2-3-500"), "S-1-5-21-1-2-3");
  EXPECT_TRUE(securityID::isDomain("S-1-5-21-1-2-3"));
  EXPECT_FALSE(securityID::isDomain("S-1-5-21-1-2-3-500"));
}

TEST(LdapSecurityID, IsFoundAgainByItsID) {
  const auto* const domain = "S-1-5-21-1-2-3";
  EXPECT_EQ(securityID::withMappedID(domain, 686200000), "S-1-5-21-1-2-3-0");
  EXPECT_EQ(securityID::withMappedID(domain, 686200500), "S-1-5-21-1-2-3-500");
  EXPECT_EQ(securityID::withMappedID(domain, 686399999), "S-1-5-21-1-2-3-199999");
  EXPECT_EQ(securityID::withMappedID(domain, 686199999), std::nullopt);
  EXPECT_EQ(securityID::withMappedID(domain, 686400000), std::nullopt);
  EXPECT_EQ(securityID::withMappedID(domain, 500), std::nullopt);
}

}  // namespace gatehall::ldap
