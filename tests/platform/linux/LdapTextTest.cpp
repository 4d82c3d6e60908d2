#include <gmock/gmock.h>

#include "platform/linux/LdapFilter.h"
#include "platform/linux/LdapName.h"
#include "platform/linux/LdapReferral.h"
#include "platform/linux/LdapURI.h"

namespace gatehall {
namespace {

using Scheme = LdapURI::Scheme;

}  // namespace

TEST(LdapFilter, EscapesWhatMeansSomethingAndWhatIsNoAscii) {
  EXPECT_EQ(ldapFilter::escaped("a.b-c d"), "a.b-c d");
  EXPECT_EQ(ldapFilter::escaped("*()\\"), "\\2a\\28\\29\\5c");
  EXPECT_EQ(ldapFilter::escaped(std::string_view("\0\x7f\n", 3)), "\\00\\7f\\0a");
  EXPECT_EQ(ldapFilter::escaped("é"), "\\c3\\a9");
  EXPECT_EQ(ldapFilter::equals("uid", "x)(uid=*"), "(uid=x\\29\\28uid=\\2a)");
  EXPECT_EQ(ldapFilter::contains("cn", "*"), "(cn=*\\2a*)");
}

TEST(LdapFilter, JoinsFilters) {
  const std::vector<std::string> two{"(a=1)", "(b=2)"};
  EXPECT_EQ(ldapFilter::anyOf(two), "(|(a=1)(b=2))");
  EXPECT_EQ(ldapFilter::anyOf(std::span(two).first(1)), "(a=1)");
  EXPECT_EQ(ldapFilter::anyOf({}), "(|)") << "absolute false, RFC 4526";
  EXPECT_EQ(ldapFilter::bothOf("(a=1)", "(b=2)"), "(&(a=1)(b=2))");
}

TEST(LdapName, HasOneSpellingHoweverItIsWritten) {
  const auto same = [](std::string_view left, std::string_view right) {
    const auto canonical = ldapName::canonical(left);
    return canonical && canonical == ldapName::canonical(right);
  };
  EXPECT_EQ(ldapName::canonical("UID=Ann , OU=People,dc=x"), "uid=ann,ou=people,dc=x");
  EXPECT_TRUE(same("cn=a\\,b,dc=x", "CN=\"A,b\";DC=x"));
  EXPECT_TRUE(same("cn=a\\2cb,dc=x", "cn=a\\,b,dc=x"));
  EXPECT_TRUE(same("cn=a+uid=b", "uid=b+cn=a"));
  EXPECT_TRUE(same("cn=\\20a\\ ", "cn=\\ a\\20"));
  EXPECT_TRUE(same("cn=Σ", "cn=\\ce\\a3"));
  EXPECT_TRUE(same("", "  "));
  EXPECT_FALSE(same("cn=a b", "cn=ab"));
  EXPECT_FALSE(same("cn=a,dc=x", "cn=a\\,dc=x"));
  EXPECT_FALSE(same("cn=a,dc=x", "cn=a"));
}

TEST(LdapFilter, SplitsManyTermsIntoPartsThatServersTake) {
  std::vector<std::string> terms(1200, "(a=1)");
  ASSERT_EQ(ldapFilter::anyOfInParts(terms).size(), 3U);
  EXPECT_EQ(ldapFilter::anyOfInParts(terms).back(), ldapFilter::anyOf(std::span(terms).first(200)));
  terms.assign(10, "(a=" + std::string(60000, 'x') + ")");
  EXPECT_EQ(ldapFilter::anyOfInParts(terms).size(), 4U);
  EXPECT_TRUE(ldapFilter::anyOfInParts({}).empty());
}

TEST(LdapName, IsWithinItselfAndWhatItEndsWith) {
  EXPECT_TRUE(ldapName::isWithin("uid=a,dc=x", "dc=x"));
  EXPECT_TRUE(ldapName::isWithin("dc=x", "dc=x"));
  EXPECT_TRUE(ldapName::isWithin("dc=x", ""));
  EXPECT_TRUE(ldapName::isWithin("uid=a\\\\,dc=x", "dc=x")) << "the value ends with a backslash";
  EXPECT_FALSE(ldapName::isWithin("uid=a\\,dc=x", "dc=x")) << "the comma is of the value";
  EXPECT_FALSE(ldapName::isWithin("uid=a,adc=x", "dc=x"));
  EXPECT_FALSE(ldapName::isWithin("dc=x", "uid=a,dc=x"));
}

TEST(LdapName, IsNotEverything) {
  for (const auto* text : {"ann", "=x", "a b=c", "cn=a,", "cn=a,,dc=x", "cn=\"a", "cn=\"a\"b",
                           "cn=a\\", "cn=a\\x", "cn=a\"b", "+", "cn=a+"}) {
    EXPECT_FALSE(ldapName::canonical(text)) << text;
  }
}

TEST(LdapURI, SaysWhereAServerListens) {
  const auto plain = LdapURI::parse("ldap://ldap.example.org");
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->scheme, Scheme::Ldap);
  EXPECT_EQ(plain->host, "ldap.example.org");
  EXPECT_EQ(plain->port, 389);
  EXPECT_EQ(LdapURI::parse("ldaps://10.0.0.1/")->port, 636);
  EXPECT_EQ(LdapURI::parse("ldaps://10.0.0.1/")->text, "ldaps://10.0.0.1");
  EXPECT_EQ(LdapURI::parse("ldap://[fe80::1%eth0]:1")->host, "fe80::1%eth0");
  EXPECT_EQ(LdapURI::parse("ldapi://%2Frun%2Fslapd%2fldapi")->host, "/run/slapd/ldapi");
}

TEST(LdapURI, IsNotEverything) {
  for (const auto* text : {"",
                           "ldap",
                           "ldap:/x",
                           "ldap://",
                           "ldap:///",
                           "ldap://x:0",
                           "ldap://x:65536",
                           "ldap://x:",
                           "ldap://x:1x",
                           "ldap://x/dc=y",
                           "ldap://x?y",
                           "ldap://a b",
                           "ldap://[::1",

                           "ldap://::1",
                           "cldap://x",
                           "ldapi://",
                           "ldapi://run",
                           "ldapi://%2",
                           "ldapi://%00",
                           "ldapi://%2Fa%zz"}) {
    EXPECT_FALSE(LdapURI::parse(text)) << text;
  }
}

TEST(LdapReferral, NamesAServerAndABase) {
  const auto referral = LdapReferral::parse("ldap://other:1389/ou=a%20b,dc=x??sub?(x=y)");
  ASSERT_TRUE(referral);
  EXPECT_EQ(referral->server.host, "other");
  EXPECT_EQ(referral->base, "ou=a b,dc=x");
  EXPECT_EQ(LdapReferral::parse("ldaps://other")->base, "");
  for (const auto* text : {"", "other", "ldap:///dc=x", "ldapi://%2Frun%2Fx/dc=x", "ldap://x/%"}) {
    EXPECT_FALSE(LdapReferral::parse(text)) << text;
  }
}

}  // namespace gatehall
