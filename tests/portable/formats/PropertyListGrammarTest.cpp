#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "portable/formats/PropertyList.h"
#include "portable/formats/PropertyListGrammar.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using namespace std::string_literals;

/// What is wrong with the bytes; empty when nothing is.
std::string fault(const std::string& bytes) {
  try {
    checkPropertyListGrammar(bytes);
    parsePropertyList(bytes);  // what passes is read
    return {};
  } catch (const MalformedPropertyList& error) {
    return error.what();
  }
}

std::string xml(const std::string& content) { return "<plist>" + content + "</plist>"; }

TEST(PropertyListGrammar, TakesWhatWritersWrite) {
  for (const auto& content :
       {"<string>a &amp; &#233;&#xE9; é</string>"s, "<string/>"s, "<string></string>"s,
        "<integer>-9223372036854775808</integer>"s, "<integer>18446744073709551615</integer>"s,
        "<real>-1.5e+10</real>"s, "<real>2</real>"s, "<true/>"s, "<false />"s,
        "<date>2023-11-14T22:13:20Z</date>"s, "<data>\n\tAP8=\n</data>"s, "<data/>"s, "<array/>"s,
        "<array><true/> <!-- a - b --> <dict/></array>"s,
        "<dict>\n<key>a</key>\n<!-- b --><true/></dict>"s}) {
    EXPECT_EQ(fault(xml(content)), "") << content;
  }
  EXPECT_EQ(fault("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone='no'?>\n<!-- a -->\n"
                  "<!DOCTYPE plist PUBLIC \"-//A//B\" \"http://c/d.dtd\">\n"
                  "<plist version=\"1.0\"><true/></plist>\n<!-- b -->\n"),
            "");
  EXPECT_EQ(fault("<!DOCTYPE plist SYSTEM 'd.dtd'><plist><true/></plist>"), "");
}

TEST(PropertyListGrammar, TellsTheLinesOfTheOutermostKeys) {
  EXPECT_THAT(checkPropertyListGrammar("<plist>\n<dict>\n<key>a</key>\n<dict><key>c</key>\n<true/>"
                                       "</dict><key>b</key><true/>\n</dict></plist>"),
              ElementsAre(Pair("a", 3U), Pair("b", 5U)));
}

TEST(PropertyListGrammar, RefusesWhatALibraryWouldMakeSomethingOf) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "line 1: no <plist> where it belongs"},
      {"text", "line 1: no <plist> where it belongs"},
      {"\xEF\xBB\xBF" + xml("<true/>"), "line 1: no <plist> where it belongs"},
      {"<plist><true/>", "line 1: no </plist> where it belongs"},
      {xml("<true/>") + "x", "line 1: something behind </plist>"},
      {xml("<true/>") + xml("<true/>"), "line 1: something behind </plist>"},
      {xml(""), "line 1: no value where it belongs"},
      {xml("<true/><true/>"), "line 1: no </plist> where it belongs"},
      {xml("<true>"), "line 1: no value where it belongs"},
      {xml("\n<!-- a"), "line 2: a comment without an end"},
      {xml("<!-- a ,-> <true/> <!-- b -->"), "line 1: -- within a comment"},
      {xml("<!--> <true/>"), "line 1: a comment without an end"},
      {xml("<!---> <true/>"), "line 1: a comment without an end"},
      {xml("<integer>one</integer>"), "line 1: no content that <integer> can have"},
      {xml("<integer>18446744073709551616</integer>"),
       "line 1: no content that <integer> can have"},
      {xml("<integer>-9223372036854775809</integer>"),
       "line 1: no content that <integer> can have"},
      {xml("<integer/>"), "line 1: no value where it belongs"},
      {xml("<real>1.</real>"), "line 1: no content that <real> can have"},
      {xml("<real>nan</real>"), "line 1: no content that <real> can have"},
      {xml("<date>2023-11-14</date>"), "line 1: no content that <date> can have"},
      {xml("<data>A===</data>"), "line 1: no content that <data> can have"},
      {xml("<data>A=BC</data>"), "line 1: no content that <data> can have"},
      {xml("<string>a & b</string>"), "line 1: no content that <string> can have"},
      {xml("<string>a > b</string>"), "line 1: no content that <string> can have"},
      {xml("<string>&nbsp;</string>"), "line 1: no content that <string> can have"},
      {xml("<string>&#0;</string>"), "line 1: no content that <string> can have"},
      {xml("<string>&#x110000;</string>"), "line 1: no content that <string> can have"},
      {xml("<string>a</strong>"), "line 1: no </string> where it belongs"},
      {xml("<string>a<!-- b --></string>"), "line 1: no </string> where it belongs"},
      {xml("<string><![CDATA[a]]></string>"), "line 1: no </string> where it belongs"},
      {xml("<array>a</array>"), "line 1: no value where it belongs"},
      {xml("<dict><true/></dict>"), "line 1: no <key> where it belongs"},
      {xml("<dict><key>a</key></dict>"), "line 1: no value where it belongs"},
      {xml("<dict><key/><true/></dict>"), "line 1: no <key> where it belongs"},
      {xml("<dict><key></key><true/></dict>"), "line 1: no content that <key> can have"},
      {xml("<dict><key>&#97;</key><true/></dict>"), "line 1: no content that <key> can have"},
      {xml("<dict><key>a</key><true/>\n<key>a</key><false/></dict>"),
       "line 2: the key \"a\" a second time"},
      {xml("<array><dict><key>a</key><true/><key>a</key><false/></dict></array>"),
       "line 1: the key \"a\" a second time"},
      {xml("<string>\xE9</string>"), "line 1: text that is not UTF-8"},
      {xml("\n<string>\x01</string>"), "line 2: a control character"},
      {"<?xml version=\"1.0\" encoding=\"UTF-7\"?>" + xml("<true/>"),
       "line 1: encoding is none that is known"},
      {"<?xml version=\"1.0\"?><?more?>" + xml("<true/>"), "line 1: no <plist> where it belongs"},
      {"<!DOCTYPE plist SYSTEM \"d\" [<!ENTITY a \"b\">]>" + xml("<true/>"),
       "line 1: no > where it belongs"},
      {"<plist version=\"2.0\"><true/></plist>", "line 1: version is none that is known"},
      {"<plist version=\"1.0><true/></plist>\"", "line 1: a quoted text without an end"},
      {xml([] {
         std::string nested;
         for (int depth = 0; depth <= 100; ++depth) nested += "<array>";
         return nested;
       }()),
       "line 1: more than 100 collections within one another"},
  };
  for (const auto& [bytes, expected] : cases) EXPECT_EQ(fault(bytes), expected) << bytes;
}

std::string bigEndian(std::uint64_t number, std::size_t size) {
  std::string bytes(size, '\0');
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte, number >>= 8U) {
    *byte = static_cast<char>(number & 0xFFU);
  }
  return bytes;
}

/// A binary property list of these objects; references take one byte, offsets two.
std::string binary(const std::vector<std::string>& objects, std::uint64_t root = 0,
                   const std::string& gap = "") {
  std::string bytes = "bplist00";
  std::string table;
  for (const auto& object : objects) {
    table += bigEndian(bytes.size(), 2);
    bytes += object;
  }
  bytes += gap;
  const auto tableAt = bytes.size();
  return bytes + table + std::string(6, '\0') + "\2\1" + bigEndian(objects.size(), 8) +
         bigEndian(root, 8) + bigEndian(tableAt, 8);
}

TEST(PropertyListGrammar, TakesBinaryListsOfWhichEveryByteBelongsToSomething) {
  EXPECT_EQ(fault(binary({"\xD2\1\2\3\3",
                          "\x51"
                          "a",
                          "\x61\0b"s, "\x09"})),
            "")
      << "shared values";
  EXPECT_EQ(fault(binary({"\xA8\1\2\3\4\5\6\7\10", "\x08", "\x10\x2A", "\x23" + bigEndian(0, 8),
                          "\x33" + bigEndian(0, 8), "\x42hi", "\xA0", "\xD0", "\x50"})),
            "");
  EXPECT_EQ(fault(binary({"\x5F\x10\x10"
                          "abcdefghijklmnop"})),
            "");
}

TEST(PropertyListGrammar, RefusesBinaryListsThatAreDamaged) {
  EXPECT_THAT(fault("bplist00"), HasSubstr("no binary property list"));
  const auto whole = binary({"\xA1\1", "\x09"});
  EXPECT_EQ(fault(whole), "");
  EXPECT_THAT(fault(whole + "x"), HasSubstr("no binary property list"));
  EXPECT_THAT(fault(binary({"\xA1\1", "\x09"}, 0, "x")), HasSubstr("no binary property list"));
  EXPECT_THAT(fault(binary({"\xA1\1", "\x07"})), HasSubstr("no binary property list"));
  EXPECT_THAT(fault(binary({"\xA1\1", "\x80\1"})), HasSubstr("no binary property list"));
  EXPECT_THAT(fault(binary({"\xA1\2", "\x09"})), HasSubstr("no binary property list"));
  EXPECT_EQ(fault(binary({"\xA1\1", "\x09", "\x08"})), "object 2: it belongs nowhere");
  EXPECT_EQ(fault(binary({"\xA1\1", "\x09"}, 1)), "object 0: it belongs nowhere");
  EXPECT_EQ(fault(binary({"\xD2\1\1\2\2",
                          "\x51"
                          "a",
                          "\x09"})),
            "byte 13: a key a second time");
  EXPECT_EQ(fault(binary({"\xD2\1\2\3\3",
                          "\x51"
                          "a",
                          "\x61\0a"s, "\x09"})),
            "byte 15: a key a second time");
  EXPECT_EQ(fault(binary({"\xD1\1\1", "\x09"})), "byte 11: a key that is none");
}

}  // namespace
}  // namespace gatehall
