#include <chrono>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "gatehall/base/PlatformException.h"
#include "portable/formats/PropertyList.h"

namespace gatehall {
namespace {

using testing::HasSubstr;
using namespace std::string_literals;

std::string xml(const std::string& content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist SYSTEM \"PropertyList-1.0.dtd\">\n"
         "<plist version=\"1.0\">\n" +
         content + "\n</plist>\n";
}

Value parsed(const std::string& content) { return parsePropertyList(xml(content)); }

/// What the parser says about the bytes.
std::string refusal(const std::string& bytes) {
  try {
    return "no refusal but " + parsePropertyList(bytes).description();
  } catch (const PlatformException& error) {
    return error.what();
  }
}

std::string bigEndian(std::uint64_t number, std::size_t size) {
  std::string bytes(size, '\0');
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte, number >>= 8U) {
    *byte = static_cast<char>(number & 0xFFU);
  }
  return bytes;
}

/// A binary property list of these objects, the first of which is the root; references take two
/// bytes.
std::string binary(const std::vector<std::string>& objects) {
  std::string bytes = "bplist00";
  std::string table;
  for (const auto& object : objects) {
    table += bigEndian(bytes.size(), 4);
    bytes += object;
  }
  const auto tableAt = bytes.size();
  return bytes + table + std::string(6, '\0') + "\4\2" + bigEndian(objects.size(), 8) +
         bigEndian(0, 8) + bigEndian(tableAt, 8);
}

Date utc(int year, unsigned month, unsigned day) {
  return std::chrono::sys_days{std::chrono::year{year} / static_cast<int>(month) /
                               static_cast<int>(day)};
}

TEST(PropertyList, ReadsEveryKindFromXML) {
  EXPECT_EQ(parsed("<string>a &amp; é</string>"), Value("a & é"));
  EXPECT_EQ(parsed("<integer>42</integer>"), Value(42));
  EXPECT_EQ(parsed("<real>1.5</real>"), Value(1.5));
  EXPECT_EQ(parsed("<true/>"), Value(true));
  EXPECT_EQ(parsed("<false/>"), Value(false));
  EXPECT_EQ(parsed("<data>aGk=</data>"), Value(Data{'h', 'i'}));
  EXPECT_EQ(parsed("<array><string>a</string><integer>1</integer></array>"), Value(Array{"a", 1}));
  EXPECT_EQ(parsed("<dict><key>k</key><array/><key>l</key><string/></dict>"),
            Value(Dictionary{{"k", Array{}}, {"l", ""}}));
}

TEST(PropertyList, ReadsEveryKindFromBinary) {
  EXPECT_EQ(parsePropertyList(binary({"\x52hi"})), Value("hi"));
  EXPECT_EQ(parsePropertyList(binary({"\x61\x00\xE9"s})), Value("é"));
  EXPECT_EQ(parsePropertyList(binary({"\x10\x2A"})), Value(42));
  EXPECT_EQ(parsePropertyList(binary({"\x23" + bigEndian(0x3FF8000000000000U, 8)})), Value(1.5));
  EXPECT_EQ(parsePropertyList(binary({"\x09"})), Value(true));
  EXPECT_EQ(parsePropertyList(binary({"\x42hi"})), Value(Data{'h', 'i'}));
  EXPECT_EQ(parsePropertyList(binary({"\x80\x07"})), Value(7)) << "a UID";
  EXPECT_EQ(parsePropertyList(binary({"\xA2\0\1\0\2"s, "\x51\x61", "\x08"})),
            Value(Array{"a", false}));
  EXPECT_EQ(parsePropertyList(binary({"\xD1\0\1\0\2"s, "\x51\x61", "\x08"})),
            Value(Dictionary{{"a", false}}));
}

TEST(PropertyList, KeepsTheSignOfIntegers) {
  EXPECT_EQ(parsed("<integer>-5</integer>"), Value(-5));
  EXPECT_EQ(parsed("<integer>-9223372036854775808</integer>"), Value(INT64_MIN));
  EXPECT_EQ(parsed("<integer>9223372036854775807</integer>"), Value(INT64_MAX));
  EXPECT_EQ(parsePropertyList(binary({"\x13" + bigEndian(~std::uint64_t{0}, 8)})), Value(-1));
}

TEST(PropertyList, ReadsIntegersBeyond63BitsAsReals) {
  EXPECT_EQ(parsed("<integer>18446744073709551615</integer>"), Value(18446744073709551615.0));
  EXPECT_EQ(
      parsePropertyList(binary({"\x14" + bigEndian(0, 8) + bigEndian(std::uint64_t{1} << 63U, 8)})),
      Value(9223372036854775808.0));
}

TEST(PropertyList, CountsDatesFrom2001) {
  EXPECT_EQ(parsed("<date>2001-01-01T00:00:00Z</date>"), Value(utc(2001, 1, 1)));
  EXPECT_EQ(parsed("<date>1970-01-01T00:00:00Z</date>"), Value(utc(1970, 1, 1)));
  EXPECT_EQ(parsePropertyList(binary({"\x33" + bigEndian(0, 8)})), Value(utc(2001, 1, 1)));
}

TEST(PropertyList, ReadsDatesBeyond32BitsOfSecondsAndFractions) {
  EXPECT_EQ(parsed("<date>4001-01-01T00:00:00Z</date>"), Value(utc(4001, 1, 1)));
  EXPECT_EQ(parsed("<date>1900-01-01T00:00:00Z</date>"), Value(utc(1900, 1, 1)));
  EXPECT_EQ(parsePropertyList(binary({"\x33" + bigEndian(0x3FF8000000000000U, 8)})),
            Value(Date(utc(2001, 1, 1) + std::chrono::duration<double>(1.5))));
}

TEST(PropertyList, KeepsTheLastOfEqualKeys) {
  EXPECT_EQ(parsed("<dict><key>a</key><true/><key>a</key><false/></dict>"),
            Value(Dictionary{{"a", false}}));
}

TEST(PropertyList, RefusesWhatIsNone) {
  for (const auto& bytes :
       {""s, "hello"s, "<plist"s, "<plist/>"s, xml(""), xml("<colour/>"),
        xml("<array><string>a</string></dict>"), xml("<array>"),
        xml("<dict><string>a</string></dict>"), "bplist00"s, "bplist00" + std::string(100, '\xFF'),
        binary({"\xF0"}), binary({}), binary({"\xA1\xFF\xFF"})}) {
    EXPECT_THROW(parsePropertyList(bytes), PlatformException) << testing::PrintToString(bytes);
  }
}

TEST(PropertyList, RefusesTextThatIsNotUtf8) {
  EXPECT_EQ(refusal(xml("<string>\xFF</string>")), "text that is not UTF-8");
  EXPECT_EQ(refusal(xml("<dict><key>\xC3</key><true/></dict>")), "text that is not UTF-8");
  EXPECT_EQ(refusal(binary({"\x51\xFF"})), "text that is not UTF-8");
}

TEST(PropertyList, RefusesTextThatNeedsADocumentTypeOfItsOwn) {
  EXPECT_EQ(refusal("<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><string>&a;</string></plist>"),
            "no XML property list");
}

TEST(PropertyList, RefusesXMLNestedTooDeepAndSaysInWhichLine) {
  std::string deep;
  for (int depth = 0; depth < 100; ++depth) deep += "<array>\n";
  std::string closing;
  for (int depth = 0; depth < 100; ++depth) closing += "</array>";
  EXPECT_NO_THROW(parsed(deep + closing));
  EXPECT_EQ(refusal(xml(deep + "<dict>")),
            "line 104: more than 100 collections within one another");

  std::string bottomless;
  while (bottomless.size() < kLargestPropertyList - 1000) bottomless += "<array a='/>'>";
  EXPECT_THAT(refusal(xml(bottomless)), HasSubstr("more than 100 collections"));
}

TEST(PropertyList, CountsNoCollectionThatACommentOrATextMentions) {
  std::string mentioned;
  for (int count = 0; count < 200; ++count) mentioned += "<array>";
  EXPECT_EQ(parsed("<!-- " + mentioned + " --><string><![CDATA[" + mentioned + "]]></string>"),
            Value(mentioned));
}

TEST(PropertyList, RefusesBinaryNestedTooDeep) {
  std::vector<std::string> objects;
  for (std::uint64_t index = 1; index <= 60000; ++index) {
    objects.push_back("\xA1" + bigEndian(index, 2));
  }
  objects.emplace_back("\x09");
  EXPECT_EQ(refusal(binary(objects)), "object 100: more than 100 collections within one another");
}

TEST(PropertyList, RefusesABinaryCollectionThatHoldsItself) {
  EXPECT_THAT(refusal(binary({"\xA1\0\0"s})), HasSubstr("more than 100 collections"));
}

TEST(PropertyList, RefusesABinaryKeyWithANULCharacter) {
  for (const auto& key : {"\x53"
                          "a\0b"s,
                          "\x51\0"s, "\x62\0a\0\0"s}) {
    EXPECT_THAT(refusal(binary({"\xD1\0\1\0\2"s, key, "\x51x"})),
                HasSubstr("object 1: a key with a NUL character"));
  }
  EXPECT_EQ(parsePropertyList(binary({"\xD1\0\1\0\2"s, "\x61\0a"s, "\x51x"})),
            Value(Dictionary{{"a", "x"}}));
}

TEST(PropertyList, RefusesBinaryThatUnfoldsWithoutMeasure) {
  std::vector<std::string> objects;
  for (std::uint64_t index = 1; index <= 60; ++index) {
    objects.push_back("\xA2" + bigEndian(index, 2) + bigEndian(index, 2));
  }
  objects.emplace_back("\x09");
  EXPECT_EQ(refusal(binary(objects)), "more than 64 MiB when unfolded");
}

TEST(PropertyList, RefusesCountsAndOffsetsBeyondTheBytes) {
  for (const auto& object :
       {"\x5F\x13"s + bigEndian(~std::uint64_t{0}, 8),
        "\xAF\x13"s + bigEndian(std::uint64_t{1} << 62U, 8),
        "\xDF\x13"s + bigEndian(std::uint64_t{1} << 63U, 8), "\xAF\x14"s, "\x5F"s, "\x13"s}) {
    EXPECT_THROW(parsePropertyList(binary({object})), PlatformException)
        << testing::PrintToString(object);
  }
  auto bytes = binary({"\x09"});
  for (std::size_t at = bytes.size() - 32; at < bytes.size(); ++at) {
    for (const char damage : {'\xFF', '\x7F', '\x10'}) {
      auto damaged = bytes;
      damaged[at] = damage;
      EXPECT_NE(refusal(damaged), "") << "whatever it says, it stays within the bytes";
    }
  }
}

TEST(PropertyList, RefusesMoreThan8MiB) {
  EXPECT_EQ(refusal(std::string(kLargestPropertyList + 1, ' ')), "more than 8 MiB");
}

}  // namespace
}  // namespace gatehall
