#include <gmock/gmock.h>

#include "linux/ldap/client/DistinguishedName.h"
#include "linux/ldap/client/Referral.h"
#include "linux/ldap/client/SearchFilter.h"
#include "linux/ldap/client/URI.h"

namespace gatehall {
namespace {

using Scheme = ldap::URI::Scheme;

}  // namespace

TEST(LdapFilter, EscapesWhatMeansSomethingAndWhatIsNoAscii) {
  EXPECT_EQ(ldap::searchFilter::escaped("a.b-c d"), "a.b-c d");
  EXPECT_EQ(ldap::searchFilter::escaped("*()\\"), "\\2a\\28\\29\\5c");
  EXPECT_EQ(ldap::searchFilter::escaped(std::string_view("\0\x7f\n", 3)), "\\00\\7f\\0a");
  EXPECT_EQ(ldap::searchFilter::escaped("é"), "\\c3\\a9");
  EXPECT_EQ(ldap::searchFilter::equals("uid", "x)(uid=*"), "(uid=x\\29\\28uid=\\2a)");
  EXPECT_EQ(ldap::searchFilter::contains("cn", "*"), "(cn=*\\2a*)");
}

TEST(LdapFilter, JoinsFilters) {
  const std::vector<std::string> two{"(a=1)", "(b=2)"};
  EXPECT_EQ(ldap::searchFilter::anyOf(two), "(|(a=1)(b=2))");
  EXPECT_EQ(ldap::searchFilter::anyOf(std::span(two).first(1)), "(a=1)");
  EXPECT_EQ(ldap::searchFilter::anyOf({}), "(|)") << "absolute false, RFC 4526";
  EXPECT_EQ(ldap::searchFilter::bothOf("(a=1)", "(b=2)"), "(&(a=1)(b=2))");
}

TEST(LdapFilter, IsWholeInParenthesesOfItsOwn) {
  for (const auto* whole : {"(uid=*)", "(&(a=1)(!(b=2)))", "(cn=\\28x)"}) {
    EXPECT_TRUE(ldap::searchFilter::isWhole(whole)) << whole;
  }
  for (const auto* part :
       {"", "uid=*", "(uid=*", "uid=*)", "(a=1)(b=2)", "(a=1))(|(b=2)", " (a=1)", "(a=1) ", ")("}) {
    EXPECT_FALSE(ldap::searchFilter::isWhole(part)) << part;
  }
}

TEST(LdapName, HasOneSpellingHoweverItIsWritten) {
  const auto same = [](std::string_view left, std::string_view right) {
    const auto canonical = ldap::distinguishedName::canonical(left);
    return canonical && canonical == ldap::distinguishedName::canonical(right);
  };
  EXPECT_EQ(ldap::distinguishedName::canonical("UID=Ann , OU=People,dc=x"),
            "uid=ann,ou=people,dc=x");
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

// A name without spaces is read by a way of its own.
TEST(LdapName, TakesTheSameLettersWithAndWithoutSpaces) {
  for (int code = 1; code < 256; ++code) {
    const char c = static_cast<char>(code);
    if (c == ' ' || c == '=') continue;
    const bool isLetter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    const bool isOfType = isLetter || (c >= '0' && c <= '9') || c == '-' || c == '.';
    const std::string low(1, c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c);
    const auto type = std::string("a") + c + "b=";
    const auto inType =
        isOfType ? std::optional("a" + low + "b=x,dc=y") : std::optional<std::string>();
    EXPECT_EQ(ldap::distinguishedName::canonical(type + "x,dc=y"), inType) << code;
    EXPECT_EQ(ldap::distinguishedName::canonical(type + "x, dc=y"), inType) << code;
    const auto value = std::string("a=b") + c + "b,dc=";
    const auto inValue = ldap::distinguishedName::canonical(value + " y");
    EXPECT_EQ(ldap::distinguishedName::canonical(value + "y"), inValue) << code;
    if (isOfType || c == '_') {
      EXPECT_EQ(inValue, "a=b" + low + "b,dc=y") << code;
    }
  }
}

TEST(LdapFilter, SplitsManyTermsIntoPartsThatServersTake) {
  std::vector<std::string> terms(1200, "(a=1)");
  ASSERT_EQ(ldap::searchFilter::anyOfInParts(terms).size(), 3U);
  EXPECT_EQ(ldap::searchFilter::anyOfInParts(terms).back(),
            ldap::searchFilter::anyOf(std::span(terms).first(200)));
  terms.assign(10, "(a=" + std::string(60000, 'x') + ")");
  EXPECT_EQ(ldap::searchFilter::anyOfInParts(terms).size(), 4U);
  EXPECT_TRUE(ldap::searchFilter::anyOfInParts({}).empty());
}

TEST(LdapName, IsWithinItselfAndWhatItEndsWith) {
  EXPECT_TRUE(ldap::distinguishedName::isWithin("uid=a,dc=x", "dc=x"));
  EXPECT_TRUE(ldap::distinguishedName::isWithin("dc=x", "dc=x"));
  EXPECT_TRUE(ldap::distinguishedName::isWithin("dc=x", ""));
  EXPECT_TRUE(ldap::distinguishedName::isWithin("uid=a\\\\,dc=x", "dc=x"))
      << "the value ends with a backslash";
  EXPECT_FALSE(ldap::distinguishedName::isWithin("uid=a\\,dc=x", "dc=x"))
      << "the comma is of the value";
  EXPECT_FALSE(ldap::distinguishedName::isWithin("uid=a,adc=x", "dc=x"));
  EXPECT_FALSE(ldap::distinguishedName::isWithin("dc=x", "uid=a,dc=x"));
}

TEST(LdapName, MayBeWithinABaseThatIsSpelledOtherwise) {
  const auto mayBeWithin = ldap::distinguishedName::mayBeWithin;
  EXPECT_TRUE(mayBeWithin("uid=a,ou=big  shop,dc=x", "ou=big shop,dc=x"));
  EXPECT_TRUE(mayBeWithin("uid=a,organizationalunitname=shop,dc=x", "ou=shop,dc=x"));
  EXPECT_TRUE(mayBeWithin("uid=a,ou=Ä,dc=x", "ou=ä,dc=x"));
  EXPECT_TRUE(mayBeWithin("uid=a,l=b+ou=a,dc=x", "ou=a+l=b,dc=x"));
  EXPECT_FALSE(mayBeWithin("uid=a,ou=shops,dc=x", "ou=shop,dc=x"));
  EXPECT_FALSE(mayBeWithin("uid=ä,dc=y", "ou=shop,dc=x"));
  EXPECT_FALSE(mayBeWithin("uid=a\\,ou=shop,dc=x", "ou=shop,dc=x"));
  EXPECT_FALSE(mayBeWithin("dc=x", "ou=ä,dc=x"));
}

TEST(LdapName, CallsItsEntryAfterTheValuesOfItsFirstPart) {
  const auto isCalled = ldap::distinguishedName::isCalled;
  EXPECT_TRUE(isCalled("uid=ann,dc=x", "UID", "Ann"));
  EXPECT_TRUE(isCalled("uid=ann", "uid", "ann"));
  EXPECT_TRUE(isCalled("cn=a\\+b+uid=ann\\,c,dc=x", "uid", "ann,c"));
  EXPECT_TRUE(isCalled("uid=ann+z=1,dc=x", "uid", "ann"));
  EXPECT_FALSE(isCalled("uid=ann,dc=x", "uid", "an"));
  EXPECT_FALSE(isCalled("uid=ann,dc=x", "dc", "x"));
  EXPECT_FALSE(isCalled("cn=a\\+uid=ann,dc=x", "uid", "ann"));
  EXPECT_FALSE(isCalled("cn=ann,uid=ann", "uid", "ann"));
  EXPECT_FALSE(isCalled("", "uid", ""));
}

TEST(LdapName, IsNotEverything) {
  for (const auto* text : {"ann", "=x", "a b=c", "cn=a,", "cn=a,,dc=x", "cn=\"a", "cn=\"a\"b",
                           "cn=a\\", "cn=a\\x", "cn=a\"b", "+", "cn=a+"}) {
    EXPECT_FALSE(ldap::distinguishedName::canonical(text)) << text;
  }
}

TEST(LdapURI, SaysWhereAServerListens) {
  const auto plain = ldap::URI::parse("ldap://ldap.example.org");
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->scheme, Scheme::Ldap);
  EXPECT_EQ(plain->host, "ldap.example.org");
  EXPECT_EQ(plain->port, 389);
  EXPECT_EQ(ldap::URI::parse("ldaps://10.0.0.1/")->port, 636);
  EXPECT_EQ(ldap::URI::parse("ldaps://10.0.0.1/")->text, "ldaps://10.0.0.1");
  EXPECT_EQ(ldap::URI::parse("ldap://[fe80::1%eth0]:1")->host, "fe80::1%eth0");
  EXPECT_EQ(ldap::URI::parse("ldapi://%2Frun%2Fslapd%2fldapi")->host, "/run/slapd/ldapi");
}

TEST(LdapURI, HasItsSchemeInAnyCase) {
  EXPECT_EQ(ldap::URI::parse("LDAP://ldap.example.org")->scheme, Scheme::Ldap);
  EXPECT_EQ(ldap::URI::parse("LDAP://ldap.example.org")->port, 389);
  EXPECT_EQ(ldap::URI::parse("Ldaps://ldap.example.org")->scheme, Scheme::Ldaps);
  EXPECT_EQ(ldap::URI::parse("LDAPI://%2Frun%2Fldapi")->host, "/run/ldapi");
  EXPECT_EQ(ldap::Referral::parse("LDAPS://other/dc=x")->server.scheme, Scheme::Ldaps);
  EXPECT_FALSE(ldap::Referral::parse("LDAPI://%2Frun%2Fldapi/dc=x"));
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
    EXPECT_FALSE(ldap::URI::parse(text)) << text;
  }
}

TEST(LdapURI, DecodesWholeEscapesOnly) {
  constexpr std::string_view kEscape = "a%41";
  EXPECT_EQ(ldap::URI::percentDecoded(kEscape), "aA");
  EXPECT_EQ(ldap::URI::percentDecoded(kEscape.substr(0, 3)), std::nullopt)
      << "the digit is cut off";
  EXPECT_EQ(ldap::URI::percentDecoded(kEscape.substr(0, 2)), std::nullopt);
}

TEST(LdapReferral, NamesAServerAndABase) {
  const auto referral = ldap::Referral::parse("ldap://other:1389/ou=a%20b,dc=x??sub?(x=y)");
  ASSERT_TRUE(referral);
  EXPECT_EQ(referral->server.host, "other");
  EXPECT_EQ(referral->base, "ou=a b,dc=x");
  EXPECT_EQ(ldap::Referral::parse("ldaps://other")->base, "");
  for (const auto* text : {"", "other", "ldap:///dc=x", "ldapi://%2Frun%2Fx/dc=x", "ldap://x/%"}) {
    EXPECT_FALSE(ldap::Referral::parse(text)) << text;
  }
}

}  // namespace gatehall
