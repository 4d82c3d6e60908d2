#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

#include "portable/formats/PropertyList.h"
#include "portable/formats/PropertyListEdit.h"

namespace gatehall {
namespace {

/// As an administrator writes it.
constexpr std::string_view kWritten = R"(<?xml version="1.0"?>
<!-- The classroom's policy. -->
<plist version="1.0">
<dict>
	<!-- Whoever has left. -->
	<key>DenyList</key>
	<array>
		<string>one</string> <!-- erin --> <!-- until June -->
		<!-- about two -->
		<string>two</string>
		<string>three</string><!-- dana -->
	</array>
	<key>Hide500Users</key> <true/> <!-- the service accounts -->
	<key>Mine</key>
	<dict><key>DenyList</key><array><string>a</string></array></dict>
</dict>
</plist>
)";

std::string replaced(std::string_view what, std::string_view by) {
  std::string text(kWritten);
  const auto at = text.find(what);
  EXPECT_NE(at, std::string::npos) << what;
  return text.replace(at, what.size(), by);
}

TEST(PropertyListEdit, LeavesAsItIsWhatIsNotAskedFor) {
  EXPECT_EQ(PropertyListEdit(kWritten).text(), kWritten);
}

TEST(PropertyListEdit, PutsTextsBehindTheLastWithTheirComments) {
  PropertyListEdit edit(kWritten);
  edit.append("DenyList", {{"four", "finn"}, {"five"}});
  EXPECT_EQ(edit.text(), replaced("<!-- dana -->",
                                  "<!-- dana -->\n\t\t<string>four</string> <!-- finn -->\n"
                                  "\t\t<string>five</string>"));
}

TEST(PropertyListEdit, TakesATextOutWithTheWholeEndOfItsLine) {
  PropertyListEdit edit(
      "<plist><dict>\r\n<key>a</key>\r\n<array>\r\n<string>b</string>\r\n"
      "<string>c</string>\r\n</array></dict></plist>");
  edit.removeElement("a", 0);
  EXPECT_EQ(edit.text(),
            "<plist><dict>\r\n<key>a</key>\r\n<array>\r\n<string>c</string>\r\n"
            "</array></dict></plist>");
}

TEST(PropertyListEdit, TakesATextOutWithTheCommentsOnItsLine) {
  PropertyListEdit edit(kWritten);
  edit.removeElement("DenyList", 0);
  EXPECT_EQ(edit.text(),
            replaced("\n\t\t<string>one</string> <!-- erin --> <!-- until June -->", ""));
  edit = PropertyListEdit(kWritten);
  edit.removeElement("DenyList", 1);
  EXPECT_EQ(edit.text(), replaced("\n\t\t<string>two</string>", ""));
  EXPECT_THROW(edit.removeElement("DenyList", 2), std::out_of_range);
  EXPECT_THROW(edit.removeElement("AllowList", 0), std::out_of_range);
  edit.removeElement("DenyList", 0);
  edit.removeElement("DenyList", 0);
  const auto list = parsePropertyList(edit.text());
  EXPECT_EQ(list.dictionary()->at("DenyList"), Value(Array()));
  EXPECT_NE(edit.text().find("<!-- about two -->"), std::string::npos);
  edit.append("DenyList", {{"six"}});
  EXPECT_EQ(edit.text(),
            replaced(R"(		<string>one</string> <!-- erin --> <!-- until June -->
		<!-- about two -->
		<string>two</string>
		<string>three</string><!-- dana -->
)",
                     R"(		<!-- about two -->
	  <string>six</string>
)"));
}

TEST(PropertyListEdit, TakesOneOutOfSeveralOnALine) {
  PropertyListEdit edit(
      "<plist><dict><key>a</key><array><string>1</string> "
      "<string>2</string></array></dict></plist>");
  edit.removeElement("a", 0);
  EXPECT_EQ(edit.text(),
            "<plist><dict><key>a</key><array> <string>2</string></array></dict></plist>");
}

TEST(PropertyListEdit, ReplacesAValueAndAddsAKey) {
  PropertyListEdit edit(kWritten);
  edit.set("Hide500Users", false);
  EXPECT_EQ(edit.text(), replaced("<true/>", "<false/>"));
  edit = PropertyListEdit(kWritten);
  edit.set("HideAdminUsers", true);
  EXPECT_EQ(edit.text(), replaced("\n</dict>\n</plist>",
                                  "\n  <key>HideAdminUsers</key>\n  <true/>\n</dict>\n</plist>"));
}

TEST(PropertyListEdit, TakesAKeyOutWithItsValue) {
  PropertyListEdit edit(kWritten);
  edit.remove("Hide500Users");
  EXPECT_EQ(edit.text(),
            replaced("\n\t<key>Hide500Users</key> <true/> <!-- the service accounts -->", ""));
  edit.remove("Hide500Users");
  edit.remove("Mine");
  edit.remove("DenyList");
  EXPECT_EQ(parsePropertyList(edit.text()), Value(Dictionary()));
  EXPECT_NE(edit.text().find("<!-- Whoever has left. -->"), std::string::npos);
}

TEST(PropertyListEdit, BeginsWithAnEmptyListWhereThereIsNone) {
  PropertyListEdit edit("");
  edit.append("AllowList", {{"*", "everybody"}});
  edit.set("Hide500Users", true);
  edit.setList("HiddenUsersList", {{"a<b"}, {"c", "x--y-"}, {"d", "\x01\xFF"}});
  edit.setList("AllowList", {{"e"}});
  EXPECT_EQ(edit.text(), R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
  <key>AllowList</key>
  <array>
    <string>e</string>
  </array>
  <key>Hide500Users</key>
  <true/>
  <key>HiddenUsersList</key>
  <array>
    <string>a&lt;b</string>
    <string>c</string> <!-- x- -y- -->
    <string>d</string> <!-- ? -->
  </array>
</dict>
</plist>
)");
}

TEST(PropertyListEdit, GoesOnFromEveryFormOfAnEmptyDictionary) {
  for (const auto* empty : {"<plist><dict/></plist>", "<plist><dict></dict></plist>",
                            "<plist>\n<dict>\n<!-- nothing yet -->\n</dict>\n</plist>\n"}) {
    PropertyListEdit edit(empty);
    edit.append("a", {{"1"}});
    edit.append("a", {{"2"}});
    EXPECT_EQ(parsePropertyList(edit.text()), Value(Dictionary{{"a", Array{"1", "2"}}})) << empty;
  }
}

TEST(PropertyListEdit, RefusesWhatIsNoDictionaryAndNoList) {
  EXPECT_THROW(PropertyListEdit("<plist><array/></plist>"), MalformedPropertyList);
  EXPECT_THROW(PropertyListEdit("<plist><true/></plist>"), MalformedPropertyList);
  EXPECT_THROW(PropertyListEdit("<plist><dict>"), MalformedPropertyList);
  EXPECT_THROW(PropertyListEdit("neither"), MalformedPropertyList);
  PropertyListEdit edit(kWritten);
  EXPECT_THROW(edit.append("Hide500Users", {{"a"}}), MalformedPropertyList);
  EXPECT_THROW(edit.append("DenyList", {{"\x01"}}), MalformedPropertyList);
  EXPECT_EQ(edit.text(), kWritten);
}

}  // namespace
}  // namespace gatehall
